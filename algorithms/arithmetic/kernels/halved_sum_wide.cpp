#define KV_HALF_REGISTERS
#include "algorithms/arithmetic/kernels/halved_sum.h"
#include "algorithms/simd/wide.h"

namespace kv_img::arithmetic {

template <>
void HalvedSum::Run<Wide<level>>(Args& args) noexcept {
  Walk<Streams, width / 4>(
      args, [](const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* destination) {
        Store(destination, HalvedSumU8(Load(first), Load(second)));
      });
}

}  // namespace kv_img::arithmetic
