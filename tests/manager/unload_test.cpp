// Members hold one another through their managers. Whatever is unloaded first, by the host or at the end of
// the process, no code goes that still runs and nothing leaks: every scenario runs and exits in a process of
// its own.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>

#include "frame/algorithm_manager_impl.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/platform/platform.h"
#include "tests/support/family.h"
#include "tests/support/loaded_module.h"
#include "tests/support/test_image.h"

namespace {

using namespace kv_test;
using kv_platform::LoadedModule;

/// A member as a host holds it that has no manager of its own.
struct HostModule {
  LoadedModule module;
  explicit HostModule(const wchar_t* name) : module(kv_platform::LoadModule(name)) {}

  /// Makes the member's own manager look up the averaging filter, and so load members that outrank it.
  void LookUpFilter() const {
    const auto load = reinterpret_cast<kv_img::AlgorithmInterface* (*)(const char*, const int*, int)>(
        kv_platform::FindFunction(module.handle, "_LoadAlgorithm"));
    const int id = kv_img::PixelNoColor<unsigned char>::ClassID;
    const auto* layer = static_cast<const kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey8>*>(
        load("AlphaLayerProbMask", &id, 1));
    const Grey8 image(16, 4);
    Grey8 destination(16, 4);
    kv_std::SpinBarrier barrier(1);
    layer->Apply(image, image, destination, kv_img::ImageRect(image), 3, nullptr, barrier, 0);
  }
  void Unload() const { kv_platform::UnloadModule(module.handle); }
};

/// Loads both members, lets those of `lookers` look up, unloads those of `unloaded` in this order, and exits.
[[noreturn]] void RunScenario(const std::string& lookers, const std::string& unloaded) {
  const HostModule c(L"kv_algoC");
  const HostModule other(wideCommonMember);
  const auto memberOf = [&](char letter) -> const HostModule& { return letter == 'C' ? c : other; };
  for (const char letter : lookers) memberOf(letter).LookUpFilter();
  for (const char letter : unloaded) memberOf(letter).Unload();
  std::exit(0);
}

class Unloading : public testing::TestWithParam<std::tuple<const char*, const char*>> {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_P(Unloading, EndsCleanly) {
  const auto& [lookers, unloaded] = GetParam();
  EXPECT_EXIT(RunScenario(lookers, unloaded), testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(Orders, Unloading,
                         testing::Combine(testing::Values("", "C", "M", "CM", "MC"),
                                          testing::Values("", "C", "M", "CM", "MC")),
                         [](const auto& info) {
                           return std::string("Lookers") + std::get<0>(info.param) + "Unloaded" +
                                  std::get<1>(info.param);
                         });

/// With the host's own manager, which holds the members too.
[[noreturn]] void RunWithHostManager(bool managerFirst) {
  if (managerFirst) kv_img::AlgorithmManager::GetInstance();
  const HostModule c(L"kv_algoC");
  const HostModule other(wideCommonMember);
  other.LookUpFilter();
  c.LookUpFilter();
  const int id = kv_img::PixelNoColor<unsigned char>::ClassID;
  kv_img::AlgorithmManagerImpl::GetInstance()->AskMember(L"kv_algoC", "AverageFilter", &id, 1);
  kv_img::AlgorithmManagerImpl::GetInstance()->AskMember(wideCommonMember, "AverageFilter", &id, 1);
  other.Unload();
  c.Unload();
  std::exit(0);
}

TEST(UnloadingDeathTest, EndsCleanlyBesideTheManagerOfTheHost) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(RunWithHostManager(true), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(RunWithHostManager(false), testing::ExitedWithCode(0), "");
}

TEST(UnloadedMember, DoesNotKeepItselfLoaded) {
  // One that another member outranks.
  const HostModule member(std::string_view(commonMember) == wideMember ? L"kv_algoC" : wideCommonMember);
  const auto file = member.module.file;
  const auto filterFile = file.parent_path() / (std::string(wideMember) + moduleExtension);
  member.LookUpFilter();
  EXPECT_TRUE(IsModuleLoaded(file));
  EXPECT_TRUE(IsModuleLoaded(filterFile));
  member.Unload();
  EXPECT_FALSE(IsModuleLoaded(file));
  EXPECT_FALSE(IsModuleLoaded(filterFile)) << "left loaded by a manager that is gone";
}

}  // namespace
