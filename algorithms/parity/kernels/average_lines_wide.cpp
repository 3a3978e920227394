#define KV_HALF_REGISTERS
#include "algorithms/parity/kernels/average_lines.h"
#include "algorithms/simd/wide.h"

namespace kv_img::parity::wide {

template <>
void AverageLines<level>(AverageLinesArgs& args) noexcept {
  WalkPlaces<width / 8>(
      args.groups,
      [](const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* destination) {
        Store(destination, HalvedSumU8(Load(upper), Load(lower)));
      },
      Reading<8>{args.upper}, Reading<8>{args.lower}, Writing<8>{args.destination});
}

template <>
void AverageLinesSwapped<level>(AverageLinesArgs& args) noexcept {
  WalkPlaces<width / 8>(
      args.groups,
      [](const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* destination) {
        Store(destination, SwapBytes16(HalvedSumU8(Load(upper), Load(lower))));
      },
      Reading<8>{args.upper}, Reading<8>{args.lower}, Writing<8>{args.destination});
}

}  // namespace kv_img::parity::wide
