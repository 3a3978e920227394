#include "algorithms/parity/kernels/kernel_sets.h"
#include "check/kernel_case.h"

namespace kv_check {
namespace {

using namespace kv_img::parity;

constexpr auto AverageVariant = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            AverageLinesArgs args{call.groups, call.inputs[0], call.inputs[1], call.outputs[0]};
            kernel(args);
            call.inputs[0] = args.upper;
            call.inputs[1] = args.lower;
            call.outputs[0] = args.destination;
          }};
};

}  // namespace

void AddParityKernels(std::vector<KernelCase>& list) {
  const std::vector<Stream> lines = {{.perGroup = 8}, {.perGroup = 8}};
  list.push_back(
      {"parity/AverageLines",
       lines,
       {{.perGroup = 8}},
       AllSets(AverageVariant, scalar::AverageLines, mmx::AverageLines, WideKernels::AverageLines)});
  list.push_back({"parity/AverageLinesSwapped",
                  lines,
                  {{.perGroup = 8}},
                  AllSets(AverageVariant, scalar::AverageLinesSwapped, mmx::AverageLinesSwapped,
                          WideKernels::AverageLinesSwapped)});
}

}  // namespace kv_check
