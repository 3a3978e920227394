#include "algorithms/alpha/kernels/chroma_distance.h"
#include "algorithms/simd/wide.h"

namespace kv_img::alpha {
namespace {

/// Both mask bytes of every pair, sign-extended in its 32-bit lane.
KV_INLINE Vector MaskOfPairs(Vector first, Vector second) {
  const Vector difference = Sub16(first, second);
  const Vector absolute = Max16(difference, Sub16(Zero(), difference));
  const Vector distance = Min16(MultiplyAdd16(absolute, Set16(1)), Set32(5));
  const Vector cubed = Multiply16(Multiply16(distance, distance), distance);
  const Vector mask = Sub32(Set32(255), cubed);
  return ShiftRightSigned32<16>(Or(ShiftLeft32<16>(mask), ShiftLeft32<24>(mask)));
}

}  // namespace

template <>
void ChromaDistance::Run<Wide<level>>(Args& args) noexcept {
  const __m128i shift = _mm_cvtsi32_si128(8 * ChromaByte(args.order));
  Walk<Streams, width / 4>(
      args, [shift](const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* mask) {
        const auto masks = [&](int offset) {
          return MaskOfPairs(LowerBytes16(KV_SIMD(srl_epi16)(Load(first + offset), shift)),
                             LowerBytes16(KV_SIMD(srl_epi16)(Load(second + offset), shift)));
        };
        Store(mask, Narrow32To16(masks(0), masks(width)));
      });
}

}  // namespace kv_img::alpha
