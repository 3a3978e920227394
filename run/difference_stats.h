#pragma once

#include <cstddef>
#include <cstdint>

/// How two pictures differ, in numbers.
namespace kv_run {

/// Of absolute differences of samples. Sums are whole numbers: parts add up to the same in any order.
struct DifferenceStats {
  std::uint64_t samples = 0;
  std::uint64_t sum = 0;
  std::uint64_t squares = 0;
  std::uint64_t above = 0;  ///< Samples that differ by more than the threshold.
  int maximum = 0;

  double Mean() const;   ///< 0 where there is no sample.
  double Psnr() const;   ///< In decibels, of samples to 255; infinite where none differs.
  double Share() const;  ///< Of samples above the threshold, 0 to 1.
  DifferenceStats& operator+=(const DifferenceStats& other);

  bool operator==(const DifferenceStats&) const = default;
};

/// Counts `count` samples of a and b, each `step` (1 or 2) bytes after the last; `threshold` is 0 to 255.
DifferenceStats Measure(const std::uint8_t* a, const std::uint8_t* b, std::size_t count, std::size_t step,
                        int threshold) noexcept;

}  // namespace kv_run
