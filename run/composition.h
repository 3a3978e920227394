#pragma once

#include <cstddef>
#include <cstdint>

/// Linear composition of two pictures under an 8-bit mask, beside "BlendBoost", whose weight follows the luma of both.
/// Plain functions over rows; any thread may make any rows. A destination may be either source, at the same bytes.
namespace kv_run {

/// (foreground · weight + background · (255 − weight) + 127) / 255
constexpr std::uint8_t Mix(std::uint8_t foreground, std::uint8_t background, std::uint8_t weight) {
  const auto sum = static_cast<std::uint16_t>(foreground * weight + background * (255 - weight) + 127);
  // The quotient by 255 of every sum there can be, in 16 bits.
  return static_cast<std::uint8_t>(static_cast<std::uint16_t>(sum + 1 + (sum >> 8)) >> 8);
}
static_assert(Mix(255, 0, 128) == 128 && Mix(0, 255, 128) == 127 && Mix(1, 0, 127) == 0 &&
              Mix(1, 0, 128) == 1 && Mix(255, 255, 77) == 255);

/// The mask of a pair's chroma: the mean of its two pixels', halves up.
constexpr std::uint8_t PairMean(std::uint8_t left, std::uint8_t right) {
  return static_cast<std::uint8_t>((left + right + 1) >> 1);
}

/// `count` samples, each with its own weight.
void Composite(const std::uint8_t* foreground, const std::uint8_t* background, const std::uint8_t* weights,
               std::uint8_t* destination, std::size_t count) noexcept;

/// The masks of the (width + 1) / 2 pairs of a row; the last one of an odd width is that of its one pixel.
void PairMeans(const std::uint8_t* mask, std::size_t width, std::uint8_t* means) noexcept;

/// A row of packed 4:2:2, `width` pixels: luma by its pixel's mask, chroma by the mean of the pair's. Of an odd width the
/// last pair is written whole, all of it by its one pixel's mask.
void CompositePacked(const std::uint8_t* foreground, const std::uint8_t* background, const std::uint8_t* mask,
                     std::uint8_t* destination, std::size_t width, bool isLumaFirst) noexcept;

}  // namespace kv_run
