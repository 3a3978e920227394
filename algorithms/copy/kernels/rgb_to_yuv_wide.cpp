#include "algorithms/copy/kernels/rgb_to_yuv.h"
#include "algorithms/packed422/kernels/lanes_wide.h"
#include "algorithms/simd/bitmap_pixels.h"

namespace kv_img::copy {
namespace {

#if KV_WIDE_LEVEL >= 3
/// Where the bytes of a register come from, among those of two; and which of them are zeros instead.
struct BytePlaces {
  alignas(64) std::uint8_t from[64] = {};
  std::uint64_t kept = 0;

  constexpr void Put(int byte, int place) {
    from[byte] = static_cast<std::uint8_t>(place);
    kept |= std::uint64_t{1} << byte;
  }
};
KV_INLINE Vector PickBytes(const BytePlaces& places, Vector first, Vector second) {
  return _mm512_maskz_permutex2var_epi8(places.kept, first, Load(places.from), second);
}

/// The fourth bytes of the 32-bit lanes of two registers, in order.
constexpr BytePlaces fourthBytes = [] {
  BytePlaces places;
  for (int lane = 0; lane < 32; ++lane) places.Put(lane, 4 * lane + 3);
  return places;
}();
/// The third bytes of the 32-bit lanes of two registers in turn, at every second byte from `start` on. The
/// lanes are in the order that shuffling two registers leaves: two of the one, two of the other.
template <int start>
constexpr BytePlaces thirdBytesInTurn = [] {
  BytePlaces places;
  for (int pair = 0; pair < 16; ++pair) {
    const int lane = pair % 8 / 2 * 4 + pair / 8 * 2 + pair % 2;
    places.Put(4 * pair + start, 4 * lane + 2);
    places.Put(4 * pair + start + 2, 64 + 4 * lane + 2);
  }
  return places;
}();
#endif

#if KV_NEON

// Loads take pixels apart: a register a component, eight pixels each.
KV_INLINE uint8x8x3_t ReadStep24(const std::uint8_t* source) {
  return vld3_u8(source);
}
KV_INLINE uint8x8x4_t ReadStep32(const std::uint8_t* source) {
  return vld4_u8(source);
}
KV_INLINE Vector FourthBytes(const uint8x8x4_t& pixels) {
  return From(vcombine_u8(pixels.val[3], pixels.val[3]));
}

template <PackedOrder order>
class Converter {
 public:
  explicit Converter(const RgbToYuvMatrix& matrix) : matrix_(matrix) {}

  /// Packed 4:2:2 of eight pixels.
  template <class Planes>
  KV_INLINE Vector Convert(const Planes& pixels) const {
    const int16x8_t blue = vreinterpretq_s16_u16(vmovl_u8(pixels.val[0]));
    const int16x8_t green = vreinterpretq_s16_u16(vmovl_u8(pixels.val[1]));
    const int16x8_t red = vreinterpretq_s16_u16(vmovl_u8(pixels.val[2]));
    const auto whole = [&](const RgbWeights& weights) {
      const auto wb = static_cast<std::int16_t>(weights.blue);
      const auto wg = static_cast<std::int16_t>(weights.green);
      const auto wr = static_cast<std::int16_t>(weights.red);
      int32x4_t lower = vmull_n_s16(vget_low_s16(blue), wb);
      int32x4_t upper = vmull_high_n_s16(blue, wb);
      lower = vmlal_n_s16(lower, vget_low_s16(green), wg);
      upper = vmlal_high_n_s16(upper, green, wg);
      lower = vmlal_n_s16(lower, vget_low_s16(red), wr);
      upper = vmlal_high_n_s16(upper, red, wr);
      return vshrn_high_n_s32(vshrn_n_s32(lower, 15), upper, 15);
    };
    // Offsets are whole, so that they may be added to what is left of the sums.
    const int16x8_t luma =
        vaddq_s16(whole(matrix_.luma), vdupq_n_s16(static_cast<std::int16_t>(matrix_.lumaOffset)));
    const int16x8_t cb = whole(matrix_.cb);
    const int16x8_t cr = whole(matrix_.cr);
    const int16x8_t means = vhaddq_s16(vtrn1q_s16(cb, cr), vtrn2q_s16(cb, cr));
    const int16x8_t chroma = vaddq_s16(means, vdupq_n_s16(static_cast<std::int16_t>(matrix_.chromaOffset)));
    return JoinLanes<order>(From(luma), From(chroma));
  }

 private:
  RgbToYuvMatrix matrix_;
};

#else

KV_INLINE TwoVectors ReadStep24(const std::uint8_t* source) {
  return Read24(source);
}
KV_INLINE TwoVectors ReadStep32(const std::uint8_t* source) {
  return Read32(source);
}

struct Pixels {
  Vector blueRed;
  Vector green;

  explicit Pixels(Vector pixels) : blueRed(LowerBytes16(pixels)), green(UpperBytes16(pixels)) {}
};

/// Weights of one component for the 16-bit lanes (blue, red) and (green, anything), and its offset.
struct Component {
  Vector blueRed;
  Vector green;
  Vector offset;

  Component(const RgbWeights& weights, std::uint32_t wholeOffset)
      : blueRed(SetPair16(weights.blue, weights.red)),
        green(SetPair16(weights.green, 0)),
        offset(Set32(wholeOffset << 15)) {}

  /// Sums in units of 1/32768: as nothing leaves 0 to 255, eight integer bits and fifteen of fraction.
  Vector Of(const Pixels& pixels) const {
    return MultiplyAddTo32(MultiplyAddTo32(offset, pixels.blueRed, blueRed), pixels.green, green);
  }
};

/// Moves the eight bits above a fraction to a byte of each 32-bit lane; the other bytes are zeros. The
/// bits above those eight must be zero.
template <int byte, int fraction>
Vector WholeAt(Vector sums) {
  constexpr int up = 8 * byte - fraction;
  if constexpr (byte == 0) return ShiftRight32<-up>(sums);
  if constexpr (up > 0) sums = ShiftLeft32<up>(sums);
  if constexpr (up < 0) sums = ShiftRight32<-up>(sums);
  return And(sums, Set32(std::uint32_t{0xFF} << 8 * byte));
}

template <PackedOrder order>
class Converter {
 public:
  explicit Converter(const RgbToYuvMatrix& matrix)
      : luma_(matrix.luma, matrix.lumaOffset),
        cb_(matrix.cb, matrix.chromaOffset),
        cr_(matrix.cr, matrix.chromaOffset) {}

  /// Packed 4:2:2 of two registers of pixels.
  Vector Convert(const TwoVectors& pixels) const {
    const TwoVectors apart = EvenAndOdd(pixels);
    const Pixels even(apart.first);
    const Pixels odd(apart.second);
    // The sum of two whole parts is their mean with one more bit of fraction.
    const auto mean = [&](const Component& chroma) {
      const Vector whole = Set32(0xFFFF8000);
      return Add32(And(chroma.Of(even), whole), And(chroma.Of(odd), whole));
    };
    return Compose(luma_.Of(even), luma_.Of(odd), mean(cb_), mean(cr_));
  }

 private:
  static constexpr int lumaByte = LumaByte(order);
  static constexpr int chromaByte = ChromaByte(order);

  static Vector Compose(Vector evenLuma, Vector oddLuma, Vector cb, Vector cr) {
#if KV_WIDE_LEVEL >= 3
    // Twice a luma sum has its whole part in the third byte, as means have.
    return Or(PickBytes(thirdBytesInTurn<lumaByte>, Add32(evenLuma, evenLuma), Add32(oddLuma, oddLuma)),
              PickBytes(thirdBytesInTurn<chromaByte>, cb, cr));
#else
    return OrderOfPack(Or(Or(WholeAt<lumaByte, 15>(evenLuma), WholeAt<lumaByte + 2, 15>(oddLuma)),
                          Or(WholeAt<chromaByte, 16>(cb), WholeAt<chromaByte + 2, 16>(cr))));
#endif
  }

  Component luma_;
  Component cb_;
  Component cr_;
};

/// The fourth byte of every pixel in the lower half.
Vector FourthBytes(const TwoVectors& pixels) {
#if KV_WIDE_LEVEL >= 3
  return PickBytes(fourthBytes, pixels.first, pixels.second);
#else
  const Vector words = Narrow32To16(ShiftRight32<24>(pixels.first), ShiftRight32<24>(pixels.second));
  return Narrow16To8(words, words);
#endif
}

#endif

template <PackedOrder order>
void Convert24(RgbToYuv::Args& args) {
  const Converter<order> converter(args.matrix);
  Walk<Dib24ToYuv422::Streams, width / 16>(
      args, [&converter](const std::uint8_t* source, std::uint8_t* destination) {
        Store(destination, converter.Convert(ReadStep24(source)));
      });
}

template <PackedOrder order>
void Convert32(RgbToYuv::Args& args) {
  const Converter<order> converter(args.matrix);
  Walk<Dib32ToYuv422::Streams, width / 8>(
      args, [&converter](const std::uint8_t* source, std::uint8_t* destination) {
        Store(destination, converter.Convert(ReadStep32(source)));
      });
}

template <PackedOrder order>
void Convert32WithAlpha(Dib32ToYuva422::Args& args) {
  const Converter<order> converter(args.matrix);
  Walk<Dib32ToYuva422::Streams, width / 8>(
      args, [&converter](const std::uint8_t* source, std::uint8_t* destination, std::uint8_t* alpha) {
        const auto pixels = ReadStep32(source);
        Store(destination, converter.Convert(pixels));
        StoreLowerHalf(alpha, FourthBytes(pixels));
      });
}

}  // namespace

template <>
void Dib24ToYuv422::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { Convert24<order>(args); });
}

template <>
void Dib32ToYuv422::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { Convert32<order>(args); });
}

template <>
void Dib32ToYuva422::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { Convert32WithAlpha<order>(args); });
}

}  // namespace kv_img::copy
