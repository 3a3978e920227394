#pragma once

#include <cstdint>

#include "algorithms/color/kernels/weights.h"
#include "frame/interfaces/color_conversion.h"

// The integer weights of every matrix and range, from Kr and Kb.
namespace kv_img::color {

struct LumaWeights {
  double red;
  double blue;
  constexpr double Green() const { return 1.0 - red - blue; }
};

constexpr LumaWeights WeightsOf(ColorMatrix matrix) {
  switch (matrix) {
    case ColorMatrix::Bt709:
      return {0.2126, 0.0722};
    case ColorMatrix::Bt2020:
      return {0.2627, 0.0593};
    default:
      return {0.299, 0.114};
  }
}

/// Codes of a range: black's luma, and the spans of luma and chroma.
struct Codes {
  int black;
  double luma;
  double chroma;
};

constexpr Codes CodesOf(ColorRange range) {
  return range == ColorRange::Limited ? Codes{16, 219.0, 224.0} : Codes{0, 255.0, 255.0};
}

/// The nearest multiple of 1 / one, in such units; halves go away from zero.
constexpr std::int16_t Fixed(double value, int one) {
  const double scaled = value * one;
  return static_cast<std::int16_t>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
}

constexpr DecodingWeights DecodingOf(const YuvColors& colors) {
  const LumaWeights k = WeightsOf(colors.matrix);
  const Codes codes = CodesOf(colors.range);
  const double gain = 255.0 / codes.chroma;
  const double crToRed = 2.0 * (1.0 - k.red) * gain;
  const double cbToBlue = 2.0 * (1.0 - k.blue) * gain;
  return {.luma = Fixed(255.0 / codes.luma, 1 << 14),
          .crToRed = Fixed(crToRed, 1 << 14),
          .cbToGreen = Fixed(-cbToBlue * k.blue / k.Green(), 1 << 14),
          .crToGreen = Fixed(-crToRed * k.red / k.Green(), 1 << 14),
          .twoCbToBlue = Fixed(cbToBlue, 1 << 13),
          .black = static_cast<std::int16_t>(codes.black)};
}

/// Weights that sum to `sum` exactly: the one that rounding moved furthest takes the rest.
constexpr RgbSum Balanced(double red, double green, double blue, int sum) {
  const double exact[] = {red * 32768, green * 32768, blue * 32768};
  int rounded[3] = {};
  int rest = sum;
  for (int i = 0; i < 3; ++i) {
    rounded[i] = static_cast<int>(exact[i] < 0 ? exact[i] - 0.5 : exact[i] + 0.5);
    rest -= rounded[i];
  }
  for (; rest != 0; rest += rest > 0 ? -1 : 1) {
    int furthest = 0;
    for (int i = 1; i < 3; ++i) {
      const double moved = (exact[i] - rounded[i]) * rest;
      if (moved > (exact[furthest] - rounded[furthest]) * rest) furthest = i;
    }
    rounded[furthest] += rest > 0 ? 1 : -1;
  }
  return {static_cast<std::int16_t>(rounded[0]), static_cast<std::int16_t>(rounded[1]),
          static_cast<std::int16_t>(rounded[2])};
}

constexpr EncodingWeights EncodingOf(const YuvColors& colors) {
  const LumaWeights k = WeightsOf(colors.matrix);
  const Codes codes = CodesOf(colors.range);
  const double luma = codes.luma / 255.0;
  const double cb = codes.chroma / 255.0 / (2.0 * (1.0 - k.blue));
  const double cr = codes.chroma / 255.0 / (2.0 * (1.0 - k.red));
  const int white = static_cast<int>(luma * 32768 + 0.5);
  return {.luma = Balanced(k.red * luma, k.Green() * luma, k.blue * luma, white),
          .cb = Balanced(-k.red * cb, -k.Green() * cb, (1.0 - k.blue) * cb, 0),
          .cr = Balanced((1.0 - k.red) * cr, -k.Green() * cr, -k.blue * cr, 0),
          .black = static_cast<std::int16_t>(codes.black)};
}

constexpr RecodingWeights RecodingOf(const YuvColors& from, const YuvColors& to) {
  const LumaWeights k = WeightsOf(from.matrix);
  const LumaWeights l = WeightsOf(to.matrix);
  const Codes in = CodesOf(from.range);
  const Codes out = CodesOf(to.range);
  // What Cb and Cr of unit span give to R, G, B, then to the other luma.
  const double cbToBlue = 2.0 * (1.0 - k.blue);
  const double crToRed = 2.0 * (1.0 - k.red);
  const double cbToLuma = l.blue * cbToBlue - l.Green() * cbToBlue * k.blue / k.Green();
  const double crToLuma = l.red * crToRed - l.Green() * crToRed * k.red / k.Green();
  const double luma = out.luma / in.luma;
  const double lumaOfChroma = out.luma / in.chroma;
  const double cb = out.chroma / in.chroma / (2.0 * (1.0 - l.blue));
  const double cr = out.chroma / in.chroma / (2.0 * (1.0 - l.red));
  constexpr int one = 1 << 14;
  return {.luma = Fixed(luma, one),
          .cbToLuma = Fixed(cbToLuma * lumaOfChroma, one),
          .crToLuma = Fixed(crToLuma * lumaOfChroma, one),
          .cbToCb = Fixed((cbToBlue - cbToLuma) * cb, one),
          .crToCb = Fixed(-crToLuma * cb, one),
          .cbToCr = Fixed(-cbToLuma * cr, one),
          .crToCr = Fixed((crToRed - crToLuma) * cr, one),
          .blackIn = static_cast<std::int16_t>(in.black),
          .blackOut = static_cast<std::int16_t>(out.black)};
}

// Tables, so that no host computes them in its own floating point.

inline constexpr ColorMatrix colorMatrices[] = {ColorMatrix::Bt601, ColorMatrix::Bt709, ColorMatrix::Bt2020};
inline constexpr ColorRange colorRanges[] = {ColorRange::Limited, ColorRange::Full};

template <class Weights>
struct WeightTable {
  Weights entries[3][2];

  const Weights& For(const YuvColors& colors) const {
    return entries[static_cast<int>(colors.matrix)][static_cast<int>(colors.range)];
  }
};

template <class Weights, class Make>
constexpr WeightTable<Weights> TableOf(Make make) {
  WeightTable<Weights> table{};
  for (const ColorMatrix matrix : colorMatrices) {
    for (const ColorRange range : colorRanges) {
      table.entries[static_cast<int>(matrix)][static_cast<int>(range)] = make(YuvColors{matrix, range});
    }
  }
  return table;
}

inline constexpr auto decodingWeights = TableOf<DecodingWeights>(DecodingOf);
inline constexpr auto encodingWeights = TableOf<EncodingWeights>(EncodingOf);
inline constexpr auto recodingWeights = TableOf<WeightTable<RecodingWeights>>([](const YuvColors& from) {
  return TableOf<RecodingWeights>([&](const YuvColors& to) { return RecodingOf(from, to); });
});

static_assert(DecodingOf({}) == DecodingWeights{19077, 26149, -6419, -13320, 16525, 16});
static_assert(DecodingOf({ColorMatrix::Bt709}) == DecodingWeights{19077, 29372, -3494, -8731, 17305, 16});
static_assert(DecodingOf({ColorMatrix::Bt2020, ColorRange::Full}) ==
              DecodingWeights{16384, 24160, -2696, -9361, 15412, 0});
static_assert(EncodingOf({}) ==
              EncodingWeights{{8415, 16519, 3208}, {-4857, -9535, 14392}, {14392, -12052, -2340}, 16});
static_assert(EncodingOf({ColorMatrix::Bt709}) ==
              EncodingWeights{{5983, 20127, 2032}, {-3298, -11094, 14392}, {14392, -13072, -1320}, 16});
static_assert(RecodingOf({}, {}) == RecodingWeights{16384, 0, 0, 16384, 0, 0, 16384, 16, 16});
static_assert(RecodingOf({}, {ColorMatrix::Bt709}) ==
              RecodingWeights{16384, -1893, -3407, 16689, 1878, 1230, 16799, 16, 16});

}  // namespace kv_img::color
