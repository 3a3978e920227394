#include "fuzz/operation_input.h"

#include <vector>

#include "check/operation_case.h"
#include "frame/algorithm_list.h"
#include "fuzz/check_input.h"
#include "tests/support/member.h"

namespace kv_fuzz {
namespace {

using kv_check::OperationCase;

template <class... Algorithms>
constexpr int Count(kv_img::TypeList<Algorithms...> /*list*/) {
  return sizeof...(Algorithms);
}
static_assert(Count(kv_img::algorithms::All{}) == KV_FUZZ_OPERATIONS, "an algorithm has no fuzz target");

std::vector<OperationCase> OperationsOf(const std::string& algorithm) {
  std::vector<OperationCase> operations;
  for (const OperationCase& operation : kv_check::AllOperations()) {
    if (operation.algorithm == algorithm) operations.push_back(operation);
  }
  return operations;
}

}  // namespace

void CompareMembers(const std::string& algorithm, std::span<const std::uint8_t> input) {
  if (input.empty()) return;
  static const std::vector<OperationCase> operations = OperationsOf(algorithm);
  const OperationCase& operation = operations.at(input[0] % operations.size());
  for (const kv_test::Member& member : kv_test::Members()) {
    const auto* implementation =
        member.Load(algorithm.c_str(), operation.ids.data(), static_cast<int>(operation.ids.size()));
    if (implementation == nullptr) continue;
    kv_check::Random choices(input.subspan(1));
    const kv_check::Comparison comparison = operation.compare(choices, *operation.rule, *implementation);
    Require(comparison.difference.empty(), member.Name() + ": " + comparison.difference);
  }
}

}  // namespace kv_fuzz
