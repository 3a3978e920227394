#pragma once

#include <cstdint>

// The roundings of the operations on samples of eight bits, each once: scalar kernels and remainders call
// them, the other sets are checked against those. Right shifts of negative values round down.

namespace kv_img {

/// 0 to 255.
constexpr std::uint8_t ClampToByte(int value) {
  return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}
static_assert(ClampToByte(-1) == 0 && ClampToByte(0) == 0 && ClampToByte(255) == 255 &&
              ClampToByte(256) == 255);

constexpr int AbsoluteDifferenceOf(int a, int b) {
  const int difference = a - b;
  return difference < 0 ? -difference : difference;
}
static_assert(AbsoluteDifferenceOf(3, 250) == 247 && AbsoluteDifferenceOf(255, 0) == 255);

/// The mean of two samples, rounded down.
constexpr std::uint8_t MeanDown(std::uint8_t a, std::uint8_t b) {
  return static_cast<std::uint8_t>((a + b) >> 1);
}
static_assert(MeanDown(3, 5) == 4 && MeanDown(3, 4) == 3 && MeanDown(255, 255) == 255);

/// The mean of two samples, halves rounded up.
constexpr std::uint8_t MeanUp(std::uint8_t a, std::uint8_t b) {
  return static_cast<std::uint8_t>((a + b + 1) >> 1);
}
static_assert(MeanUp(3, 5) == 4 && MeanUp(3, 4) == 4 && MeanUp(255, 255) == 255);

/// The mean of two samples that are halved before they are added: one less than MeanDown when both are odd.
constexpr std::uint8_t HalvedMean(std::uint8_t a, std::uint8_t b) {
  return static_cast<std::uint8_t>((a >> 1) + (b >> 1));
}
static_assert(HalvedMean(3, 5) == 3 && HalvedMean(3, 4) == 3 && HalvedMean(255, 255) == 254);

/// The upper half of the 32-bit product of two 16-bit numbers, of which the sample is the upper byte of one:
/// sample * weight / 256, rounded down.
constexpr std::uint32_t WeightedSample(std::uint8_t sample, std::uint16_t weight) {
  return static_cast<std::uint32_t>(sample) * weight >> 8;
}
static_assert(WeightedSample(255, 0x8000) == 0x7F80 && WeightedSample(3, 0x3FFF) == 191 &&
              WeightedSample(255, 65535) == 65279);

/// To the nearest integer, halves up; `value` is -0.5 to 255.49.
constexpr std::uint8_t RoundHalfUp(float value) {
  return static_cast<std::uint8_t>(static_cast<int>(value + 0.5F));
}
static_assert(RoundHalfUp(2.25F) == 2 && RoundHalfUp(2.5F) == 3 && RoundHalfUp(255.0F) == 255);

}  // namespace kv_img
