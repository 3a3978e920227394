#define KV_HALF_REGISTERS
#include "algorithms/copy/kernels/swap_bytes.h"
#include "algorithms/simd/wide.h"

namespace kv_img::copy::wide {

template <>
void SwapBytes<level>(SwapBytesArgs& args) noexcept {
  Walk<width / 8>(
      args.groups,
      [](const std::uint8_t* source, std::uint8_t* destination) {
        Store(destination, SwapBytes16(Load(source)));
      },
      In<8>{args.source}, Out<8>{args.destination});
}

}  // namespace kv_img::copy::wide
