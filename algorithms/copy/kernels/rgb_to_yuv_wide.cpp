#include "algorithms/copy/kernels/rgb_to_yuv.h"
#include "algorithms/simd/wide.h"

namespace kv_img::copy::wide {
namespace {

/// Bitmap pixels as 32-bit lanes: blue, green, red and a byte that does not count.
struct TwoVectors {
  Vector first;
  Vector second;
};

/// Weights of one component for the 16-bit lanes (blue, red) and (green, anything).
struct LaneWeights {
  Vector blueRed;
  Vector green;

  explicit LaneWeights(const RgbWeights& weights)
      : blueRed(SetPair16(weights.blue, weights.red)), green(SetPair16(weights.green, 0)) {}
};

/// The weighted sums of a register of pixels, in units of 1/32768.
struct Sums {
  Vector blueRed;
  Vector green;

  explicit Sums(Vector pixels) : blueRed(LowerBytes16(pixels)), green(UpperBytes16(pixels)) {}

  Vector Of(const LaneWeights& weights) const {
    return MultiplyAddTo32(MultiplyAdd16(blueRed, weights.blueRed), green, weights.green);
  }
};

template <bool isLumaFirst>
class Converter {
 public:
  explicit Converter(const RgbToYuvMatrix& matrix)
      : luma_(matrix.luma),
        cb_(matrix.cb),
        cr_(matrix.cr),
        lumaOffset_(Set16(matrix.lumaOffset)),
        chromaOffset_(Set16(matrix.chromaOffset)) {}

  /// Packed 4:2:2 of two registers of pixels.
  Vector Convert(const TwoVectors& pixels) const {
    const Sums first(pixels.first);
    const Sums second(pixels.second);
    const Vector luma = Lower32Of64(LumaPairs(first), LumaPairs(second));
    const Vector chromaFirst = Chroma(first);
    const Vector chromaSecond = Chroma(second);
    const Vector chroma = ShiftRightSigned16<1>(
        Add16(Lower32Of64(chromaFirst, chromaSecond), Upper32Of64(chromaFirst, chromaSecond)));
    const Vector y = Min16(Add16(Max16(luma, Zero()), lumaOffset_), Set16(255));
    const Vector c = Clamp16(Add16(chroma, chromaOffset_));
    return isLumaFirst ? Or(y, ShiftLeft16<8>(c)) : Or(ShiftLeft16<8>(y), c);
  }

 private:
  /// The whole luma of both pixels of a pair in the lower half of every 64-bit lane.
  Vector LumaPairs(const Sums& sums) const {
    const Vector luma = ShiftRightSigned32<15>(sums.Of(luma_));
    return Select(Set32(0xFFFF0000), luma, ShiftRight64<16>(luma));
  }
  /// The whole Cb and Cr of every pixel as 16-bit lanes.
  Vector Chroma(const Sums& sums) const {
    return Select(Set32(0xFFFF0000), ShiftRight32<15>(sums.Of(cb_)), ShiftLeft32<1>(sums.Of(cr_)));
  }

  LaneWeights luma_;
  LaneWeights cb_;
  LaneWeights cr_;
  Vector lumaOffset_;
  Vector chromaOffset_;
};

#if KV_WIDE_LEVEL >= 3
/// Where the bytes of 16 pixels lie, from the first byte of 48, and from the seventeenth.
struct Apart {
  alignas(64) std::uint8_t fromStart[64];
  alignas(64) std::uint8_t fromEnd[64];
};
constexpr Apart apart = [] {
  Apart made{};
  for (int byte = 0; byte < 64; ++byte) {
    // What lands in the fourth byte does not count.
    const int from = byte / 4 * 3 + byte % 4 % 3;
    made.fromStart[byte] = static_cast<std::uint8_t>(from);
    made.fromEnd[byte] = static_cast<std::uint8_t>(from + 16);
  }
  return made;
}();
#endif

/// Two registers of pixels from the 24 * lanes bytes of a step, nothing beyond them read.
TwoVectors Read24(const std::uint8_t* source) {
#if KV_WIDE_LEVEL >= 3
  return {_mm512_permutexvar_epi8(Load(apart.fromStart), Load(source)),
          _mm512_permutexvar_epi8(Load(apart.fromEnd), Load(source + 32))};
#elif KV_WIDE_LEVEL >= 1
  // Four pixels, 12 bytes, to every lane; then their bytes apart.
  const Vector apart = RepeatInLanes(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
#if KV_WIDE_LEVEL >= 2
  const Vector fromStart = _mm512_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 9, 10, 11, 12);
  const Vector fromEnd = _mm512_setr_epi32(4, 5, 6, 7, 7, 8, 9, 10, 10, 11, 12, 13, 13, 14, 15, 15);
  const Vector first = _mm512_permutexvar_epi32(fromStart, Load(source));
  const Vector second = _mm512_permutexvar_epi32(fromEnd, Load(source + 32));
#else
  const Vector fromStart = _mm256_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6);
  const Vector fromEnd = _mm256_setr_epi32(2, 3, 4, 5, 5, 6, 7, 7);
  const Vector first = _mm256_permutevar8x32_epi32(Load(source), fromStart);
  const Vector second = _mm256_permutevar8x32_epi32(Load(source + 16), fromEnd);
#endif
  return {KV_SIMD(shuffle_epi8)(first, apart), KV_SIMD(shuffle_epi8)(second, apart)};
#else
  const auto spread = [](Vector twelveBytes) {
    const Vector pairs = _mm_unpacklo_epi64(twelveBytes, _mm_srli_si128(twelveBytes, 6));
    return Or(And(pairs, _mm_set1_epi64x(0x0000000000FFFFFF)),
              And(ShiftLeft64<8>(pairs), _mm_set1_epi64x(0x00FFFFFF00000000)));
  };
  return {spread(Load(source)), spread(_mm_srli_si128(Load(source + 8), 4))};
#endif
}

TwoVectors Read32(const std::uint8_t* source) {
  return {Load(source), Load(source + width)};
}

template <bool isLumaFirst>
void Convert24(RgbToYuvArgs& args) {
  const Converter<isLumaFirst> converter(args.matrix);
  Walk<width / 16>(
      args.groups,
      [&converter](const std::uint8_t* source, std::uint8_t* destination) {
        Store(destination, converter.Convert(Read24(source)));
      },
      In<24>{args.source}, Out<16>{args.destination});
}

template <bool isLumaFirst>
void Convert32(RgbToYuvArgs& args) {
  const Converter<isLumaFirst> converter(args.matrix);
  Walk<width / 8>(
      args.groups,
      [&converter](const std::uint8_t* source, std::uint8_t* destination) {
        Store(destination, converter.Convert(Read32(source)));
      },
      In<16>{args.source}, Out<8>{args.destination});
}

template <bool isLumaFirst>
void Convert32WithAlpha(RgbToYuvaArgs& args) {
  const Converter<isLumaFirst> converter(args.matrix);
  Walk<width / 8>(
      args.groups,
      [&converter](const std::uint8_t* source, std::uint8_t* destination, std::uint8_t* alpha) {
        const TwoVectors pixels = Read32(source);
        Store(destination, converter.Convert(pixels));
        const Vector words = Narrow32To16(ShiftRight32<24>(pixels.first), ShiftRight32<24>(pixels.second));
        StoreLowerHalf(alpha, Narrow16To8(words, words));
      },
      In<16>{args.source}, Out<8>{args.destination}, Out<4>{args.alpha});
}

}  // namespace

template <>
void Dib24ToYuv422<level>(RgbToYuvArgs& args) noexcept {
  args.order == PackedOrder::LumaFirst ? Convert24<true>(args) : Convert24<false>(args);
}

template <>
void Dib32ToYuv422<level>(RgbToYuvArgs& args) noexcept {
  args.order == PackedOrder::LumaFirst ? Convert32<true>(args) : Convert32<false>(args);
}

template <>
void Dib32ToYuva422<level>(RgbToYuvaArgs& args) noexcept {
  args.order == PackedOrder::LumaFirst ? Convert32WithAlpha<true>(args) : Convert32WithAlpha<false>(args);
}

}  // namespace kv_img::copy::wide
