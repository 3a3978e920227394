#include "algorithms/arithmetic/kernels/kernel_sets.h"
#include "check/kernel_case.h"

namespace kv_check {

using namespace kv_img::arithmetic;

namespace {

constexpr auto LumaDifferenceVariant = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            LumaDifferenceArgs args{call.groups, call.inputs[0], call.inputs[1], call.outputs[0],
                                    OrderFromBit(call.seed & 1)};
            kernel(args);
            call.inputs[0] = args.first;
            call.inputs[1] = args.second;
            call.outputs[0] = args.destination;
          }};
};

constexpr auto HalvedSumVariant = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            HalvedSumArgs args{call.groups, call.inputs[0], call.inputs[1], call.outputs[0]};
            kernel(args);
            call.inputs[0] = args.first;
            call.inputs[1] = args.second;
            call.outputs[0] = args.destination;
          }};
};

constexpr auto BlendBoostVariant = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            BlendBoostArgs args{call.groups,    call.inputs[0],  call.inputs[1],
                                call.inputs[2], call.outputs[0], OrderFromBit(call.seed & 1)};
            kernel(args);
            call.inputs[0] = args.b;
            call.inputs[1] = args.a;
            call.inputs[2] = args.mask;
            call.outputs[0] = args.destination;
          }};
};

}  // namespace

void AddArithmeticKernels(std::vector<KernelCase>& list) {
  list.push_back({"arithmetic/LumaDifference",
                  {{.perGroup = 8}, {.perGroup = 8}},
                  {{.perGroup = 4}},
                  AllSets(LumaDifferenceVariant, scalar::LumaDifference, mmx::LumaDifference,
                          WideKernels::LumaDifference)});
  list.push_back({"arithmetic/HalvedSum",
                  {{.perGroup = 4}, {.perGroup = 4}},
                  {{.perGroup = 4}},
                  AllSets(HalvedSumVariant, scalar::HalvedSum, mmx::HalvedSum, WideKernels::HalvedSum)});
  list.push_back({"arithmetic/BlendBoost",
                  {{.perGroup = 8}, {.perGroup = 8}, {.perGroup = 4}},
                  {{.perGroup = 8}},
                  AllSets(BlendBoostVariant, scalar::BlendBoost, mmx::BlendBoost, WideKernels::BlendBoost)});
}

}  // namespace kv_check
