#define KV_HALF_REGISTERS
#include "algorithms/arithmetic/kernels/halved_sum.h"
#include "algorithms/simd/wide.h"

namespace kv_img::arithmetic::wide {

template <>
void HalvedSum<level>(HalvedSumArgs& args) noexcept {
  Walk<width / 4>(
      args.groups,
      [](const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* destination) {
        Store(destination, HalvedSumU8(Load(first), Load(second)));
      },
      In<4>{args.first}, In<4>{args.second}, Out<4>{args.destination});
}

}  // namespace kv_img::arithmetic::wide
