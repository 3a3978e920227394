#define KV_HALF_REGISTERS
#include "algorithms/copy/kernels/swap_bytes.h"
#include "algorithms/simd/wide.h"

namespace kv_img::copy {
namespace {

// With one instruction a register the loop is most of the work.
constexpr int registersPerStep = KV_NEON ? 4 : 1;

}  // namespace

template <>
void SwapBytes::Run<Wide<level>>(Args& args) noexcept {
  Walk<Streams, registersPerStep * width / 8>(
      args, [](const std::uint8_t* source, std::uint8_t* destination) {
        for (int i = 0; i < registersPerStep; ++i)
          Store(destination + i * width, SwapBytes16(Load(source + i * width)));
      });
}

}  // namespace kv_img::copy
