#include "algorithms/copy/kernels/yuv_to_rgb.h"
#include "algorithms/packed422/kernels/lanes_wide.h"

namespace kv_img::copy {
namespace {

/// Components of consecutive pixels in 16-bit lanes.
struct RgbLanes {
  Vector red;
  Vector green;
  Vector blue;
};

template <PackedOrder order>
class Converter {
 public:
  explicit Converter(const YuvToRgbMatrix& matrix)
      : luma_(Set16(matrix.luma)),
        blueAndRed_(SetPair16(matrix.cbToBlue, matrix.crToRed)),
        green_(SetPair16(matrix.cbToGreen, matrix.crToGreen)),
        lumaOffset_(Set16(matrix.lumaOffset)),
        chromaOffset_(Set16(matrix.chromaOffset)) {}

  /// Components of a register of packed 4:2:2, not yet clamped.
  RgbLanes Convert(Vector packed) const {
    const Vector y = LumaLanes<order>(packed);
    const Vector c = ChromaLanes<order>(packed);
    // Times 8, so that the upper half of a product with a gain is in units of 1 / 8192.
    const Vector luma = MultiplyEightfoldHigh16(Sub16(y, lumaOffset_), luma_);
    const Vector chroma = Sub16(c, chromaOffset_);
    const Vector blueAndRed = MultiplyEightfoldHigh16(chroma, blueAndRed_);
    // The upper halves of the 32-bit sums.
    const Vector green = MultiplyAdd16(ShiftLeft16<3>(chroma), green_);
    return {Add16(luma, RepeatUpper16(blueAndRed)), Add16(luma, RepeatUpper16(green)),
            Add16(luma, RepeatLower16(blueAndRed))};
  }

 private:
  Vector luma_;
  Vector blueAndRed_;
  Vector green_;
  Vector lumaOffset_;
  Vector chromaOffset_;
};

// Words of 15 and 16 bits from the bytes of sixteen pixels a lane. Shifts cross bytes: the bits that come
// from a neighbour are where the other component is taken.
struct Dib15Word {
  KV_INLINE static Vector LowerByte(Vector green, Vector blue) {
    return Select(Set8(0xE0), ShiftRight16<3>(blue), ShiftLeft16<2>(green));
  }
  KV_INLINE static Vector UpperByte(Vector red, Vector green) {
    return And(Select(Set8(0x7C), ShiftRight16<6>(green), ShiftRight16<1>(red)), Set8(0x7F));
  }
};
struct Dib16Word {
  KV_INLINE static Vector LowerByte(Vector green, Vector blue) {
    return Select(Set8(0xE0), ShiftRight16<3>(blue), ShiftLeft16<3>(green));
  }
  KV_INLINE static Vector UpperByte(Vector red, Vector green) {
    return Select(Set8(0xF8), ShiftRight16<5>(green), red);
  }
};

template <class Word, PackedOrder order>
void ConvertToWords(YuvToRgb::Args& args) {
  const Converter<order> converter(args.matrix);
  Walk<YuvToDibWords::Streams, width / 4>(
      args, [&converter](const std::uint8_t* source, std::uint8_t* destination) {
        const RgbLanes first = converter.Convert(Load(source));
        const RgbLanes second = converter.Convert(Load(source + width));
        // Packing clamps, and the order that it leaves is undone below.
        const Vector red = KV_SIMD(packus_epi16)(first.red, second.red);
        const Vector green = KV_SIMD(packus_epi16)(first.green, second.green);
        const Vector blue = KV_SIMD(packus_epi16)(first.blue, second.blue);
        const Vector lower = Word::LowerByte(green, blue);
        const Vector upper = Word::UpperByte(red, green);
        Store(destination, KV_SIMD(unpacklo_epi8)(lower, upper));
        Store(destination + width, KV_SIMD(unpackhi_epi8)(lower, upper));
      });
}

#if KV_WIDE_LEVEL >= 3

/// Where the bytes of 64 pixels go: 192 bytes of blue, green and red in turn, in three registers.
struct Places {
  alignas(64) std::uint8_t blueGreen[3][64];
  alignas(64) std::uint8_t red[3][64];
  std::uint64_t isRed[3];
};
constexpr Places places = [] {
  Places made{};
  for (int byte = 0; byte < 192; ++byte) {
    const int pixel = byte / 3;
    // A pack leaves eight pixels of its first and eight of its second register in every lane.
    const int packed = pixel % 32 / 8 * 16 + pixel / 32 * 8 + pixel % 8;
    made.blueGreen[byte / 64][byte % 64] = static_cast<std::uint8_t>(packed + (byte % 3 == 1 ? 64 : 0));
    made.red[byte / 64][byte % 64] = static_cast<std::uint8_t>(packed);
    if (byte % 3 == 2) made.isRed[byte / 64] |= std::uint64_t{1} << (byte % 64);
  }
  return made;
}();

constexpr int groupsPerStep24 = 8;

template <PackedOrder order>
void ConvertStep24(const Converter<order>& converter, const std::uint8_t* source, std::uint8_t* destination) {
  const RgbLanes first = converter.Convert(Load(source));
  const RgbLanes second = converter.Convert(Load(source + width));
  const Vector blue = _mm512_packus_epi16(first.blue, second.blue);
  const Vector green = _mm512_packus_epi16(first.green, second.green);
  const Vector red = _mm512_packus_epi16(first.red, second.red);
  for (int part = 0; part < 3; ++part) {
    const Vector blueGreen = _mm512_permutex2var_epi8(blue, Load(places.blueGreen[part]), green);
    Store(destination + part * width,
          _mm512_mask_permutexvar_epi8(blueGreen, places.isRed[part], Load(places.red[part]), red));
  }
}

#elif KV_NEON

constexpr int groupsPerStep24 = width / 8;

template <PackedOrder order>
KV_INLINE void ConvertStep24(const Converter<order>& converter, const std::uint8_t* source,
                             std::uint8_t* destination) {
  const RgbLanes first = converter.Convert(Load(source));
  const RgbLanes second = converter.Convert(Load(source + width));
  vst3q_u8(destination,
           {{Lanes8(Narrow16To8(first.blue, second.blue)), Lanes8(Narrow16To8(first.green, second.green)),
             Lanes8(Narrow16To8(first.red, second.red))}});
}

#else

constexpr int groupsPerStep24 = width / 16;

/// The three bytes of four 32-bit pixels, packed in every lane and followed by four zeros.
KV_INLINE Vector CloseUp(Vector pixels) {
#if KV_WIDE_LEVEL >= 1
  return KV_SIMD(shuffle_epi8)(
      pixels, RepeatInLanes(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1)));
#else
  const Vector sixes = Or(And(pixels, _mm_set1_epi64x(0x0000000000FFFFFF)),
                          And(ShiftRight64<8>(pixels), _mm_set1_epi64x(0x0000FFFFFF000000)));
  return Or(_mm_move_epi64(sixes), _mm_srli_si128(_mm_slli_si128(_mm_srli_si128(sixes, 8), 8), 2));
#endif
}

/// 24 bytes: a lane of `front` and the lower half of one of `back`.
KV_INLINE void StoreLane(std::uint8_t* destination, __m128i front, __m128i back) {
  Store128(destination, front);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(destination + 16), back);
}

template <PackedOrder order>
KV_INLINE void ConvertStep24(const Converter<order>& converter, const std::uint8_t* source,
                             std::uint8_t* destination) {
  const RgbLanes rgb = converter.Convert(Load(source));
  const Vector blueGreen = Or(Clamp16(rgb.blue), ShiftLeft16<8>(Clamp16(rgb.green)));
  const Vector red = Clamp16(rgb.red);
  // Eight pixels a lane: four and four.
  const Vector lower = CloseUp(KV_SIMD(unpacklo_epi16)(blueGreen, red));
  const Vector upper = CloseUp(KV_SIMD(unpackhi_epi16)(blueGreen, red));
#if KV_WIDE_LEVEL >= 2
  const Vector front = Or(lower, _mm512_bslli_epi128(upper, 12));
  const Vector back = _mm512_bsrli_epi128(upper, 4);
  StoreLane(destination, _mm512_castsi512_si128(front), _mm512_castsi512_si128(back));
  StoreLane(destination + 24, _mm512_extracti32x4_epi32(front, 1), _mm512_extracti32x4_epi32(back, 1));
  StoreLane(destination + 48, _mm512_extracti32x4_epi32(front, 2), _mm512_extracti32x4_epi32(back, 2));
  StoreLane(destination + 72, _mm512_extracti32x4_epi32(front, 3), _mm512_extracti32x4_epi32(back, 3));
#elif KV_WIDE_LEVEL == 1
  const Vector front = Or(lower, _mm256_slli_si256(upper, 12));
  const Vector back = _mm256_srli_si256(upper, 4);
  StoreLane(destination, _mm256_castsi256_si128(front), _mm256_castsi256_si128(back));
  StoreLane(destination + 24, _mm256_extracti128_si256(front, 1), _mm256_extracti128_si256(back, 1));
#else
  StoreLane(destination, Or(lower, _mm_slli_si128(upper, 12)), _mm_srli_si128(upper, 4));
#endif
}

#endif

template <PackedOrder order>
void ConvertTo24(YuvToRgb::Args& args) {
  const Converter<order> converter(args.matrix);
  Walk<Yuv422ToDib24::Streams, groupsPerStep24>(
      args, [&converter](const std::uint8_t* source, std::uint8_t* destination) {
        ConvertStep24(converter, source, destination);
      });
}

}  // namespace

template <>
void Yuv422ToDib15::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { ConvertToWords<Dib15Word, order>(args); });
}

template <>
void Yuv422ToDib16::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { ConvertToWords<Dib16Word, order>(args); });
}

template <>
void Yuv422ToDib24::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { ConvertTo24<order>(args); });
}

}  // namespace kv_img::copy
