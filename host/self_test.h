#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "check/kernel_case.h"
#include "check/operation_case.h"

namespace kv_host {

/// One member as a comparison asks it: its implementation of an operation, null when it has none.
struct TestedMember {
  std::string name;
  std::function<kv_img::AlgorithmInterface*(const kv_check::OperationCase&)> implementation;
};

/// One thing that was compared with its reference.
struct SelfTestCheck {
  std::string tested;  ///< a kernel set, or a member's name
  std::string what;    ///< a kernel, or an operation with its pixel classes
  int rounds = 0;      ///< random records, or random calls
  int refusals = 0;    ///< of these calls that were refused, and alike
  bool wasRun = true;  ///< false: this processor lacks the instructions
  std::string difference;
};

/// How much a self-test does, and what repeats it.
struct SelfTestScale {
  int kernelRounds;
  int operationRounds;
  std::uint64_t seed;
};

/// Every kernel set against the first set of each kernel, over random records.
std::vector<SelfTestCheck> CheckKernels(const std::vector<kv_check::KernelCase>& kernels,
                                        const SelfTestScale& scale);

/// Every operation that `reference` and another member have, over random calls.
std::vector<SelfTestCheck> CheckMembers(const TestedMember& reference, std::span<const TestedMember> others,
                                        const SelfTestScale& scale);

}  // namespace kv_host
