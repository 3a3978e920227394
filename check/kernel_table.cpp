#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/copy/kernels/swap_bytes.h"
#include "algorithms/kernel_list.h"
#include "check/kernel_case.h"
#include "check/listed_kernel.h"

namespace kv_check {
namespace {

template <class... Lists>
void AddLists(std::vector<KernelCase>& cases, kv_img::KernelLists<Lists...> /*lists*/) {
  const auto addList = [&cases]<class... Kernels>(kv_img::KernelList<Kernels...> /*kernels*/) {
    (cases.push_back(CaseOf<Kernels>()), ...);
  };
  (addList(Lists()), ...);
}

}  // namespace

const std::vector<KernelCase>& AllKernels() {
  static const std::vector<KernelCase> kernels = [] {
    std::vector<KernelCase> list;
    AddAlphaKernels(list);
    AddLists(list, kv_img::ListedKernels());
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
