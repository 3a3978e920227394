#define KV_HALF_REGISTERS
#include "algorithms/alpha/kernels/centred_difference.h"
#include "algorithms/simd/wide.h"

namespace kv_img::alpha {

template <>
void CentredDifference::Run<Wide<level>>(Args& args) noexcept {
  Walk<Streams, width / 4>(args, [](const std::uint8_t* p, const std::uint8_t* q, std::uint8_t* mask) {
    // Seen as signed numbers around 128, the difference saturates where the mask is clamped.
    const Vector centre = Set8(0x80);
    Store(mask, Xor(SubS8(Xor(Load(p), centre), Xor(Load(q), centre)), centre));
  });
}

}  // namespace kv_img::alpha
