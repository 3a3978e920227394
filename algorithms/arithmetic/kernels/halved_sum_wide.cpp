#define KV_HALF_REGISTERS
#include "algorithms/arithmetic/kernels/halved_sum.h"
#include "algorithms/simd/wide.h"

namespace kv_img::arithmetic::wide {

template <>
void HalvedSum<level>(HalvedSumArgs& args) noexcept {
  WalkPlaces<width / 4>(
      args.groups,
      [](const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* destination) {
        Store(destination, HalvedSumU8(Load(first), Load(second)));
      },
      Reading<4>{args.first}, Reading<4>{args.second}, Writing<4>{args.destination});
}

}  // namespace kv_img::arithmetic::wide
