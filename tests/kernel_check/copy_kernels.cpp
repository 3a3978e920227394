#include "algorithms/copy/kernels/swap_bytes.h"
#include "tests/kernel_check/kernel_case.h"

namespace kv_check {

using namespace kv_img::copy;

void AddCopyKernels(std::vector<KernelCase>& list) {
  list.push_back({"copy/SwapBytes",
                  {{.perGroup = 8}},
                  {{.perGroup = 8}},
                  {SourceToDestination<SwapBytesArgs>("scalar", scalar::SwapBytes),
                   SourceToDestination<SwapBytesArgs>("mmx", mmx::SwapBytes)}});
}

}  // namespace kv_check
