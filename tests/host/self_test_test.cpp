// `kv selftest`, and that it bites: members that are wrong on purpose.

#include "host/self_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "frame/interfaces/copy.h"
#include "image/image.h"
#include "tests/host/program.h"
#include "tests/support/family.h"
#include "tests/support/member.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_host;
using kv_check::OperationCase;
using kv_test::Outcome;

constexpr SelfTestScale scale{50, 7};
const std::string hostileMember = kv_test::hostileMember;

TestedMember Asked(const kv_test::Member& member) {
  return {member.Name(), [&member](const OperationCase& operation) {
            return member.Load(operation.algorithm.c_str(), operation.ids.data(),
                               static_cast<int>(operation.ids.size()));
          }};
}

/// What a member of this name offers, at any level.
std::size_t OperationsOf(const std::string& name) {
  if (name == "kv_algoC") return 61;
  return name == "kv_algoMMX" ? 22 : 32;
}

std::vector<std::string> Differing(const std::vector<SelfTestCheck>& checks) {
  std::vector<std::string> names;
  for (const SelfTestCheck& check : checks) {
    if (!check.difference.empty()) names.push_back(check.member + " " + check.what);
  }
  return names;
}

TEST(SelfTest, EveryMemberEqualsThePlainRules) {
  std::vector<TestedMember> members;
  for (const kv_test::Member& member : kv_test::Members()) members.push_back(Asked(member));
  const auto checks = CheckMembers(members, scale);
  std::size_t operations = 0;
  for (const TestedMember& member : members) operations += OperationsOf(member.name);
  EXPECT_EQ(checks.size(), operations);
  EXPECT_EQ(Differing(checks), std::vector<std::string>{});
  EXPECT_TRUE(std::ranges::any_of(checks, [](const auto& check) { return check.refusals > 0; }));
  for (const SelfTestCheck& check : checks) EXPECT_EQ(check.rounds, scale.rounds);
  EXPECT_EQ(std::string(CurrentCheck()), members.back().name + ", FeatureFind:dib32, call 49");
}

/// A copy that forgets the lowest bit of a picture's last byte.
class ForgetfulCopy final : public kv_img::CopyAlgorithmInterface<kv_img::Image<kv_img::PixelYUV422>,
                                                                  kv_img::Image<kv_img::PixelDIB24>> {
 public:
  using Frame = kv_img::Image<kv_img::PixelYUV422>;
  using Bitmap = kv_img::Image<kv_img::PixelDIB24>;
  explicit ForgetfulCopy(const kv_img::AlgorithmInterface* right)
      : right_(*static_cast<const kv_img::CopyAlgorithmInterface<Frame, Bitmap>*>(right)) {}
  Bitmap& Apply(const Frame& source, Bitmap& destination, kv_std::SpinBarrier& barrier,
                std::uint32_t threadIndex) const override {
    right_.Apply(source, destination, barrier, threadIndex);
    const int last = static_cast<int>(destination.GetHeight()) - 1;
    destination.Row(last).back() &= 0xFE;
    return destination;
  }

 private:
  const kv_img::CopyAlgorithmInterface<Frame, Bitmap>& right_;
};

TEST(SelfTest, AMemberThatIsWrongInOneBitIsNamed) {
  const TestedMember right = Asked(kv_test::Members().front());
  const int ids[] = {kv_img::PixelYUV422::ClassID, kv_img::PixelDIB24::ClassID};
  ForgetfulCopy forgetful(kv_test::Members().front().Load("Copy", ids, 2));
  const TestedMember wrong{"wrong", [&](const OperationCase& operation) -> kv_img::AlgorithmInterface* {
                             if (operation.algorithm == "Copy" && std::ranges::equal(operation.ids, ids))
                               return &forgetful;
                             return right.implementation(operation);
                           }};
  const auto checks = CheckMembers(std::span(&wrong, 1), scale);
  EXPECT_EQ(Differing(checks), std::vector<std::string>{"wrong Copy:yuv422:dib24"});
}

TEST(SelfTest, TheProgramAnswersWithATableAndAVerdict) {
  const kv_test::TempFolder temp;
  const Outcome outcome = kv_test::RunKv(temp.Path(), "selftest --rounds 5 --seed 3");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find(kv_test::wideMember), std::string::npos);
  EXPECT_NE(outcome.out.find("all is equal (seed 3)"), std::string::npos) << outcome.out;
  EXPECT_EQ(kv_test::RunKv(temp.Path(), "selftest --rounds 5 --seed 3").out, outcome.out);
}

TEST(SelfTest, TheProgramAnswersAsJson) {
  const kv_test::TempFolder temp;
  const Outcome outcome = kv_test::RunKv(temp.Path(), "selftest --rounds 5 --seed 4 --json");
  const auto result = nlohmann::json::parse(outcome.out)["result"];
  EXPECT_EQ(result["seed"], 4);
  EXPECT_EQ(result["equal"], true);
  std::size_t operations = 0;
  for (const std::string& member :
       std::set<std::string>{"kv_algoC", kv_test::commonMember, kv_test::wideMember}) {
    operations += OperationsOf(member);
  }
  EXPECT_EQ(result["members"].size(), operations);
}

TEST(SelfTest, TheProgramNamesAMemberThatIsWrongAndItsCall) {
  KV_NEEDS_SHELL();
  const kv_test::TempFolder temp;
  const Outcome outcome = kv_test::RunShell(
      temp.Path(),
      "d=$(dirname $KV); cp $KV $d/kv_algo*.so $d/libkv_*.so* . && cp $d/wrong_member/*.so . && "
      "./kv selftest --rounds 3 --seed 5");
  EXPECT_EQ(outcome.status, 1) << outcome.err;
  EXPECT_NE(outcome.out.find("Copy:grey8:grey8 of " + hostileMember + ": call 0: byte "), std::string::npos)
      << outcome.out;
  EXPECT_NE(outcome.out.find("--seed 5 repeats this"), std::string::npos) << outcome.out;
}

TEST(SelfTest, ACrashIsADifferenceToo) {
  KV_NEEDS_SHELL();
  const kv_test::TempFolder temp;
  const Outcome outcome =
      kv_test::RunShell(temp.Path(),
                        "d=$(dirname $KV); cp $KV $d/kv_algoC.so $d/libkv_*.so* $d/crashing_member/*.so . && "
                        "./kv selftest --rounds 1");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err;
  EXPECT_EQ(outcome.err.find("kv: crashed in or after " + hostileMember + ", Copy:grey8:grey8, call 0"), 0U)
      << outcome.err;
}

TEST(SelfTest, OneMemberAloneIsCompared) {
  KV_NEEDS_SHELL();
  const kv_test::TempFolder temp;
  const Outcome outcome = kv_test::RunShell(temp.Path(),
                                            "d=$(dirname $KV); cp $KV $d/kv_algoC.so $d/libkv_*.so* . && "
                                            "./kv selftest --rounds 1 --seed 6");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("kv_algoC    61 operations, 61 calls: all equal"), std::string::npos)
      << outcome.out;
  EXPECT_EQ(outcome.out.find(kv_test::wideMember), std::string::npos) << outcome.out;
}

TEST(SelfTest, WithoutAMemberThereIsNothingToCompare) {
  KV_NEEDS_SHELL();
  const kv_test::TempFolder temp;
  const Outcome outcome =
      kv_test::RunShell(temp.Path(), "d=$(dirname $KV); cp $KV $d/libkv_*.so* . && ./kv selftest --rounds 1");
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err;
}

}  // namespace
