// Requests to the manager.
#include <gtest/gtest.h>

#include <clocale>
#include <set>
#include <thread>

#include "frame/forwarding_algorithms.h"
#include "tests/manager/test_family.h"
#include "tests/support/expect_error.h"
#include "tests/support/loaded_module.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_image.h"

namespace {

using kv_img::AlgoException;
using kv_img::AlgorithmManagerImpl;
using namespace kv_test;

using Filter = kv_img::AverageFilterAlgorithm<Grey8>;
using Holder = kv_img::ImplementationData<Filter>;

constexpr int anyId = 0;

void LookUp(AlgorithmManagerImpl& manager, Holder& holder, const char* name = "AverageFilter") {
  manager.LoadImplementation(name, &anyId, 1, holder);
}

/// Tells which module an implementation belongs to.
int PriorityOf(const kv_img::AverageFilterAlgorithmInterface<Grey8>* filter) {
  if (filter == nullptr) return -1;
  const Grey8 source(8, 1);
  Grey8 destination(8, 1);
  kv_std::SpinBarrier barrier(1);
  filter->Apply(source, destination, kv_img::ImageRect(source), 3, barrier, 0);
  return destination.Row(0)[0];
}

/// A module that the test keeps in memory, to ask it how often it was asked.
class HeldModule {
 public:
  explicit HeldModule(std::wstring_view name)
      : handle_(kv_platform::LoadModule(name, std::vector{moduleFolder}).handle) {}
  HeldModule(const HeldModule&) = delete;
  HeldModule& operator=(const HeldModule&) = delete;
  ~HeldModule() { kv_platform::UnloadModule(handle_); }
  int TimesAsked() const {
    return reinterpret_cast<int (*)()>(kv_platform::FindFunction(handle_, "kvTestTimesAsked"))();
  }

 private:
  kv_platform::ModuleHandle handle_;
};

TEST(LookUp, ThrowsWhenNoMemberIsPresent) {
  AlgorithmManagerImpl manager(Family({L"nowhere", L"neither", L"without_exports"}));
  Holder holder;
  ExpectError<AlgoException>([&] { LookUp(manager, holder); }, 1, L"AverageFilter");
  EXPECT_EQ(holder.current, nullptr);
  EXPECT_EQ(holder.useCount, 0);
  ExpectError<AlgoException>([&] { LookUp(manager, holder, ""); }, 1, L"");
}

TEST(LookUp, ThrowsWhenAllMembersAnswerNullAndReleasesTheLock) {
  AlgorithmManagerImpl manager(Family({L"answers_null", L"answers_3"}));
  Holder holder;
  ExpectError<AlgoException>([&] { LookUp(manager, holder, "Other"); }, 1, L"Other");
  EXPECT_EQ(holder.perLibrary, (std::vector<Holder::Interface*>(4)));
  std::thread([&] { LookUp(manager, holder); }).join();
  EXPECT_EQ(PriorityOf(holder.current), 3);
}

TEST(LookUp, TheNameInTheMessageEndsAtItsLimit) {
  AlgorithmManagerImpl manager(Family({}));
  Holder holder;
  const std::string name(300, 'n');
  ExpectError<AlgoException>([&] { LookUp(manager, holder, name.c_str()); }, 1, std::wstring(256, L'n'));
}

TEST(LookUp, BytesThatAreNoCharacterStandForThemselvesInTheMessage) {
  AlgorithmManagerImpl manager(Family({}));
  Holder holder;
  const std::string before = std::setlocale(LC_CTYPE, nullptr);
  std::setlocale(LC_CTYPE, "C.UTF-8");
  ExpectError<AlgoException>(
      [&] {
        LookUp(manager, holder,
               "a\xFF"
               "b\xC3");
      },
      1,
      L"a\xFF"
      L"b\xC3");
  std::setlocale(LC_CTYPE, before.c_str());
}

TEST(LookUp, TheHigherPrioritySupplies) {
  for (const auto& family :
       {std::vector{L"answers_3", L"answers_5"}, std::vector{L"answers_5", L"answers_3"}}) {
    AlgorithmManagerImpl manager(Family(family));
    Holder holder;
    LookUp(manager, holder);
    EXPECT_EQ(PriorityOf(holder.current), 5);
    EXPECT_EQ(holder.selectedIndex, 0);
    EXPECT_EQ(holder.useCount, 1);
    EXPECT_EQ(holder.perLibrary,
              (std::vector<Holder::Interface*>{holder.current, nullptr, nullptr, nullptr}));
    EXPECT_FALSE(IsModuleLoaded(ModuleFile("answers_3"))) << "asked although the higher one answered";
  }
}

TEST(LookUp, OneOfEqualPrioritiesSupplies) {
  AlgorithmManagerImpl manager(Family({L"answers_5", L"answers_3", L"answers_5_too"}));
  Holder holder;
  LookUp(manager, holder);
  EXPECT_EQ(PriorityOf(holder.current), 5);
}

TEST(LookUp, AMemberThatAnswersNullOrCannotBeAskedIsPassedOver) {
  AlgorithmManagerImpl manager(Family({L"answers_3", L"without_load", L"answers_null"}));
  Holder holder;
  LookUp(manager, holder);
  EXPECT_EQ(PriorityOf(holder.current), 3);
  EXPECT_EQ(holder.selectedIndex, 2);
  EXPECT_EQ(holder.perLibrary, (std::vector<Holder::Interface*>{nullptr, nullptr, holder.current, nullptr}));
  // Once loaded they stay, answer or not.
  EXPECT_TRUE(IsModuleLoaded(ModuleFile("answers_null")));
  EXPECT_TRUE(IsModuleLoaded(ModuleFile("without_load")));
}

TEST(LookUp, AMemberThatThrowsIsPassedOverByAllThreads) {
  AlgorithmManagerImpl manager(
      Family({L"throws_priority", L"throws_feature", L"throws_answer", L"answers_3"}));
  std::vector<int> priorities(8);
  std::vector<std::thread> threads;
  for (int& priority : priorities) {
    threads.emplace_back([&] {
      Holder holder;
      LookUp(manager, holder);
      priority = PriorityOf(holder.current);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(priorities, std::vector<int>(8, 3));
  EXPECT_EQ(manager.AskMember(L"throws_answer", "AverageFilter", &anyId, 1), nullptr);
}

TEST(LookUp, AMemberWhoseFeatureTheProcessorLacksIsNeverAsked) {
  const HeldModule lacking(L"needs_feature_2");
  AlgorithmManagerImpl manager(Family({L"needs_feature_2", L"answers_3"}));
  Holder holder;
  LookUp(manager, holder);
  EXPECT_EQ(PriorityOf(holder.current), 3);
  Holder other;
  EXPECT_THROW(LookUp(manager, other, "Other"), AlgoException);
  EXPECT_EQ(lacking.TimesAsked(), 0);
}

TEST(LookUp, ASecondLookUpDoesNothing) {
  const HeldModule member(L"answers_5");
  AlgorithmManagerImpl manager(Family({L"answers_5"}));
  Holder holder;
  LookUp(manager, holder);
  const auto* first = holder.current;
  LookUp(manager, holder);
  LookUp(manager, holder, "Unknown");
  EXPECT_EQ(holder.current, first);
  EXPECT_EQ(holder.useCount, 1);
  EXPECT_EQ(member.TimesAsked(), 1);
}

TEST(LookUp, AMemberThatVanishedAfterProbingIsPassedOver) {
  const TempFolder folder;
  const auto file = folder.Path() / (std::string("vanishing") + moduleExtension);
  std::filesystem::copy_file(ModuleFile("answers_5"), file);
  kv_img::ManagerSetup setup = Family({L"vanishing", L"answers_3"});
  setup.folders.push_back(folder.Path());
  AlgorithmManagerImpl manager(setup);
  std::filesystem::remove(file);
  Holder holder;
  LookUp(manager, holder);
  EXPECT_EQ(PriorityOf(holder.current), 3);
  EXPECT_EQ(holder.selectedIndex, 1);
}

TEST(LookUp, ModulesStayLoadedForTheLifeOfTheManager) {
  {
    AlgorithmManagerImpl manager(Family({L"answers_3", L"answers_null"}));
    Holder holder;
    LookUp(manager, holder);
    EXPECT_TRUE(IsModuleLoaded(ModuleFile("answers_3")));
    EXPECT_TRUE(IsModuleLoaded(ModuleFile("answers_null")));
  }
  EXPECT_FALSE(IsModuleLoaded(ModuleFile("answers_3")));
  EXPECT_FALSE(IsModuleLoaded(ModuleFile("answers_null")));
}

TEST(LookUp, SixteenThreadsFindOneImplementationOnce) {
  for (int round = 0; round < 20; ++round) {
    AlgorithmManagerImpl manager(Family({L"answers_3", L"answers_5", L"answers_null"}));
    Holder shared;
    std::vector<const Holder::Interface*> found(16);
    std::vector<std::thread> threads;
    for (const auto*& mine : found) {
      threads.emplace_back([&] {
        LookUp(manager, shared);
        mine = shared.current;
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(std::set(found.begin(), found.end()).size(), 1U);
    EXPECT_EQ(PriorityOf(shared.current), 5);
    EXPECT_EQ(shared.useCount, 1);
  }
}

TEST(LookUp, AMemberCanBeAskedByItself) {
  AlgorithmManagerImpl manager(Family({L"answers_3", L"answers_5", L"needs_feature_2", L"without_load"}));
  const auto ask = [&](std::wstring_view member, const char* name) {
    return PriorityOf(static_cast<const Holder::Interface*>(manager.AskMember(member, name, &anyId, 1)));
  };
  EXPECT_EQ(ask(L"answers_3", "AverageFilter"), 3);
  EXPECT_EQ(ask(L"answers_5", "AverageFilter"), 5);
  EXPECT_EQ(ask(L"answers_5", "Other"), -1);
  EXPECT_EQ(ask(L"needs_feature_2", "AverageFilter"), -1) << "not usable here";
  EXPECT_EQ(ask(L"without_load", "AverageFilter"), -1);
  EXPECT_EQ(ask(L"nowhere", "AverageFilter"), -1);
}

}  // namespace
