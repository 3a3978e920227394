#include "algorithms/alpha/kernels/kernel_sets.h"
#include "check/kernel_case.h"

namespace kv_check {

using namespace kv_img::alpha;

namespace {

constexpr auto ChromaDistanceOf = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            ChromaDistanceArgs args{call.groups, call.inputs[0], call.inputs[1], call.outputs[0],
                                    OrderFromBit(call.seed & 1)};
            kernel(args);
            call.inputs[0] = args.first;
            call.inputs[1] = args.second;
            call.outputs[0] = args.mask;
          }};
};

constexpr auto CentredDifferenceOf = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            CentredDifferenceArgs args{call.groups, call.inputs[0], call.inputs[1], call.outputs[0]};
            kernel(args);
            call.inputs[0] = args.p;
            call.inputs[1] = args.q;
            call.outputs[0] = args.mask;
          }};
};

}  // namespace

void AddAlphaKernels(std::vector<KernelCase>& list) {
  list.push_back(
      {"alpha/ChromaDistance",
       {{.perGroup = 8}, {.perGroup = 8}},
       {{.perGroup = 4}},
       AllSets(ChromaDistanceOf, scalar::ChromaDistance, mmx::ChromaDistance, WideKernels::ChromaDistance)});
  list.push_back({"alpha/CentredDifference",
                  {{.perGroup = 4}, {.perGroup = 4}},
                  {{.perGroup = 4}},
                  AllSets(CentredDifferenceOf, scalar::CentredDifference, mmx::CentredDifference,
                          WideKernels::CentredDifference)});
}

}  // namespace kv_check
