#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "check/models/color_formula.h"
#include "image/image.h"

/// The plain model of colour conversion: the integer rule, written from the formula.
namespace kv_model::color {

using kv_img::ChromaPosition;
using kv_img::ChromaResampling;
using kv_img::ColorConversionParameters;

inline int Clamp255(long long value) {
  return value < 0 ? 0 : value > 255 ? 255 : static_cast<int>(value);
}
inline long long FloorDiv(long long a, long long b) {
  return a >= 0 ? a / b : -((-a + b - 1) / b);
}
/// Nearest integer, halves up, clamped.
inline int Nearest(long long numerator, long long denominator) {
  return Clamp255(FloorDiv(2 * numerator + denominator, 2 * denominator));
}
inline long long Units(double value, double unitsPerOne) {
  return std::llround(value * unitsPerOne);
}

/// A row of samples; indices outside repeat the border samples.
template <class Sample>
auto At(int count, Sample sample) {
  return [=](int index) { return sample(std::clamp(index, 0, count - 1)); };
}

/// Four times the chroma at pixel x, from a function of pairs.
template <class Pairs>
long long ChromaAtPixel(const YuvColors& colors, ChromaResampling resample, int x, Pairs pairs) {
  const int own = x / 2;
  if (resample == ChromaResampling::Nearest) return 4 * pairs(own);
  if (colors.chroma == ChromaPosition::Left)
    return x % 2 == 0 ? 4 * pairs(own) : 2 * pairs(own) + 2 * pairs(own + 1);
  return 3 * pairs(own) + pairs(x % 2 == 0 ? own - 1 : own + 1);
}

struct RgbTriple {
  int red;
  int green;
  int blue;
};

/// The integer rule, to RGB; chroma is four times its value.
inline RgbTriple DecodeInIntegers(const YuvColors& colors, int y, long long cb4, long long cr4) {
  const Triple grey = DecodeExactly(colors, Black(colors.range) + 1, 128, 128);
  const Triple ofCb = DecodeExactly(colors, Black(colors.range), 129, 128);
  const Triple ofCr = DecodeExactly(colors, Black(colors.range), 128, 129);
  const long long l = Units(grey.a, 16384) * 4 * (y - static_cast<int>(Black(colors.range)));
  const long long u = cb4 - 512;
  const long long v = cr4 - 512;
  return {Nearest(l + Units(ofCr.a, 16384) * v, 65536),
          Nearest(l + Units(ofCb.b, 16384) * u + Units(ofCr.b, 16384) * v, 65536),
          Nearest(l + Units(ofCb.c, 8192) * 2 * u, 65536)};
}

/// Three weights in units of 1/32768 whose sum is given: what rounding to the nearest leaves over goes, one
/// unit at a time, where the rounded weight is furthest off.
struct ThreeWeights {
  long long w[3];
  ThreeWeights(const double (&exact)[3], long long sum) {
    long long total = 0;
    for (int i = 0; i < 3; ++i) total += w[i] = Units(exact[i], 32768);
    while (total != sum) {
      const int step = total < sum ? 1 : -1;
      int best = 0;
      for (int i = 1; i < 3; ++i) {
        if (step * (exact[i] * 32768 - static_cast<double>(w[i])) >
            step * (exact[best] * 32768 - static_cast<double>(w[best]))) {
          best = i;
        }
      }
      w[best] += step;
      total += step;
    }
  }
  long long Of(const long long (&rgb)[3]) const { return w[0] * rgb[0] + w[1] * rgb[1] + w[2] * rgb[2]; }
};

struct YuvTriple {
  int y;
  int cb;
  int cr;
};

/// The integer rule, to YUV; `fourfold` is four times the colours that chroma is made of.
inline YuvTriple EncodeInIntegers(const YuvColors& colors, const long long (&pixel)[3],
                                  const long long (&fourfold)[3]) {
  const Triple none = EncodeExactly(colors, 0, 0, 0);
  const Triple red = EncodeExactly(colors, 1, 0, 0);
  const Triple green = EncodeExactly(colors, 0, 1, 0);
  const Triple blue = EncodeExactly(colors, 0, 0, 1);
  const ThreeWeights luma({red.a - none.a, green.a - none.a, blue.a - none.a},
                          Units(LumaSpan(colors.range) / 255, 32768));
  const ThreeWeights cb({red.b - 128, green.b - 128, blue.b - 128}, 0);
  const ThreeWeights cr({red.c - 128, green.c - 128, blue.c - 128}, 0);
  return {Nearest(luma.Of(pixel) + 32768LL * static_cast<int>(Black(colors.range)), 32768),
          Nearest(cb.Of(fourfold) + 131072LL * 128, 131072),
          Nearest(cr.Of(fourfold) + 131072LL * 128, 131072)};
}

/// The weights between YUV and YUV, in units of 1/16384.
struct Recoding {
  long long luma, cbToLuma, crToLuma, cbToCb, crToCb, cbToCr, crToCr;
  Recoding(const YuvColors& from, const YuvColors& to) {
    const double black = Black(from.range);
    const Triple zero = RecodeExactly(from, to, black, 128, 128);
    const Triple y = RecodeExactly(from, to, black + 1, 128, 128);
    const Triple u = RecodeExactly(from, to, black, 129, 128);
    const Triple v = RecodeExactly(from, to, black, 128, 129);
    luma = Units(y.a - zero.a, 16384);
    cbToLuma = Units(u.a - zero.a, 16384);
    crToLuma = Units(v.a - zero.a, 16384);
    cbToCb = Units(u.b - zero.b, 16384);
    crToCb = Units(v.b - zero.b, 16384);
    cbToCr = Units(u.c - zero.c, 16384);
    crToCr = Units(v.c - zero.c, 16384);
  }
};

// Access to samples by place.

template <class ImageType>
struct PackedRow {
  std::uint8_t* row;
  bool chromaFirst;
  PackedRow(const ImageType& image, int y)
      : row(image.GetPixelBuffer().rows[y]), chromaFirst(image.GetPixelLayout() == 4097) {}
  std::uint8_t& Luma(int x) const { return row[2 * x + (chromaFirst ? 1 : 0)]; }
  std::uint8_t& Cb(int pair) const { return row[4 * pair + (chromaFirst ? 0 : 1)]; }
  std::uint8_t& Cr(int pair) const { return row[4 * pair + (chromaFirst ? 2 : 3)]; }
};

template <class ImageType>
struct BitmapRow {
  static constexpr int bytes = std::is_same_v<ImageType, kv_img::Image<kv_img::PixelDIB24>> ? 3 : 4;
  std::uint8_t* row;
  bool redFirst;
  BitmapRow(const ImageType& image, int y)
      : row(image.GetPixelBuffer().rows[y]), redFirst((image.GetPixelLayout() & 0xF0) != 0) {}
  std::uint8_t& Red(int x) const { return row[bytes * x + (redFirst ? 0 : 2)]; }
  std::uint8_t& Green(int x) const { return row[bytes * x + 1]; }
  std::uint8_t& Blue(int x) const { return row[bytes * x + (redFirst ? 2 : 0)]; }
  std::uint8_t& Alpha(int x) const { return row[bytes * x + 3]; }
};

template <class ImageType>
inline constexpr bool isPacked = std::is_same_v<ImageType, kv_img::Image<kv_img::PixelYUV422>> ||
                                 std::is_same_v<ImageType, kv_img::Image<kv_img::PixelYUVA422>>;
template <class ImageType>
inline constexpr bool withAlpha = std::is_same_v<ImageType, kv_img::Image<kv_img::PixelYUVA422>>;
template <class ImageType>
inline constexpr bool isGrey = std::is_same_v<ImageType, kv_img::Image<kv_img::PixelNoColor<unsigned char>>>;

inline std::uint8_t Byte(int value) {
  return static_cast<std::uint8_t>(value);
}

/// One row by the integer rule.
template <class In, class Out>
void ConvertRow(const In& source, Out& destination, const ColorConversionParameters& p, int row) {
  const int width = static_cast<int>(source.GetWidth());
  const int height = static_cast<int>(source.GetHeight());
  const int pairs = (width + 1) / 2;
  if constexpr (isPacked<In>) {
    const PackedRow<In> from(source, row);
    const auto cbs = At(pairs, [&](int pair) { return static_cast<long long>(from.Cb(pair)); });
    const auto crs = At(pairs, [&](int pair) { return static_cast<long long>(from.Cr(pair)); });
    if constexpr (isGrey<Out>) {
      for (int x = 0; x < width; ++x) {
        destination.GetPixelBuffer().rows[row][x] =
            Byte(DecodeInIntegers(p.yuv, from.Luma(x), 512, 512).green);
      }
    } else if constexpr (isPacked<Out>) {
      const PackedRow<Out> to(destination, row);
      const Recoding weights(p.yuv, p.destination);
      const long long blackIn = static_cast<long long>(Black(p.yuv.range));
      const long long blackOut = static_cast<long long>(Black(p.destination.range));
      for (int x = 0; x < width; ++x) {
        const long long u = ChromaAtPixel(p.yuv, p.resample, x, cbs) - 512;
        const long long v = ChromaAtPixel(p.yuv, p.resample, x, crs) - 512;
        to.Luma(x) = Byte(Nearest(weights.luma * 4 * (from.Luma(x) - blackIn) + weights.cbToLuma * u +
                                      weights.crToLuma * v + 65536 * blackOut,
                                  65536));
      }
      if (width % 2 != 0) to.Luma(width) = to.Luma(width - 1);
      for (int pair = 0; pair < pairs; ++pair) {
        const auto moved = [&](auto samples) -> long long {
          if (p.resample == ChromaResampling::Nearest || p.yuv.chroma == p.destination.chroma)
            return 4 * samples(pair);
          return 3 * samples(pair) + samples(p.yuv.chroma == ChromaPosition::Left ? pair + 1 : pair - 1);
        };
        const long long u = moved(cbs) - 512;
        const long long v = moved(crs) - 512;
        to.Cb(pair) = Byte(Nearest(weights.cbToCb * u + weights.crToCb * v + 65536 * 128, 65536));
        to.Cr(pair) = Byte(Nearest(weights.cbToCr * u + weights.crToCr * v + 65536 * 128, 65536));
      }
    } else {
      const BitmapRow<Out> to(destination, row);
      for (int x = 0; x < width; ++x) {
        const RgbTriple rgb = DecodeInIntegers(p.yuv, from.Luma(x), ChromaAtPixel(p.yuv, p.resample, x, cbs),
                                               ChromaAtPixel(p.yuv, p.resample, x, crs));
        to.Red(x) = Byte(rgb.red);
        to.Green(x) = Byte(rgb.green);
        to.Blue(x) = Byte(rgb.blue);
        if constexpr (withAlpha<In>) {
          to.Alpha(x) = source.GetPixelBuffer().rows[height + row][x];
        } else if constexpr (BitmapRow<Out>::bytes == 4) {
          to.Alpha(x) = 255;
        }
      }
    }
  } else if constexpr (isGrey<In>) {
    const PackedRow<Out> to(destination, row);
    const std::uint8_t* from = source.GetPixelBuffer().rows[row];
    for (int x = 0; x < 2 * pairs; ++x) {
      const long long grey = from[std::min(x, width - 1)];
      to.Luma(x) = Byte(EncodeInIntegers(p.yuv, {grey, grey, grey}, {0, 0, 0}).y);
    }
    for (int pair = 0; pair < pairs; ++pair) to.Cb(pair) = to.Cr(pair) = 128;
  } else {
    const BitmapRow<In> from(source, row);
    const PackedRow<Out> to(destination, row);
    const auto colour = At(width, [&](int x) { return RgbTriple{from.Red(x), from.Green(x), from.Blue(x)}; });
    for (int x = 0; x < 2 * pairs; ++x) {
      const RgbTriple before = colour(x - 1);
      const RgbTriple own = colour(x);
      const RgbTriple next = colour(x + 1);
      const auto mixed = [&](int RgbTriple::*c) -> long long {
        if (p.yuv.chroma == ChromaPosition::Centre) return 2 * (own.*c + next.*c);
        return p.resample == ChromaResampling::Nearest ? 4 * own.*c : before.*c + 2 * own.*c + next.*c;
      };
      const YuvTriple yuv =
          EncodeInIntegers(p.yuv, {own.red, own.green, own.blue},
                           {mixed(&RgbTriple::red), mixed(&RgbTriple::green), mixed(&RgbTriple::blue)});
      to.Luma(x) = Byte(yuv.y);
      if (x % 2 == 0) {
        to.Cb(x / 2) = Byte(yuv.cb);
        to.Cr(x / 2) = Byte(yuv.cr);
      }
      if constexpr (withAlpha<Out>) {
        if (x < width) destination.GetPixelBuffer().rows[height + row][x] = from.Alpha(x);
      }
    }
  }
}

/// The whole image by the integer rule.
template <class In, class Out>
void ConvertColors(const In& source, Out& destination, const ColorConversionParameters& parameters) {
  for (int row = 0; row < static_cast<int>(source.GetHeight()); ++row)
    ConvertRow(source, destination, parameters, row);
}

}  // namespace kv_model::color
