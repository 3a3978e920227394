#include "check/kernel_case.h"

namespace kv_check {

const std::vector<KernelCase>& AllKernels() {
  static const std::vector<KernelCase> kernels = [] {
    std::vector<KernelCase> list;
    AddAlphaKernels(list);
    AddCopyKernels(list);
    AddArithmeticKernels(list);
    AddBoxFilterKernels(list);
    AddFeatureFindKernels(list);
    AddParityKernels(list);
    AddScanningKernels(list);
    return list;
  }();
  return kernels;
}

}  // namespace kv_check
