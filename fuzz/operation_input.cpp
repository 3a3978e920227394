#include "fuzz/operation_input.h"

#include <vector>

#include "check/operation_case.h"
#include "fuzz/check_input.h"
#include "tests/models/model_family.h"
#include "tests/support/member.h"

namespace kv_fuzz {
namespace {

using kv_check::OperationCase;

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
  const kv_img::AlgorithmInterface* model = kv_model::ModelOf(operation);
  for (const kv_test::Member& member : kv_test::Members()) {
    const auto* implementation =
        member.Load(algorithm.c_str(), operation.ids.data(), static_cast<int>(operation.ids.size()));
    if (implementation == nullptr) continue;
    kv_check::Random choices(input.subspan(1));
    const kv_check::Comparison comparison = operation.compare(choices, *model, *implementation);
    Require(comparison.difference.empty(), member.Name() + ": " + comparison.difference);
  }
}

}  // namespace kv_fuzz
