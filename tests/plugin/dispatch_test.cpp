// The dispatch of every member, asked for all names and all combinations of classes.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <thread>

#include "frame/algorithm_list.h"
#include "tests/plugin/requests.h"
#include "tests/support/member.h"

namespace {

using namespace kv_test;
using kv_img::AlgorithmInterface;

AlgorithmInterface* Ask(const Member& member, const std::string& name, const std::vector<int>& ids) {
  return member.Load(name.c_str(), ids.data(), static_cast<int>(ids.size()));
}
AlgorithmInterface* Ask(const Member& member, const Request& request) {
  return Ask(member, request.name, request.ids);
}

/// All lists of one and two classes.
std::vector<std::vector<int>> AllClassLists() {
  std::vector<std::vector<int>> lists;
  for (const int first : classIds) {
    lists.push_back({first});
    for (const int second : classIds) lists.push_back({first, second});
  }
  return lists;
}

/// Every name of a member by itself.
class DispatchOf : public testing::TestWithParam<std::tuple<int, std::string>> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(std::get<0>(GetParam()))];
  const std::string& name_ = std::get<1>(GetParam());
  const std::set<Request> answered_ = RequestsOf(member_.Name());
};

TEST_P(DispatchOf, AnswersExactlyItsRows) {
  for (const auto& ids : AllClassLists()) {
    EXPECT_EQ(Ask(member_, name_, ids) != nullptr, answered_.contains({name_, ids}))
        << name_ << " " << testing::PrintToString(ids);
  }
}

TEST_P(DispatchOf, AnswersNullForAnotherCountWithoutReadingTheClasses) {
  const auto row = std::ranges::find(answered_, name_, &Request::name);
  ASSERT_NE(row, answered_.end());
  const int right = static_cast<int>(row->ids.size());
  for (const int count : {-1, 0, 1, 2, 3, 1000}) {
    if (count == right) continue;
    EXPECT_EQ(member_.Load(name_.c_str(), nullptr, count), nullptr) << count;
  }
}

TEST_P(DispatchOf, ComparesNamesByteForByte) {
  std::string other = name_;
  other[0] = static_cast<char>(std::tolower(other[0]));
  for (const std::string& name : {other, name_ + " ", " " + name_, name_ + "MMX", name_.substr(1)}) {
    for (const Request& request : answered_) EXPECT_EQ(Ask(member_, name, request.ids), nullptr) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(Members, DispatchOf,
                         testing::Combine(EachMember(), testing::ValuesIn(algorithmNames)),
                         [](const auto& info) {
                           return Members()[static_cast<std::size_t>(std::get<0>(info.param))].Name() + "_" +
                                  std::get<1>(info.param);
                         });

class Dispatch : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const std::set<Request> answered_ = RequestsOf(member_.Name());
};

TEST_P(Dispatch, EveryRowHasOneObjectOfItsOwn) {
  std::map<AlgorithmInterface*, Request> owners;
  for (const Request& request : answered_) {
    AlgorithmInterface* object = Ask(member_, request);
    ASSERT_NE(object, nullptr) << request.name << " " << testing::PrintToString(request.ids);
    EXPECT_EQ(Ask(member_, request), object) << request.name;
    // The averaging filter answers under two identifiers.
    Request canonical = request;
    if (canonical.ids.front() == noColorImage) canonical.ids.front() = noColor;
    EXPECT_EQ(owners.emplace(object, canonical).first->second, canonical) << "one object for two rows";
  }
}

TEST_P(Dispatch, SixteenThreadsAtOnceGetOneObjectPerRow) {
  const std::vector<Request> requests(answered_.begin(), answered_.end());
  std::vector<std::vector<AlgorithmInterface*>> answers(16);
  std::vector<std::thread> threads;
  for (std::size_t index = 0; index < answers.size(); ++index) {
    threads.emplace_back([&, index] {
      // Every thread starts elsewhere, so that first requests meet.
      for (std::size_t i = 0; i < requests.size(); ++i) {
        answers[index].push_back(Ask(member_, requests[(i + index / 4) % requests.size()]));
      }
      std::rotate(answers[index].begin(), answers[index].end() - static_cast<std::ptrdiff_t>(index / 4),
                  answers[index].end());
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const auto& answer : answers) EXPECT_EQ(answer, answers.front());
  EXPECT_EQ(std::ranges::count(answers.front(), nullptr), 0);
}

TEST_P(Dispatch, CopyOfTwoFramesTwiceGivesTheSameObject) {
  AlgorithmInterface* first = Ask(member_, "Copy", {yuv422, yuv422});
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(Ask(member_, "Copy", {yuv422, yuv422}), first);
}

TEST_P(Dispatch, CopyWithCountOneIsNull) {
  const int ids[] = {yuv422, dib24};
  EXPECT_EQ(member_.Load("Copy", ids, 1), nullptr);
  EXPECT_NE(member_.Load("Copy", ids, 2), nullptr);
}

TEST_P(Dispatch, FeatureFindKnowsDib32ButNotDib15) {
  EXPECT_NE(Ask(member_, "FeatureFind", {dib32}), nullptr);
  EXPECT_EQ(Ask(member_, "FeatureFind", {dib15}), nullptr);
}

TEST_P(Dispatch, AbsoluteDifferenceNeedsAMask) {
  EXPECT_EQ(Ask(member_, "AbsoluteDifference", {yuv422, yuv422}), nullptr);
}

TEST_P(Dispatch, AverageAndAverageFilterAreTwo) {
  AlgorithmInterface* average = Ask(member_, "Average", {noColor});
  AlgorithmInterface* filter = Ask(member_, "AverageFilter", {noColor});
  EXPECT_NE(average, nullptr);
  EXPECT_NE(filter, nullptr);
  EXPECT_NE(average, filter);
}

TEST_P(Dispatch, UnknownAndEmptyNamesAreNull) {
  for (const auto& ids : AllClassLists()) {
    EXPECT_EQ(Ask(member_, "", ids), nullptr);
    EXPECT_EQ(Ask(member_, "Unknown", ids), nullptr);
    EXPECT_EQ(Ask(member_, "Copy\xFF", ids), nullptr);
  }
}

INSTANTIATE_TEST_SUITE_P(Members, Dispatch, EachMember(), MemberName);

#if !defined(__aarch64__)
TEST(DispatchMMX, PortablePairsAreNull) {
  const Member& mmx = Members()[1];
  ASSERT_EQ(mmx.Name(), "kv_algoMMX");
  EXPECT_EQ(Ask(mmx, "Copy", {dib24, dib32}), nullptr);
  for (const Request& request : PortableRequests()) EXPECT_EQ(Ask(mmx, request), nullptr);
}
#endif

TEST(DispatchOfSiblings, AnswersTheFilterUnderBothIdentifiersWithOneObject) {
  for (const Member& member : Members()) {
    if (member.Name() == "kv_algoMMX") continue;
    EXPECT_NE(Ask(member, "AverageFilter", {noColorImage}), nullptr) << member.Name();
    EXPECT_EQ(Ask(member, "AverageFilter", {noColorImage}), Ask(member, "AverageFilter", {noColor}));
  }
}

#if defined(__aarch64__)
TEST(Rank, IsConstant) {
  const Member& c = Members()[0];
  const Member& neon = Members()[1];
  ASSERT_EQ(neon.Name(), "kv_algoNEON");
  for (int call = 0; call < 3; ++call) {
    EXPECT_EQ(neon.Priority(), 5U);
    EXPECT_EQ(neon.Feature(), 2U);
    EXPECT_EQ(c.Priority(), 1U);
    EXPECT_EQ(c.Feature(), 1U);
  }
}
#else
TEST(Rank, IsConstant) {
  const Member& c = Members()[0];
  const Member& mmx = Members()[1];
  const Member& sse2 = Members()[2];
  ASSERT_EQ(sse2.Name(), "kv_algoSSE2");
  for (int call = 0; call < 3; ++call) {
    EXPECT_EQ(mmx.Priority(), 3U);
    EXPECT_EQ(mmx.Feature(), 0x800000U);
    EXPECT_EQ(sse2.Priority(), 5U);
    EXPECT_EQ(sse2.Feature(), 0x4000000U);
    EXPECT_EQ(c.Priority(), 1U);
    EXPECT_EQ(c.Feature(), 1U);
  }
}
#endif

TEST(AlgorithmList, HasTheTwelveNamesInTheirOrderWithTheirCountsThenTheThirteenth) {
  std::vector<std::string> names;
  kv_img::ForEach(kv_img::algorithms::All{}, [&](auto algorithm) {
    names.emplace_back(algorithm.name);
    for (const Request& request : CommonRequests()) {
      if (request.name != names.back()) continue;
      EXPECT_EQ(request.ids.size(), static_cast<std::size_t>(algorithm.classCount)) << request.name;
    }
  });
  ASSERT_EQ(names.size(), algorithmNames.size() + 1);
  EXPECT_EQ(names.back(), "ColorConversion");
  names.pop_back();
  EXPECT_EQ(names, algorithmNames);
}

TEST(Requests, AreAsManyAsThereAreCombinations) {
  EXPECT_EQ(CommonRequests().size(), 22U);
  EXPECT_EQ(PortableRequests().size(), 30U);
}

}  // namespace
