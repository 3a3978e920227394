#include <concepts>

#include "algorithms/kernel_list.h"
#include "kernel_records.h"
#include "tests/kernel_check/listed_kernel.h"
#include "tests/kernel_check/special_cases.h"

namespace kv_check {
namespace {

/// Kernels whose rows may be the same row.
template <class Kernel>
concept MayShareRows = std::derived_from<Kernel, kv_img::parity::LineAverage> ||
    std::derived_from<Kernel, kv_img::scanning::RowBlend> ||
    std::derived_from<Kernel, kv_img::scanning::RowPan>;

/// The same kernel when both its rows are one.
KernelCase WithOneRow(KernelCase made) {
  made.name += "/one row";
  made.inputs.resize(1);
  for (Variant& variant : made.variants) {
    variant.run = [run = variant.run](Call& call) {
      const std::uint8_t* rows[] = {call.inputs[0], call.inputs[0]};
      Call both{call.groups, call.seed, rows, call.outputs};
      run(both);
      call.inputs[0] = rows[0] == rows[1] ? rows[0] : nullptr;
    };
  }
  return made;
}

template <class Kernel>
void AddKernel(std::vector<KernelCase>& cases) {
  if constexpr (requires { AddCases(std::type_identity<Kernel>(), cases); }) {
    AddCases(std::type_identity<Kernel>(), cases);
  } else {
    cases.push_back(CaseOf<Kernel>());
    if constexpr (MayShareRows<Kernel>) cases.push_back(WithOneRow(cases.back()));
  }
}

template <class... Kernels>
void AddList(std::vector<KernelCase>& cases, kv_img::KernelList<Kernels...> /*kernels*/) {
  (AddKernel<Kernels>(cases), ...);
}

template <class... Lists>
void AddLists(std::vector<KernelCase>& cases, kv_img::KernelLists<Lists...> /*lists*/) {
  (AddList(cases, Lists()), ...);
}

}  // namespace

const std::vector<KernelCase>& AllKernels() {
  static const std::vector<KernelCase> kernels = [] {
    std::vector<KernelCase> cases;
    AddLists(cases, kv_img::ListedKernels());
    return cases;
  }();
  return kernels;
}

}  // namespace kv_check
