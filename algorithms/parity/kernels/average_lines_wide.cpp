#define KV_HALF_REGISTERS
#include "algorithms/parity/kernels/average_lines.h"
#include "algorithms/simd/wide.h"

namespace kv_img::parity::wide {

template <>
void AverageLines<level>(AverageLinesArgs& args) noexcept {
  Walk<width / 8>(
      args.groups,
      [](const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* destination) {
        Store(destination, HalvedSumU8(Load(upper), Load(lower)));
      },
      In<8>{args.upper}, In<8>{args.lower}, Out<8>{args.destination});
}

template <>
void AverageLinesSwapped<level>(AverageLinesArgs& args) noexcept {
  Walk<width / 8>(
      args.groups,
      [](const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* destination) {
        Store(destination, SwapBytes16(HalvedSumU8(Load(upper), Load(lower))));
      },
      In<8>{args.upper}, In<8>{args.lower}, Out<8>{args.destination});
}

}  // namespace kv_img::parity::wide
