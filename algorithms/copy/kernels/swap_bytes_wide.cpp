#define KV_HALF_REGISTERS
#include "algorithms/copy/kernels/swap_bytes.h"
#include "algorithms/simd/wide.h"

namespace kv_img::copy {

template <>
void SwapBytes::Run<Wide<level>>(Args& args) noexcept {
  Walk<Streams, width / 8>(args, [](const std::uint8_t* source, std::uint8_t* destination) {
    Store(destination, SwapBytes16(Load(source)));
  });
}

}  // namespace kv_img::copy
