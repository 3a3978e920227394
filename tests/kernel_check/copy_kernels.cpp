#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/copy/kernels/swap_bytes.h"
#include "tests/kernel_check/kernel_case.h"

namespace kv_check {

using namespace kv_img::copy;

namespace {

Variant Interleave(std::string set, void (*kernel)(InterleaveArgs&) noexcept) {
  return {std::move(set), [kernel](Call& call) {
            InterleaveArgs args{call.groups, call.inputs[0], call.inputs[1], call.inputs[2], call.outputs[0]};
            kernel(args);
            call.inputs[0] = args.luma;
            call.inputs[1] = args.cb;
            call.inputs[2] = args.cr;
            call.outputs[0] = args.destination;
          }};
}

}  // namespace

void AddCopyKernels(std::vector<KernelCase>& list) {
  list.push_back(
      {"copy/InterleaveChromaFirst",
       {{.perGroup = 8}, {.perGroup = 4}, {.perGroup = 4}},
       {{.perGroup = 16}},
       {Interleave("scalar", scalar::InterleaveChromaFirst), Interleave("mmx", mmx::InterleaveChromaFirst)}});
  list.push_back(
      {"copy/InterleaveLumaFirst",
       {{.perGroup = 8}, {.perGroup = 4}, {.perGroup = 4}},
       {{.perGroup = 16}},
       {Interleave("scalar", scalar::InterleaveLumaFirst), Interleave("mmx", mmx::InterleaveLumaFirst)}});
  list.push_back({"copy/SwapBytes",
                  {{.perGroup = 8}},
                  {{.perGroup = 8}},
                  {SourceToDestination<SwapBytesArgs>("scalar", scalar::SwapBytes),
                   SourceToDestination<SwapBytesArgs>("mmx", mmx::SwapBytes)}});
}

}  // namespace kv_check
