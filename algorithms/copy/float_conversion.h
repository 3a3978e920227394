#pragma once

#include <algorithm>
#include <cstdint>

#include "algorithms/copy/kernels/color_matrix.h"
#include "algorithms/rounding.h"

namespace kv_img::copy {

// The conversions of remainder pixels, ITU-R BT.601 in studio range: single precision, in the order written.
// They can differ by one from the fixed-point conversions of the kernels.

struct Yuv {
  std::uint8_t luma;
  std::uint8_t cb;
  std::uint8_t cr;

  constexpr bool operator==(const Yuv&) const = default;
};

/// Truncates toward zero, then clamps the low 16 bits to 0 to 255.
constexpr std::uint8_t TruncateThenClamp(float value) {
  return ClampToByte(static_cast<std::int16_t>(static_cast<std::int32_t>(value)));
}

/// Clamps to 0 to 255, then truncates.
constexpr std::uint8_t ClampThenTruncate(float value) {
  return static_cast<std::uint8_t>(std::max(std::min(value, 255.0F), 0.0F));
}

constexpr Rgb FloatYuvToRgb(int luma, int cb, int cr) {
  const float l = static_cast<float>(luma - 16) * 1.164383F;
  const auto u = static_cast<float>(cb - 128);
  const auto v = static_cast<float>(cr - 128);
  return {TruncateThenClamp((u * 0.0F + l) + v * 1.596027F),
          TruncateThenClamp((l - u * 0.391762F) - v * 0.812968F),
          TruncateThenClamp((u * 2.017232F + l) + v * 0.0F)};
}
static_assert(FloatYuvToRgb(235, 128, 128) == Rgb{254, 254, 254});
static_assert(FloatYuvToRgb(16, 128, 128) == Rgb{0, 0, 0} && FloatYuvToRgb(0, 128, 128) == Rgb{0, 0, 0});

constexpr Yuv FloatRgbToYuv(int red, int green, int blue) {
  const auto r = static_cast<float>(red);
  const auto g = static_cast<float>(green);
  const auto b = static_cast<float>(blue);
  return {ClampThenTruncate(((r * 0.256788F + 16.0F) + g * 0.504129F) + b * 0.097906F),
          ClampThenTruncate(((128.0F - r * 0.148223F) - g * 0.290993F) + b * 0.439216F),
          ClampThenTruncate(((r * 0.439216F + 128.0F) - g * 0.367788F) - b * 0.071427F)};
}
static_assert(FloatRgbToYuv(0, 0, 0) == Yuv{16, 128, 128} && FloatRgbToYuv(255, 0, 0) == Yuv{81, 90, 240});

}  // namespace kv_img::copy
