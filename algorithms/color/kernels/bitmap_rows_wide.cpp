#include "algorithms/color/kernels/bitmap_rows.h"
#include "algorithms/simd/bitmap_pixels.h"

namespace kv_img::color {
namespace {

constexpr std::uint32_t opaque = 0xFF000000;

/// The first and the third byte of every pixel in each other's place.
KV_INLINE Vector SwapOuter(Vector pixels) {
  const Vector outer = And(pixels, Set32(0x00FF00FF));
  return Or(And(pixels, Set32(0xFF00FF00)), Or(ShiftLeft32<16>(outer), ShiftRight32<16>(outer)));
}

template <int bytesIn, int bytesOut, bool isSwapped>
void RearrangeSwapped(RearrangeArgs& args) {
  const Vector alpha = Set32(bytesIn == 3 || args.isOpaque ? opaque : 0);
  const auto one = [&](Vector pixels) {
    if constexpr (isSwapped) pixels = SwapOuter(pixels);
    return bytesOut == 3 ? pixels : Or(pixels, alpha);
  };
  Walk<typename Rearrange<bytesIn, bytesOut>::Streams, width / 2>(
      args, [&](const std::uint8_t* source, std::uint8_t* destination) {
        const TwoVectors pixels = ReadPixels<bytesIn>(source);
        StorePixels<bytesOut>(destination, {one(pixels.first), one(pixels.second)});
      });
}

template <int bytesIn, int bytesOut>
void RearrangePixels(RearrangeArgs& args) {
  return args.isSwapped ? RearrangeSwapped<bytesIn, bytesOut, true>(args)
                        : RearrangeSwapped<bytesIn, bytesOut, false>(args);
}

template <int bytesIn>
void GreyOfPixels(GreyOfBitmapArgs& args) {
  using Streams = StreamList<In<&GreyOfBitmapArgs::source, bytesIn>, Out<&GreyOfBitmapArgs::destination, 1>>;
  const GreyWeights& weights = args.weights;
  const Vector outer = SetPair16(weights.first, weights.third);
  // The middle weight may need 16 bits: its halves are added.
  const Vector middle = SetPair16(weights.second / 2, weights.second - weights.second / 2);
  const Vector half = Set32(32768);
  const auto grey = [&](Vector pixels) {
    const Vector second = And(ShiftRight32<8>(pixels), Set32(0xFF));
    const Vector sum = MultiplyAddTo32(half, And(pixels, Set32(0x00FF00FF)), outer);
    return ShiftRight32<16>(MultiplyAddTo32(sum, Or(second, ShiftLeft32<16>(second)), middle));
  };
  const auto greys = [&](const std::uint8_t* source) {
    const TwoVectors pixels = ReadPixels<bytesIn>(source);
    return Narrow32To16(grey(pixels.first), grey(pixels.second));
  };
  Walk<Streams, width>(args, [&](const std::uint8_t* source, std::uint8_t* destination) {
    Store(destination, Narrow16To8(greys(source), greys(source + width / 2 * bytesIn)));
  });
}

template <int bytesOut>
void PixelsOfGrey(BitmapOfGreyArgs& args) {
  using Streams = StreamList<In<&BitmapOfGreyArgs::source, 1>, Out<&BitmapOfGreyArgs::destination, bytesOut>>;
  const auto pixels = [](const std::uint8_t* source) {
    const Vector grey = Widen8To32(source);
    const Vector two = Or(grey, ShiftLeft32<8>(grey));
    return Or(Or(two, ShiftLeft32<16>(grey)), Set32(opaque));
  };
  Walk<Streams, width / 2>(args, [&](const std::uint8_t* source, std::uint8_t* destination) {
    StorePixels<bytesOut>(destination, {pixels(source), pixels(source + width / 4)});
  });
}

template <bool isSixGreen>
void PixelsOfWords(WordsArgs& args) {
  const auto pixels = [](const std::uint8_t* source) {
    const Vector word = Widen16To32(source);
    const Vector blue = ShiftLeft32<3>(And(word, Set32(0x001F)));
    if constexpr (isSixGreen) {
      const Vector green = ShiftLeft32<5>(And(word, Set32(0x07E0)));
      const Vector upper = Or(Or(blue, green), ShiftLeft32<8>(And(word, Set32(0xF800))));
      const Vector lower =
          Or(And(ShiftRight32<5>(upper), Set32(0x070007)), And(ShiftRight32<6>(upper), Set32(0x0300)));
      return Or(Or(upper, lower), Set32(opaque));
    } else {
      const Vector green = ShiftLeft32<6>(And(word, Set32(0x03E0)));
      const Vector upper = Or(Or(blue, green), ShiftLeft32<9>(And(word, Set32(0x7C00))));
      return Or(Or(upper, And(ShiftRight32<5>(upper), Set32(0x070707))), Set32(opaque));
    }
  };
  Walk<WordsTo32::Streams, width / 4>(args, [&](const std::uint8_t* source, std::uint8_t* destination) {
    Store(destination, pixels(source));
  });
}

template <bool isSixGreen>
void WordsOfPixels(WordsArgs& args) {
  const auto words = [](const std::uint8_t* source) {
    const Vector pixels = Load(source);
    const Vector blue = And(ShiftRight32<3>(pixels), Set32(0x001F));
    const Vector green = isSixGreen ? And(ShiftRight32<5>(pixels), Set32(0x07E0))
                                    : And(ShiftRight32<6>(pixels), Set32(0x03E0));
    const Vector red = isSixGreen ? And(ShiftRight32<8>(pixels), Set32(0xF800))
                                  : And(ShiftRight32<9>(pixels), Set32(0x7C00));
    // Signed, so that narrowing leaves them as they are.
    return ShiftRightSigned32<16>(ShiftLeft32<16>(Or(Or(blue, green), red)));
  };
  Walk<WordsFrom32::Streams, width / 2>(args, [&](const std::uint8_t* source, std::uint8_t* destination) {
    Store(destination, Narrow32To16(words(source), words(source + width)));
  });
}

}  // namespace

template <>
void Rearrange24To24::Run<Wide<level>>(Args& args) noexcept {
  RearrangePixels<3, 3>(args);
}

template <>
void Rearrange24To32::Run<Wide<level>>(Args& args) noexcept {
  RearrangePixels<3, 4>(args);
}

template <>
void Rearrange32To24::Run<Wide<level>>(Args& args) noexcept {
  RearrangePixels<4, 3>(args);
}

template <>
void Rearrange32To32::Run<Wide<level>>(Args& args) noexcept {
  RearrangePixels<4, 4>(args);
}

template <>
void GreyOf24::Run<Wide<level>>(Args& args) noexcept {
  GreyOfPixels<3>(args);
}

template <>
void GreyOf32::Run<Wide<level>>(Args& args) noexcept {
  GreyOfPixels<4>(args);
}

template <>
void GreyTo24::Run<Wide<level>>(Args& args) noexcept {
  PixelsOfGrey<3>(args);
}

template <>
void GreyTo32::Run<Wide<level>>(Args& args) noexcept {
  PixelsOfGrey<4>(args);
}

template <>
void WordsTo32::Run<Wide<level>>(Args& args) noexcept {
  return args.isSixGreen ? PixelsOfWords<true>(args) : PixelsOfWords<false>(args);
}

template <>
void WordsFrom32::Run<Wide<level>>(Args& args) noexcept {
  return args.isSixGreen ? WordsOfPixels<true>(args) : WordsOfPixels<false>(args);
}

}  // namespace kv_img::color
