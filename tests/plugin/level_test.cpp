// The environment variable KV_LEVEL lowers the level of the wide member.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "frame/platform/platform.h"
#include "frame/platform/wide_level.h"

namespace {

using kv_img::NameOf;
using kv_img::SupportedLevel;
using kv_img::WideLevel;

void SetLevel(const std::string& word) {
#if defined(_WIN32)
  _putenv_s("KV_LEVEL", word.c_str());
#else
  setenv("KV_LEVEL", word.c_str(), 1);
#endif
}

void ForgetLevel() {
#if defined(_WIN32)
  _putenv_s("KV_LEVEL", "");
#else
  unsetenv("KV_LEVEL");
#endif
}

/// What decides the level of a member, loaded now.
class Probe {
 public:
  Probe() : module_(kv_platform::LoadModule(L"kv_level_probe")) {
    if (module_.handle == nullptr) throw std::runtime_error(module_.problem);
    level_ = reinterpret_cast<const char* (*)()>(kv_platform::FindFunction(module_.handle, "levelOfModule"));
  }
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;
  ~Probe() { kv_platform::UnloadModule(module_.handle); }

  std::string Level() const { return level_(); }

 private:
  kv_platform::LoadedModule module_;
  const char* (*level_)();
};

class Level : public testing::Test {
 protected:
  Level() { ForgetLevel(); }
  ~Level() override { ForgetLevel(); }
};

TEST_F(Level, IsWhatTheProcessorHasWithoutTheVariable) {
  EXPECT_EQ(Probe().Level(), NameOf(SupportedLevel()));
  EXPECT_EQ(kv_img::LevelInForce(), SupportedLevel());
}

TEST_F(Level, IsLoweredByEveryWordAndNeverRaised) {
  const std::pair<const char*, WideLevel> words[] = {{"sse2", WideLevel::Sse2},
                                                     {"avx2", WideLevel::Avx2},
                                                     {"avx512", WideLevel::Avx512},
                                                     {"avx512vbmi", WideLevel::Avx512Vbmi}};
  for (const auto& [word, level] : words) {
    SetLevel(word);
    EXPECT_EQ(Probe().Level(), NameOf(std::min(level, SupportedLevel()))) << word;
    EXPECT_EQ(kv_img::LevelInForce(), std::min(level, SupportedLevel())) << word;
  }
}

TEST_F(Level, IgnoresOtherWords) {
  for (const std::string& word :
       {std::string(), std::string("SSE2"), std::string("sse"), std::string("sse22"), std::string(" sse2"),
        std::string("sse2 "), std::string("avx"), std::string("0"), std::string(100000, 's')}) {
    SetLevel(word);
    EXPECT_EQ(Probe().Level(), NameOf(SupportedLevel())) << word.substr(0, 20);
  }
}

TEST_F(Level, IsDecidedWhenTheModuleIsLoaded) {
  SetLevel("sse2");
  const Probe probe;
  ForgetLevel();
  EXPECT_EQ(probe.Level(), "sse2");
}

}  // namespace
