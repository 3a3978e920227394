// What the built files of the members offer to the world.
#include "tests/support/exported_symbols.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "frame/platform/platform.h"

namespace {

using Names = std::set<std::string>;

class ExportedSymbols : public testing::TestWithParam<const wchar_t*> {};

TEST_P(ExportedSymbols, AreTheThree) {
  const kv_platform::LoadedModule module = kv_platform::LoadModule(GetParam());
  ASSERT_NE(module.handle, nullptr) << module.problem;
  EXPECT_EQ(kv_test::ExportedSymbols(module.file),
            (Names{"_LoadAlgorithm", "getCPUFeature", "getLibraryPriority"}));
  kv_platform::UnloadModule(module.handle);
}

INSTANTIATE_TEST_SUITE_P(Members, ExportedSymbols, testing::Values(L"kv_algoC", L"kv_algoMMX", L"kv_algoSSE2"),
                         [](const auto& info) {
                           const std::wstring name = info.param;
                           return std::string(name.begin(), name.end());
                         });

}  // namespace
