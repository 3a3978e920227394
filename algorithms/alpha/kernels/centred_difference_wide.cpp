#define KV_HALF_REGISTERS
#include "algorithms/alpha/kernels/centred_difference.h"
#include "algorithms/simd/wide.h"

namespace kv_img::alpha::wide {

template <>
void CentredDifference<level>(CentredDifferenceArgs& args) noexcept {
  WalkPlaces<width / 4>(
      args.groups,
      [](const std::uint8_t* p, const std::uint8_t* q, std::uint8_t* mask) {
        // Seen as signed numbers around 128, the difference saturates where the mask is clamped.
        const Vector centre = Set8(0x80);
        Store(mask, Xor(SubS8(Xor(Load(p), centre), Xor(Load(q), centre)), centre));
      },
      Reading<4>{args.p}, Reading<4>{args.q}, Writing<4>{args.mask});
}

}  // namespace kv_img::alpha::wide
