#define KV_HALF_REGISTERS
#include "algorithms/parity/kernels/average_lines.h"
#include "algorithms/simd/wide.h"

namespace kv_img::parity {

template <>
void AverageLines::Run<Wide<level>>(Args& args) noexcept {
  Walk<Streams, width / 8>(
      args, [](const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* destination) {
        Store(destination, HalvedSumU8(Load(upper), Load(lower)));
      });
}

template <>
void AverageLinesSwapped::Run<Wide<level>>(Args& args) noexcept {
  Walk<Streams, width / 8>(
      args, [](const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* destination) {
        Store(destination, SwapBytes16(HalvedSumU8(Load(upper), Load(lower))));
      });
}

}  // namespace kv_img::parity
