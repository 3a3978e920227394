#pragma once

#include "frame/interfaces/color_conversion.h"

/// Colour conversion in double precision.
namespace kv_model::color {

using kv_img::ColorMatrix;
using kv_img::ColorRange;
using kv_img::YuvColors;

struct LumaConstants {
  double r;
  double b;
};
inline LumaConstants ConstantsOf(ColorMatrix matrix) {
  if (matrix == ColorMatrix::Bt601) return {0.299, 0.114};
  if (matrix == ColorMatrix::Bt709) return {0.2126, 0.0722};
  return {0.2627, 0.0593};
}
inline double Black(ColorRange range) {
  return range == ColorRange::Limited ? 16 : 0;
}
inline double LumaSpan(ColorRange range) {
  return range == ColorRange::Limited ? 219 : 255;
}
inline double ChromaSpan(ColorRange range) {
  return range == ColorRange::Limited ? 224 : 255;
}

/// Three components as real numbers: Y, Cb, Cr or red, green, blue.
struct Triple {
  double a;
  double b;
  double c;
};

/// Red, green, blue from 0 to 255, not clamped.
inline Triple DecodeExactly(const YuvColors& colors, double y, double cb, double cr) {
  const auto [kr, kb] = ConstantsOf(colors.matrix);
  const double kg = 1 - kr - kb;
  const double l = (y - Black(colors.range)) / LumaSpan(colors.range);
  const double u = (cb - 128) / ChromaSpan(colors.range);
  const double v = (cr - 128) / ChromaSpan(colors.range);
  const double red = l + 2 * (1 - kr) * v;
  const double blue = l + 2 * (1 - kb) * u;
  return {255 * red, 255 * (l - kr / kg * 2 * (1 - kr) * v - kb / kg * 2 * (1 - kb) * u), 255 * blue};
}

/// Y, Cb, Cr, not clamped.
inline Triple EncodeExactly(const YuvColors& colors, double red, double green, double blue) {
  const auto [kr, kb] = ConstantsOf(colors.matrix);
  const double l = (kr * red + (1 - kr - kb) * green + kb * blue) / 255;
  return {Black(colors.range) + LumaSpan(colors.range) * l,
          128 + ChromaSpan(colors.range) * (blue / 255 - l) / (2 * (1 - kb)),
          128 + ChromaSpan(colors.range) * (red / 255 - l) / (2 * (1 - kr))};
}

/// From YUV to YUV in real numbers, not clamped.
inline Triple RecodeExactly(const YuvColors& from, const YuvColors& to, double y, double cb, double cr) {
  const Triple rgb = DecodeExactly(from, y, cb, cr);
  return EncodeExactly(to, rgb.a, rgb.b, rgb.c);
}

}  // namespace kv_model::color
