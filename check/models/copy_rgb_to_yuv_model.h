#pragma once

#include <cstdint>

#include "check/models/copy_model.h"
#include "image/image.h"

/// Plain models of the copies from bitmaps to packed 4:2:2.
namespace kv_model {

struct YuvValue {
  int y;
  int cb;
  int cr;
};

/// floor(sum / 32768)
inline int Floor32768(int sum) {
  int quotient = sum / 32768;
  if (quotient * 32768 > sum) --quotient;
  return quotient;
}

inline int LimitToByte(int value) {
  return value < 0 ? 0 : value > 255 ? 255 : value;
}

/// Fixed point: the luma byte, and the chroma of the pixel before its pair is averaged.
inline YuvValue RgbToYuvInIntegers(int r, int g, int b) {
  const int y = Floor32768(8414 * r + 16519 * g + 3208 * b);
  return {LimitToByte(LimitToByte(y) + 16), Floor32768(-4857 * r - 9535 * g + 14392 * b),
          Floor32768(14392 * r - 12052 * g - 2341 * b)};
}

inline int PairChroma(int first, int second) {
  int half = (first + second) / 2;
  if (half * 2 > first + second) --half;
  return LimitToByte(half + 128);
}

/// Single precision; every intermediate value is stored in a float.
inline YuvValue RgbToYuvInFloats(int red, int green, int blue) {
  const auto r = static_cast<float>(red);
  const auto g = static_cast<float>(green);
  const auto b = static_cast<float>(blue);
  const auto limited = [](float value) {
    if (value > 255.0F) value = 255.0F;
    if (value < 0.0F) value = 0.0F;
    return static_cast<int>(value);
  };
  float y = r * 0.256788F;
  y = y + 16.0F;
  const float yg = g * 0.504129F;
  y = y + yg;
  const float yb = b * 0.097906F;
  y = y + yb;
  const float ur = r * 0.148223F;
  float u = 128.0F - ur;
  const float ug = g * 0.290993F;
  u = u - ug;
  const float ub = b * 0.439216F;
  u = u + ub;
  float v = r * 0.439216F;
  v = v + 128.0F;
  const float vg = g * 0.367788F;
  v = v - vg;
  const float vb = b * 0.071427F;
  v = v - vb;
  return {limited(y), limited(u), limited(v)};
}

/// Positions of the samples of a packed pair.
struct PairPositions {
  int y;
  int cb;
  int cr;
};
inline PairPositions PositionsOf(int layout) {
  if (layout == 4097) return {1, 0, 2};
  return {0, 1, 3};
}

/// Whole groups: `pixels` pixels of `bytes` bytes from the blue byte of the first.
inline void ConvertGroups(const std::uint8_t* from, int bytes, int pixels, std::uint8_t* to, int layout) {
  const PairPositions at = PositionsOf(layout);
  for (int x = 0; x < pixels; x += 2) {
    const std::uint8_t* p = from + x * bytes;
    const YuvValue a = RgbToYuvInIntegers(p[2], p[1], p[0]);
    const std::uint8_t* q = p + bytes;
    const YuvValue b = RgbToYuvInIntegers(q[2], q[1], q[0]);
    to[2 * x + at.y] = static_cast<std::uint8_t>(a.y);
    to[2 * x + at.y + 2] = static_cast<std::uint8_t>(b.y);
    to[2 * x + at.cb] = static_cast<std::uint8_t>(PairChroma(a.cb, b.cb));
    to[2 * x + at.cr] = static_cast<std::uint8_t>(PairChroma(a.cr, b.cr));
  }
}

inline void CopyDib24ToYuv422(const kv_img::Image<kv_img::PixelDIB24>& source,
                              kv_img::Image<kv_img::PixelYUV422>& destination, int threads) {
  const auto& from = source.GetPixelBuffer();
  auto& to = destination.GetPixelBuffer();
  const int layout = to.descriptor.GetLayout();
  if (layout != 4097 && layout != 4098) return;
  const int blue = (from.descriptor.layoutFlags & 0xF0U) != 0 ? 2 : 0;
  ForEachCopiedRow(source, destination, threads, [&](int sourceRow, int row) {
    ConvertGroups(from.rows[sourceRow] + blue, 3, from.width / 8 * 8, to.rows[row], layout);
  });
}

/// One row of 32-bit pixels; `toAlpha` null where there is no alpha.
inline void ConvertDib32Row(const std::uint8_t* from, bool redFirst, int width, std::uint8_t* to,
                            std::uint8_t* toAlpha, int layout) {
  const int blue = redFirst ? 2 : 0;
  const int red = redFirst ? 0 : 2;
  const int whole = width / 4 * 4;
  if (layout == 4097 || layout == 4098) {
    ConvertGroups(from + blue, 4, whole, to, layout);
    for (int x = 0; toAlpha != nullptr && x < whole; ++x) toAlpha[x] = from[blue + 4 * x + 3];
  }
  const PairPositions at = PositionsOf(layout);
  for (int x = 0; x < width - whole; ++x) {
    const YuvValue c = RgbToYuvInFloats(from[4 * x + red], from[4 * x + 1], from[4 * x + blue]);
    to[2 * x + at.y] = static_cast<std::uint8_t>(c.y);
    if (x % 2 == 1) {
      const YuvValue before =
          RgbToYuvInFloats(from[4 * x - 4 + red], from[4 * x - 3], from[4 * x - 4 + blue]);
      to[2 * x - 2 + at.cb] = static_cast<std::uint8_t>((before.cb + c.cb) / 2);
      to[2 * x - 2 + at.cr] = static_cast<std::uint8_t>((before.cr + c.cr) / 2);
    }
    if (toAlpha != nullptr) toAlpha[x] = from[4 * x + 3];
  }
}

inline void CopyDib32ToYuv422(const kv_img::Image<kv_img::PixelDIB32>& source,
                              kv_img::Image<kv_img::PixelYUV422>& destination, int threads) {
  const auto& from = source.GetPixelBuffer();
  auto& to = destination.GetPixelBuffer();
  const bool redFirst = (from.descriptor.layoutFlags & 0xF0U) != 0;
  ForEachCopiedRow(source, destination, threads, [&](int sourceRow, int row) {
    ConvertDib32Row(from.rows[sourceRow], redFirst, from.width, to.rows[row], nullptr,
                    to.descriptor.GetLayout());
  });
}

/// The alpha rows follow the colour rows.
inline void CopyDib32ToYuva422(const kv_img::Image<kv_img::PixelDIB32>& source,
                               kv_img::Image<kv_img::PixelYUVA422>& destination, int threads) {
  const auto& from = source.GetPixelBuffer();
  auto& to = destination.GetPixelBuffer();
  const bool redFirst = (from.descriptor.layoutFlags & 0xF0U) != 0;
  ForEachCopiedRow(source, destination, threads, [&](int sourceRow, int row) {
    ConvertDib32Row(from.rows[sourceRow], redFirst, from.width, to.rows[row], to.rows[to.height + row],
                    to.descriptor.GetLayout());
  });
}

}  // namespace kv_model
