#define KV_HALF_REGISTERS
#include "algorithms/featurefind/kernels/luma_bytes.h"
#include "algorithms/simd/wide.h"

namespace kv_img::featurefind {

template <>
void LumaBytes::Run<Wide<level>>(Args& args) noexcept {
  const __m128i shift = _mm_cvtsi32_si128(8 * LumaByte(args.order));
  Walk<Streams, width / 8>(args, [shift](const std::uint8_t* source, std::uint8_t* destination) {
    const auto luma = [&](int offset) {
      return LowerBytes16(KV_SIMD(srl_epi16)(Load(source + offset), shift));
    };
    Store(destination, Narrow16To8(luma(0), luma(width)));
  });
}

}  // namespace kv_img::featurefind
