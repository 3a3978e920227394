#include "algorithms/alpha/kernels/centred_difference.h"
#include "algorithms/alpha/kernels/chroma_distance.h"
#include "check/kernel_case.h"

namespace kv_check {

using namespace kv_img::alpha;

namespace {

Variant ChromaDistanceOf(std::string set, void (*kernel)(ChromaDistanceArgs&) noexcept) {
  return {std::move(set), [kernel](Call& call) {
            const auto shiftOf = [&call](int bit) { return (call.seed >> bit & 1U) != 0 ? 8 : 0; };
            ChromaDistanceArgs args{call.groups,     call.inputs[0], call.inputs[1],
                                    call.outputs[0], shiftOf(0),     shiftOf(1)};
            kernel(args);
            call.inputs[0] = args.first;
            call.inputs[1] = args.second;
            call.outputs[0] = args.mask;
          }};
}

Variant CentredDifferenceOf(std::string set, void (*kernel)(CentredDifferenceArgs&) noexcept) {
  return {std::move(set), [kernel](Call& call) {
            CentredDifferenceArgs args{call.groups, call.inputs[0], call.inputs[1], call.outputs[0]};
            kernel(args);
            call.inputs[0] = args.p;
            call.inputs[1] = args.q;
            call.outputs[0] = args.mask;
          }};
}

}  // namespace

void AddAlphaKernels(std::vector<KernelCase>& list) {
  list.push_back(
      {"alpha/ChromaDistance",
       {{.perGroup = 8}, {.perGroup = 8}},
       {{.perGroup = 4}},
       {ChromaDistanceOf("scalar", scalar::ChromaDistance), ChromaDistanceOf("mmx", mmx::ChromaDistance)}});
  list.push_back({"alpha/CentredDifference",
                  {{.perGroup = 4}, {.perGroup = 4}},
                  {{.perGroup = 4}},
                  {CentredDifferenceOf("scalar", scalar::CentredDifference),
                   CentredDifferenceOf("mmx", mmx::CentredDifference)}});
}

}  // namespace kv_check
