#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "check/operation_case.h"

namespace kv_host {

/// A member: its implementation of an operation, null when it has none.
struct TestedMember {
  std::string name;
  std::function<kv_img::AlgorithmInterface*(const kv_check::OperationCase&)> implementation;
};

/// An operation of a member that was compared with its plain rule.
struct SelfTestCheck {
  std::string member;
  std::string what;  ///< the operation with its pixel classes
  int rounds = 0;
  int refusals = 0;  ///< calls that both refused
  std::string difference;
};

/// How much a self-test does, and what repeats it.
struct SelfTestScale {
  int rounds;
  std::uint64_t seed;
};

/// Every operation that a member has, over random calls. All members get the same calls: those that equal the
/// rule equal each other.
std::vector<SelfTestCheck> CheckMembers(std::span<const TestedMember> members, const SelfTestScale& scale);

/// What runs or ran last, for the report of a crash: "kv_algoC, Copy:yuv422:dib24, call 7".
const char* CurrentCheck();

}  // namespace kv_host
