// What the built files of the members offer to the world.
#include "tests/support/exported_symbols.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>

#include "frame/platform/platform.h"

namespace {

using Names = std::set<std::string>;

// The environment sets a level where there is more than one.
#if defined(__aarch64__)
constexpr std::array members = {L"kv_algoC", L"kv_algoNEON"};
#else
constexpr std::array members = {L"kv_algoC", L"kv_algoMMX", L"kv_algoSSE2"};
#endif

class ExportedSymbols : public testing::TestWithParam<const wchar_t*> {};

TEST_P(ExportedSymbols, AreTheThree) {
  const kv_platform::LoadedModule module = kv_platform::LoadModule(GetParam());
  ASSERT_NE(module.handle, nullptr) << module.problem;
  EXPECT_EQ(kv_test::ExportedSymbols(module.file),
            (Names{"_LoadAlgorithm", "getCPUFeature", "getLibraryPriority"}));
  kv_platform::UnloadModule(module.handle);
}

#if !defined(_WIN32)
TEST(WantedSymbols, OnlyTheWideMemberReadsTheEnvironment) {
  for (const wchar_t* member : members) {
    const kv_platform::LoadedModule module = kv_platform::LoadModule(member);
    ASSERT_NE(module.handle, nullptr) << module.problem;
    const Names wanted = kv_test::WantedSymbols(module.file);
    EXPECT_TRUE(wanted.contains("__cxa_throw")) << "the list holds what there is";
    int readers = 0;
    for (const std::string& name : wanted) readers += name.find("getenv") == std::string::npos ? 0 : 1;
    EXPECT_EQ(readers, std::wstring(member) == L"kv_algoSSE2" ? 1 : 0) << module.file;
    kv_platform::UnloadModule(module.handle);
  }
}
#endif

INSTANTIATE_TEST_SUITE_P(Members, ExportedSymbols, testing::ValuesIn(members), [](const auto& info) {
  const std::wstring name = info.param;
  return std::string(name.begin(), name.end());
});

}  // namespace
