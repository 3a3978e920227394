#include "host/self_test.h"

#include "host/combinations.h"

namespace kv_host {
namespace {

std::string currentCheck = "no call";

std::string NameOf(const kv_check::OperationCase& operation) {
  for (const Combination& combination : AllCombinations()) {
    if (combination.algorithm == operation.algorithm && combination.ids == operation.ids)
      return combination.Text();
  }
  return operation.algorithm + " by image type";
}

SelfTestCheck Compare(const std::string& member, const kv_check::OperationCase& operation,
                      const kv_img::AlgorithmInterface& tested, const SelfTestScale& scale) {
  SelfTestCheck check;
  check.member = member;
  check.what = NameOf(operation);
  for (; check.rounds < scale.rounds && check.difference.empty(); ++check.rounds) {
    currentCheck = member + ", " + check.what + ", call " + std::to_string(check.rounds);
    // A seed of its own, so that one call can be repeated alone.
    kv_check::Random random(scale.seed + static_cast<std::uint64_t>(check.rounds));
    const kv_check::Comparison comparison = operation.compare(random, *operation.rule, tested);
    if (comparison.wasRefused) ++check.refusals;
    if (!comparison.difference.empty()) {
      check.difference = "call " + std::to_string(check.rounds) + ": " + comparison.difference;
    }
  }
  return check;
}

}  // namespace

const char* CurrentCheck() {
  return currentCheck.c_str();
}

std::vector<SelfTestCheck> CheckMembers(std::span<const TestedMember> members, const SelfTestScale& scale) {
  std::vector<SelfTestCheck> checks;
  for (const TestedMember& member : members) {
    for (const kv_check::OperationCase& operation : kv_check::AllOperations()) {
      if (const auto* tested = member.implementation(operation))
        checks.push_back(Compare(member.name, operation, *tested, scale));
    }
  }
  return checks;
}

}  // namespace kv_host
