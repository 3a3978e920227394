#include "check/operation_case.h"

namespace kv_check {

const std::vector<OperationCase>& AllOperations() {
  static const std::vector<OperationCase> operations = [] {
    std::vector<OperationCase> list;
    AddColorOperations(list);
    AddCopyOperations(list);
    AddCopyRoiOperations(list);
    AddFrameOperations(list);
    AddMaskOperations(list);
    AddFeatureFindOperations(list);
    return list;
  }();
  return operations;
}

}  // namespace kv_check
