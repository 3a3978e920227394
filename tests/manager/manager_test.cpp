// What the manager finds when it probes the family.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <thread>

#include "tests/manager/test_family.h"
#include "tests/support/expect_error.h"
#include "tests/support/loaded_module.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_img::AlgorithmManager;
using kv_img::AlgorithmManagerImpl;
using kv_img::LibraryEntry;
using kv_img::MemberProbe;
using enum kv_img::MemberProbe::Finding;
using namespace kv_test;

std::vector<std::wstring> Names(const std::vector<LibraryEntry>& entries) {
  std::vector<std::wstring> names;
  for (const LibraryEntry& entry : entries) names.emplace_back(entry.name);
  return names;
}

using NameList = std::vector<std::wstring>;

MemberProbe ProbeOf(const wchar_t* name) {
  return AlgorithmManagerImpl(Family({name})).Probes().at(0);
}

TEST(ManagerProbing, MembersAreRankedByPriorityWhateverTheTableOrder) {
  for (const auto& family : {std::vector{L"answers_3", L"answers_null", L"answers_5"},
                             std::vector{L"answers_5", L"answers_3", L"answers_null"}}) {
    const AlgorithmManagerImpl manager(Family(family));
    const NameList expected = {L"answers_null", L"answers_5", L"answers_3"};
    EXPECT_EQ(Names(manager.Libraries()), expected);
    EXPECT_EQ(Names(manager.UsableLibraries()), expected);
    EXPECT_EQ(manager.UsableLibraries()[0].priority, 9U);
    EXPECT_EQ(manager.UsableLibraries()[2].priority, 3U);
  }
}

TEST(ManagerProbing, EqualPrioritiesComeInAnyOrderAboveTheLower) {
  const AlgorithmManagerImpl manager(Family({L"answers_5", L"answers_3", L"answers_5_too"}));
  NameList names = Names(manager.UsableLibraries());
  ASSERT_EQ(names.size(), 3U);
  EXPECT_EQ(names[2], L"answers_3");
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (NameList{L"answers_3", L"answers_5", L"answers_5_too"}));
}

TEST(ManagerProbing, AMissingFileIsSkippedAndTheProbeSaysWhere) {
  const AlgorithmManagerImpl manager(Family({L"nowhere", L"answers_3"}));
  EXPECT_EQ(Names(manager.Libraries()), NameList{L"answers_3"});
  const MemberProbe& probe = manager.Probes().at(0);
  EXPECT_EQ(probe.finding, NotLoaded);
  EXPECT_NE(probe.problem.find("not in " + moduleFolder.string()), std::string::npos) << probe.problem;
  EXPECT_NE(probe.problem.find(std::string("nowhere") + moduleExtension), std::string::npos) << probe.problem;
  EXPECT_TRUE(probe.file.empty());
}

TEST(ManagerProbing, AFileThatIsNoModuleIsSkippedAndTheProbeSaysWhy) {
  const TempFolder folder;
  const auto file = folder.Path() / (std::string("broken") + moduleExtension);
  std::ofstream(file) << "no module";
  kv_img::ManagerSetup setup = Family({L"broken"});
  setup.folders = {folder.Path()};
  const AlgorithmManagerImpl manager(setup);
  EXPECT_TRUE(manager.Libraries().empty());
  EXPECT_EQ(manager.Probes().at(0).finding, NotLoaded);
  EXPECT_NE(manager.Probes()[0].problem.find(file.string()), std::string::npos);
}

TEST(ManagerProbing, WithoutExportsItIsNoMember) {
  const MemberProbe probe = ProbeOf(L"without_exports");
  EXPECT_EQ(probe.finding, NoPriority);
  EXPECT_EQ(probe.file, ModuleFile("without_exports"));
  EXPECT_FALSE(probe.answersRequests);
  EXPECT_TRUE(AlgorithmManagerImpl(Family({L"without_exports"})).Libraries().empty());
}

TEST(ManagerProbing, WithoutPriorityItIsNoMember) {
  EXPECT_EQ(ProbeOf(L"without_priority").finding, NoPriority);
  EXPECT_TRUE(AlgorithmManagerImpl(Family({L"without_priority"})).Libraries().empty());
}

TEST(ManagerProbing, WithoutFeatureMaskItIsListedButNotUsable) {
  EXPECT_EQ(ProbeOf(L"without_feature").finding, NoFeatureMask);
  const AlgorithmManagerImpl manager(Family({L"without_feature"}));
  EXPECT_EQ(Names(manager.Libraries()), NameList{L"without_feature"});
  EXPECT_TRUE(manager.UsableLibraries().empty());
}

TEST(ManagerProbing, WithoutLoadAlgorithmItIsUsableButAnswersNothing) {
  const MemberProbe probe = ProbeOf(L"without_load");
  EXPECT_EQ(probe.finding, Usable);
  EXPECT_FALSE(probe.answersRequests);
  EXPECT_TRUE(ProbeOf(L"answers_null").answersRequests);
}

TEST(ManagerProbing, AMemberThatThrowsIsSkippedAndTheProbeSaysWhy) {
  const AlgorithmManagerImpl manager(Family({L"throws_priority", L"throws_feature", L"answers_3"}));
  EXPECT_EQ(Names(manager.UsableLibraries()), NameList{L"answers_3"});
  EXPECT_EQ(manager.Probes().at(0).finding, Throws);
  EXPECT_EQ(manager.Probes()[0].problem, "getLibraryPriority throws: no priority today");
  EXPECT_EQ(manager.Probes()[1].finding, Throws);
  EXPECT_EQ(manager.Probes()[1].problem, "getCPUFeature throws: an unknown exception");
  for (const char* name : {"throws_priority", "throws_feature"}) {
    EXPECT_FALSE(IsModuleLoaded(ModuleFile(name))) << name;
  }
}

TEST(ManagerProbing, AMaskWithoutACommonBitIsListedButNotUsable) {
  kv_img::ManagerSetup setup = Family({L"needs_feature_2"});
  for (const std::uint32_t features : {0U, 1U, 0xFFFFFFFDU}) {
    setup.processorFeatures = features;
    const AlgorithmManagerImpl manager(setup);
    EXPECT_EQ(manager.Probes().at(0).finding, NoFeature);
    EXPECT_EQ(manager.Probes()[0].featureMask, 2U);
    EXPECT_EQ(manager.Libraries().size(), 1U);
    EXPECT_TRUE(manager.UsableLibraries().empty());
  }
  setup.processorFeatures = 3;
  EXPECT_EQ(AlgorithmManagerImpl(setup).UsableLibraries().size(), 1U);
}

TEST(ManagerProbing, OneCommonBitOfAMaskIsEnough) {
  const MemberProbe probe = ProbeOf(L"answers_5_too");
  EXPECT_EQ(probe.featureMask, 5U);
  EXPECT_EQ(probe.finding, Usable);
}

TEST(ManagerProbing, TheOwnFolderIsSearchedFirst) {
  const TempFolder folder;
  const std::string member = std::string("kv_algoC") + moduleExtension;
  std::filesystem::copy_file(ModuleFile("answers_3"), folder.Path() / member);
  kv_img::ManagerSetup setup = Family({L"kv_algoC"});
  setup.folders = {folder.Path()};
  const AlgorithmManagerImpl manager(setup);
  static const char own = 0;
  EXPECT_TRUE(std::filesystem::equivalent(manager.Probes().at(0).file, kv_platform::FolderOf(&own) / member))
      << manager.Probes()[0].file;
}

TEST(ManagerProbing, NothingStaysLoaded) {
  const AlgorithmManagerImpl manager(
      Family({L"answers_3", L"answers_5", L"needs_feature_2", L"without_exports", L"without_feature"}));
  for (const char* name :
       {"answers_3", "answers_5", "needs_feature_2", "without_exports", "without_feature"}) {
    EXPECT_FALSE(IsModuleLoaded(ModuleFile(name))) << name;
  }
}

TEST(ManagerProbing, TheCurrentFolderIsNotSearched) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(moduleFolder);
  kv_img::ManagerSetup setup = Family({L"answers_3"});
  setup.folders.clear();
  const AlgorithmManagerImpl manager(setup);
  std::filesystem::current_path(before);
  EXPECT_TRUE(manager.Libraries().empty());
}

TEST(Manager, IsOneForAllThreads) {
  std::vector<AlgorithmManager*> found(16);
  std::vector<std::thread> threads;
  for (AlgorithmManager*& manager : found) {
    threads.emplace_back([&manager] { manager = AlgorithmManager::GetInstance(); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_NE(found[0], nullptr);
  EXPECT_EQ(std::count(found.begin(), found.end(), found[0]), 16);
  EXPECT_EQ(AlgorithmManagerImpl::GetInstance(), found[0]);
}

TEST(Manager, ProbesTheFamilyInTableOrder) {
  const auto& probes = AlgorithmManagerImpl::GetInstance()->Probes();
  ASSERT_GE(probes.size(), 2U);
  EXPECT_STREQ(probes[0].name, L"kv_algoC");
  EXPECT_EQ(probes[0].priority, 1U);
  EXPECT_EQ(probes[0].featureMask, 1U);
  EXPECT_EQ(probes[0].finding, Usable);
#if defined(__aarch64__)
  ASSERT_EQ(probes.size(), 2U);
  EXPECT_STREQ(probes[1].name, L"kv_algoNEON");
  EXPECT_EQ(probes[1].priority, 5U);
  EXPECT_EQ(probes[1].featureMask, 2U);
#else
  ASSERT_EQ(probes.size(), 4U);
  EXPECT_STREQ(probes[1].name, L"kv_algoMMX");
  EXPECT_STREQ(probes[2].name, L"kv_algoSSE");
  EXPECT_STREQ(probes[3].name, L"kv_algoSSE2");
  EXPECT_EQ(probes[1].priority, 3U);
  EXPECT_EQ(probes[1].featureMask, 0x800000U);
#endif
  EXPECT_EQ(probes[1].finding, Usable);
  EXPECT_TRUE(probes[1].answersRequests);
}

TEST(Manager, FurtherFoldersMustBeToldBeforeItIsMade) {
  AlgorithmManager::GetInstance();
  ExpectError<kv_img::AlgoException>([] { AlgorithmManager::LookAlsoIn(moduleFolder); }, 2, L"folder",
                                     L"AlgorithmManager::LookAlsoIn");
}

#if !defined(__aarch64__)  // There the whole family is in the folder of the program.
/// In a process of its own: exit status 0 when a member is found in a folder that was told as a relative
/// path.
void FindMemberInFurtherFolder() {
  bool found = false;
  {
    const TempFolder folder;
    const auto member = folder.Path() / (std::string("kv_algoSSE") + moduleExtension);
    std::filesystem::copy_file(ModuleFile("answers_5"), member);
    std::filesystem::current_path(folder.Path().parent_path());
    AlgorithmManager::LookAlsoIn(folder.Path().filename());
    std::filesystem::current_path("/");
    const auto& probe = AlgorithmManagerImpl::GetInstance()->Probes().at(2);
    found = probe.finding == Usable && probe.priority == 5 && probe.file == member;
  }
  std::exit(found ? 0 : 1);
}

TEST(ManagerDeathTest, LooksInFurtherFolders) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(FindMemberInFurtherFolder(), testing::ExitedWithCode(0), "");
}
#endif

TEST(ManagerDeathTest, AnEmptyFolderIsRefused) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto tellNothing = [] {
    try {
      AlgorithmManager::LookAlsoIn("");
    } catch (const kv_img::AlgoException& error) {
      std::exit(error.Code() == 2 ? 0 : 1);
    }
    std::exit(1);
  };
  EXPECT_EXIT(tellNothing(), testing::ExitedWithCode(0), "");
}

}  // namespace
