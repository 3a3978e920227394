#define KV_HALF_REGISTERS
#include "algorithms/featurefind/kernels/luma_bytes.h"
#include "algorithms/simd/wide.h"

namespace kv_img::featurefind {

template <>
void LumaBytes::Run<Wide<level>>(Args& args) noexcept {
  const __m128i shift = _mm_cvtsi32_si128(8 * LumaByte(args.order));
#if KV_WIDE_LEVEL >= 2
  // Rows are short: what is left of one is loaded and stored with a mask.
  const std::uint8_t* source = args.source;
  std::uint8_t* destination = args.destination;
  for (std::int32_t pixels = 8 * args.groups; pixels > 0; pixels -= 32) {
    const __mmask32 wanted = pixels < 32 ? ~__mmask32{0} >> (32 - pixels) : ~__mmask32{0};
    const __m512i luma = _mm512_srl_epi16(_mm512_maskz_loadu_epi16(wanted, source), shift);
    _mm256_mask_storeu_epi8(destination, wanted, _mm512_cvtepi16_epi8(luma));
    source += 64;
    destination += 32;
  }
  args.source += 16 * args.groups;
  args.destination += 8 * args.groups;
#else
  Walk<Streams, width / 8>(args, [shift](const std::uint8_t* source, std::uint8_t* destination) {
    const auto luma = [&](int offset) {
      return LowerBytes16(KV_SIMD(srl_epi16)(Load(source + offset), shift));
    };
    Store(destination, Narrow16To8(luma(0), luma(width)));
  });
#endif
}

}  // namespace kv_img::featurefind
