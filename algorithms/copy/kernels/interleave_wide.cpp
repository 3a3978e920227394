// Two byte permutations of a whole register beat four of half ones; without them half registers are better.
#if KV_WIDE_LEVEL < 3
#define KV_HALF_REGISTERS
#endif
#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/packed422/kernels/lanes_wide.h"

namespace kv_img::copy {
namespace {

#if KV_NEON

/// One instruction stores four registers byte by byte in turn.
template <PackedOrder order>
void InterleaveRow(Interleave::Args& args) {
  Walk<Interleave::Streams, 4>(args, [](const std::uint8_t* luma, const std::uint8_t* cb,
                                        const std::uint8_t* cr, std::uint8_t* destination) {
    const uint8x16x2_t y = vld2q_u8(luma);
    const uint8x16_t blue = vld1q_u8(cb);
    const uint8x16_t red = vld1q_u8(cr);
    const bool isLumaFirst = order == PackedOrder::LumaFirst;
    vst4q_u8(destination, isLumaFirst ? uint8x16x4_t{{y.val[0], blue, y.val[1], red}}
                                      : uint8x16x4_t{{blue, y.val[0], red, y.val[1]}});
  });
}

#else

#if KV_REGISTER_LEVEL >= 3
struct ByteOrder {
  alignas(64) std::uint8_t bytes[64];
};
/// 32 bytes from each of two places on, in turn.
constexpr ByteOrder InTurn(int first, int second) {
  ByteOrder order{};
  for (int i = 0; i < 64; ++i)
    order.bytes[i] = static_cast<std::uint8_t>((i % 2 == 0 ? first : second) + i / 2);
  return order;
}
constexpr ByteOrder chromaInTurn = InTurn(0, 32);
constexpr ByteOrder lowerInTurn = InTurn(0, 64);
constexpr ByteOrder upperInTurn = InTurn(32, 96);
#endif

/// Half a register of Cb and half a one of Cr, byte by byte in turn.
KV_INLINE Vector LoadChroma(const std::uint8_t* cb, const std::uint8_t* cr) {
#if KV_REGISTER_LEVEL >= 3
  const __m512i planes =
      _mm512_inserti64x4(_mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(cb))),
                         _mm256_loadu_si256(reinterpret_cast<const __m256i*>(cr)), 1);
  return _mm512_permutexvar_epi8(Load(chromaInTurn.bytes), planes);
#elif KV_REGISTER_LEVEL == 1
  const __m128i blue = Load128(cb);
  const __m128i red = Load128(cr);
  return _mm256_set_m128i(_mm_unpackhi_epi8(blue, red), _mm_unpacklo_epi8(blue, red));
#else
  return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(cb)),
                           _mm_loadl_epi64(reinterpret_cast<const __m128i*>(cr)));
#endif
}

/// Stores the bytes of two registers in turn.
KV_INLINE void StoreInTurn(std::uint8_t* destination, Vector first, Vector second) {
#if KV_REGISTER_LEVEL >= 3
  Store(destination, _mm512_permutex2var_epi8(first, Load(lowerInTurn.bytes), second));
  Store(destination + width, _mm512_permutex2var_epi8(first, Load(upperInTurn.bytes), second));
#else
#if KV_REGISTER_LEVEL == 1
  // Unpacking stays within the halves of a register.
  first = _mm256_permute4x64_epi64(first, _MM_SHUFFLE(3, 1, 2, 0));
  second = _mm256_permute4x64_epi64(second, _MM_SHUFFLE(3, 1, 2, 0));
#endif
  Store(destination, KV_SIMD(unpacklo_epi8)(first, second));
  Store(destination + width, KV_SIMD(unpackhi_epi8)(first, second));
#endif
}

template <PackedOrder order>
void InterleaveRow(Interleave::Args& args) {
  WalkRow<Interleave::Streams, width / 8>(
      args, [](RowEnds /*ends*/, const std::uint8_t* luma, const std::uint8_t* cb, const std::uint8_t* cr,
               std::uint8_t* destination) {
        const Vector y = Load(luma);
        const Vector chroma = LoadChroma(cb, cr);
        const bool isLumaFirst = order == PackedOrder::LumaFirst;
        StoreInTurn(destination, isLumaFirst ? y : chroma, isLumaFirst ? chroma : y);
      });
}

#endif

}  // namespace

template <>
void InterleaveLumaFirst::Run<Wide<level>>(Args& args) noexcept {
  InterleaveRow<PackedOrder::LumaFirst>(args);
}

template <>
void InterleaveChromaFirst::Run<Wide<level>>(Args& args) noexcept {
  InterleaveRow<PackedOrder::ChromaFirst>(args);
}

}  // namespace kv_img::copy
