#include "host/self_test.h"

#include "check/checker.h"
#include "host/combinations.h"

namespace kv_host {
namespace {

std::string NameOf(const kv_check::OperationCase& operation) {
  for (const Combination& combination : AllCombinations()) {
    if (combination.algorithm == operation.algorithm && combination.ids == operation.ids)
      return combination.Text();
  }
  return operation.algorithm + " by image type";
}

SelfTestCheck Compare(const kv_check::OperationCase& operation, const kv_img::AlgorithmInterface& reference,
                      const kv_img::AlgorithmInterface& other, const SelfTestScale& scale) {
  SelfTestCheck check;
  check.what = NameOf(operation);
  for (; check.rounds < scale.operationRounds && check.difference.empty(); ++check.rounds) {
    // A seed of its own, so that one call can be repeated alone.
    kv_check::Random random(scale.seed + static_cast<std::uint64_t>(check.rounds));
    const kv_check::Comparison comparison = operation.compare(random, reference, other);
    if (comparison.wasRefused) ++check.refusals;
    if (!comparison.difference.empty()) {
      check.difference = "call " + std::to_string(check.rounds) + ": " + comparison.difference;
    }
  }
  return check;
}

}  // namespace

std::vector<SelfTestCheck> CheckKernels(const std::vector<kv_check::KernelCase>& kernels,
                                        const SelfTestScale& scale) {
  std::vector<SelfTestCheck> checks;
  for (const kv_check::KernelCase& kernel : kernels) {
    for (std::size_t i = 1; i < kernel.variants.size(); ++i) {
      const kv_check::Variant& variant = kernel.variants[i];
      SelfTestCheck check{variant.set, kernel.name, scale.kernelRounds, 0, variant.runsHere, {}};
      if (variant.runsHere) {
        check.difference = kv_check::Check(kernel, variant, scale.seed, scale.kernelRounds);
      }
      checks.push_back(std::move(check));
    }
  }
  return checks;
}

std::vector<SelfTestCheck> CheckMembers(const TestedMember& reference, std::span<const TestedMember> others,
                                        const SelfTestScale& scale) {
  std::vector<SelfTestCheck> checks;
  for (const TestedMember& other : others) {
    for (const kv_check::OperationCase& operation : kv_check::AllOperations()) {
      const auto* expected = reference.implementation(operation);
      const auto* tested = other.implementation(operation);
      if (expected == nullptr || tested == nullptr) continue;
      checks.push_back(Compare(operation, *expected, *tested, scale));
      checks.back().tested = other.name;
    }
  }
  return checks;
}

}  // namespace kv_host
