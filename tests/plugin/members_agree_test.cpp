// Every operation gives the same bytes, values and errors on every member and by its plain rule.
#include <gtest/gtest.h>

#include "check/operation_case.h"
#include "tests/plugin/requests.h"
#include "tests/support/member.h"
#include "tests/support/random.h"

namespace kv_check {
/// For the test framework, which would print the bytes of the object.
static void PrintTo(const OperationCase& operation, std::ostream* stream) {
  *stream << operation.algorithm;
}
}  // namespace kv_check

namespace {

using namespace kv_test;
using kv_check::Comparison;
using kv_check::OperationCase;

kv_img::AlgorithmInterface* ImplementationOf(const Member& member, const OperationCase& operation) {
  return member.Load(operation.algorithm.c_str(), operation.ids.data(),
                     static_cast<int>(operation.ids.size()));
}

class MembersAgree : public testing::TestWithParam<OperationCase> {
 protected:
  const OperationCase& operation_ = GetParam();
  bool isCommon_ = CommonRequests().contains({operation_.algorithm, operation_.ids});

  /// Calls every member with what `random` makes of `choice`; true when the call was not refused.
  bool CompareAll(std::uint64_t choice) {
    bool wasDone = false;
    for (const Member& member : Members()) {
      const auto* implementation = ImplementationOf(member, operation_);
      if (implementation == nullptr) {
        EXPECT_FALSE(isCommon_) << member.Name() << " does not answer";
        continue;
      }
      Random random(choice);
      const Comparison comparison = operation_.compare(random, *operation_.rule, *implementation);
      EXPECT_EQ(comparison.difference, "") << member.Name();
      wasDone = !comparison.wasRefused;
    }
    return wasDone;
  }
};

TEST_P(MembersAgree, ByteForByte) {
  constexpr int rounds = 300;
  int done = 0;
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    if (CompareAll(0x7701U + static_cast<std::uint64_t>(round))) ++done;
  }
  EXPECT_GE(done, rounds / 3) << "nearly all calls were refused";
}

std::string CaseName(const testing::TestParamInfo<OperationCase>& info) {
  std::string name = info.param.algorithm;
  for (const int id : info.param.ids) name += "_" + std::to_string(id);
  return name;
}

INSTANTIATE_TEST_SUITE_P(Rows, MembersAgree, testing::ValuesIn(kv_check::AllOperations()), CaseName);

TEST(AllOperations, HoldsEveryRequestThatAMemberAnswers) {
  std::set<Request> listed;
  for (const OperationCase& operation : kv_check::AllOperations()) {
    listed.insert({operation.algorithm, operation.ids});
  }
  for (const Member& member : Members()) {
    for (const Request& request : RequestsOf(member.Name())) {
      EXPECT_TRUE(listed.contains(request)) << testing::PrintToString(request);
    }
  }
}

}  // namespace
