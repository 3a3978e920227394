#pragma once

#include <cstdint>
#include <initializer_list>

#include "check/models/copy_model.h"
#include "image/image.h"

/// Plain models of the copies from packed 4:2:2 to bitmaps.
namespace kv_model {

inline int FloorDivide(int a, int b) {
  const int quotient = a / b;
  return a % b != 0 && (a < 0) != (b < 0) ? quotient - 1 : quotient;
}

inline int Clamp8(int value) {
  if (value < 0) return 0;
  if (value > 255) return 255;
  return value;
}

struct RgbValue {
  int r;
  int g;
  int b;
};

/// Fixed point, as whole groups are converted.
inline RgbValue YuvToRgbInIntegers(int y, int cb, int cr) {
  const int l = FloorDivide(9539 * (y - 16), 8192);
  const int r = FloorDivide(13075 * (cr - 128), 8192);
  const int g = FloorDivide(-3209 * (cb - 128) - 6660 * (cr - 128), 8192);
  const int b = FloorDivide(16525 * (cb - 128), 8192);
  return {Clamp8(l + r), Clamp8(l + g), Clamp8(l + b)};
}

/// Single precision, as the remainder is converted. Every intermediate value is stored in a float.
inline RgbValue YuvToRgbInFloats(int y, int cb, int cr) {
  const float l = static_cast<float>(y - 16) * 1.164383F;
  const auto u = static_cast<float>(cb - 128);
  const auto v = static_cast<float>(cr - 128);
  const float u0 = u * 0.0F;
  const float v0 = v * 0.0F;
  const float rv = v * 1.596027F;
  const float gu = u * 0.391762F;
  const float gv = v * 0.812968F;
  const float bu = u * 2.017232F;
  const float rFirst = u0 + l;
  const float r = rFirst + rv;
  const float gFirst = l - gu;
  const float g = gFirst - gv;
  const float bFirst = bu + l;
  const float b = bFirst + v0;
  return {Clamp8(static_cast<int>(r)), Clamp8(static_cast<int>(g)), Clamp8(static_cast<int>(b))};
}

inline int WordOf15Bits(RgbValue c) {
  return c.r / 8 * 1024 + c.g / 8 * 32 + c.b / 8;
}
inline int WordOf16Bits(RgbValue c) {
  return c.r / 8 * 2048 + c.g / 4 * 32 + c.b / 8;
}

/// Samples of pixel x of a packed row.
struct YuvSample {
  int y;
  int cb;
  int cr;
};
inline YuvSample SampleOf(const std::uint8_t* row, int x, int layout) {
  const std::uint8_t* pair = row + x / 2 * 4;
  if (layout == 4097) return {pair[x % 2 * 2 + 1], pair[0], pair[2]};
  return {pair[x % 2 * 2], pair[1], pair[3]};
}

inline void CopyYuv422ToDib24(const kv_img::Image<kv_img::PixelYUV422>& source,
                              kv_img::Image<kv_img::PixelDIB24>& destination, int threads) {
  const auto& from = source.GetPixelBuffer();
  auto& to = destination.GetPixelBuffer();
  ForEachCopiedRow(source, destination, threads, [&](int sourceRow, int row) {
    for (int x = 0; x < from.width - from.width % 8; ++x) {
      const YuvSample s = SampleOf(from.rows[sourceRow], x, from.descriptor.GetLayout());
      const RgbValue c = YuvToRgbInIntegers(s.y, s.cb, s.cr);
      to.rows[row][3 * x] = static_cast<std::uint8_t>(c.b);
      to.rows[row][3 * x + 1] = static_cast<std::uint8_t>(c.g);
      to.rows[row][3 * x + 2] = static_cast<std::uint8_t>(c.r);
    }
  });
}

/// `wordOf` is WordOf15Bits or WordOf16Bits.
template <class Destination, class WordOf>
void CopyYuv422ToDibWords(const kv_img::Image<kv_img::PixelYUV422>& source, Destination& destination,
                          int threads, WordOf wordOf) {
  const auto& from = source.GetPixelBuffer();
  auto& to = destination.GetPixelBuffer();
  // The position of blue: 0 in blue-first bitmaps, 2 in red-first ones.
  const int first = (to.descriptor.layoutFlags & 0xF0U) != 0 ? 2 : 0;
  const int layout = from.descriptor.GetLayout();
  ForEachCopiedRow(source, destination, threads, [&](int sourceRow, int row) {
    const auto store = [&](int x, int word) {
      to.rows[row][first + 2 * x] = static_cast<std::uint8_t>(word % 256);
      to.rows[row][first + 2 * x + 1] = static_cast<std::uint8_t>(word / 256);
    };
    for (int x = 0; x < from.width - from.width % 4; ++x) {
      const YuvSample s = SampleOf(from.rows[sourceRow], x, layout);
      store(x, wordOf(YuvToRgbInIntegers(s.y, s.cb, s.cr)));
    }
    for (int x = 0; x < from.width % 4; ++x) {
      const YuvSample s = SampleOf(from.rows[sourceRow], x, layout);
      store(x, wordOf(YuvToRgbInFloats(s.y, s.cb, s.cr)));
    }
  });
}

}  // namespace kv_model
