#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

#include "algorithms/box_filter/kernels/means.h"
#include "algorithms/box_filter/window_rows.h"
#include "algorithms/column_run.h"

namespace kv_img::box_filter {

/// The number of some pixels and their sum, in one word: one addition adds both.
class Pixels {
 public:
  Pixels() = default;
  Pixels(std::uint32_t sum, std::uint32_t count) : Pixels((std::uint64_t{count} << 32) + sum) {}

  Pixels operator+(Pixels other) const { return Pixels(countAndSum_ + other.countAndSum_); }
  Pixels operator-(Pixels other) const { return Pixels(countAndSum_ - other.countAndSum_); }
  /// Rounded down. There is one pixel at least.
  std::int32_t Mean() const {
    return FloatMeanOf(static_cast<std::int32_t>(countAndSum_),
                       static_cast<std::int32_t>(countAndSum_ >> 32));
  }

 private:
  explicit Pixels(std::uint64_t countAndSum) : countAndSum_(countAndSum) {}

  std::uint64_t countAndSum_ = 0;
};

/// Filters the columns at both ends of a run whose windows are clipped by the run or have pixels missing.
class Border {
 public:
  /// For runs inside a row of `width` columns. Throws nothing: see IsAllocated.
  Border(std::int32_t width, const Window& window)
      : window_(window),
        prefixSums_(new (std::nothrow) Pixels[static_cast<std::size_t>(width + 2 * window.size)]()) {}

  /// Returns false if there was no memory; nothing else may be called then.
  bool IsAllocated() const { return prefixSums_ != nullptr; }

  /// Filters the columns of a run that are not in the interior. `pixelsFrom(column)` returns a function that
  /// returns the pixels of that column, then of the next, and so on.
  template <class PixelsFrom>
  void Filter(const ColumnRun& run, const ColumnRun& interior, PixelsFrom pixelsFrom,
              std::uint8_t* destination) const {
    FilterPart(run, {run.first, interior.first - 1}, pixelsFrom, destination);
    FilterPart(run, {interior.last + 1, run.last}, pixelsFrom, destination);
  }

 private:
  template <class PixelsFrom>
  void FilterPart(const ColumnRun& run, const ColumnRun& part, PixelsFrom pixelsFrom,
                  std::uint8_t* destination) const {
    if (part.IsEmpty()) return;
    const ColumnRun columns = {std::max(part.first - window_.before, run.first),
                               std::min(part.last + window_.after, run.last)};
    // Entries before the first stay zero: no pixels are there.
    Pixels* first = prefixSums_.get() + window_.before;
    Pixels* end = AddUp(columns.Width(), pixelsFrom(columns.first), first);
    const Pixels all = end[-1];
    std::fill_n(end, part.last + window_.after - columns.last, all);
    WriteMeans(first + (part.first - window_.before - columns.first), part.Width(), destination + part.first);
  }

  /// Writes prefix sums: of no columns, of the first, of the first two and so on. Returns their end.
  template <class NextPixels>
  static Pixels* AddUp(std::int32_t columns, NextPixels nextPixels, Pixels* sums) {
    Pixels sum(0, 0);
    *sums++ = sum;
    // Two columns at a time: a pair costs one addition that waits for the one before.
    for (std::int32_t pair = 0; pair < columns / 2; ++pair) {
      const Pixels pixels = nextPixels();
      *sums++ = sum + pixels;
      sum = sum + (pixels + nextPixels());
      *sums++ = sum;
    }
    if (columns % 2 != 0) *sums++ = sum + nextPixels();
    return sums;
  }

  /// Writes the means of `windows` windows. The first covers the columns after sums[0] up to sums[size].
  void WriteMeans(const Pixels* sums, std::int32_t windows, std::uint8_t* destination) const {
    const Pixels* ends = sums + window_.size;
    // Too few for a vector, as in the smallest windows.
    if (windows < 4) {
      for (std::int32_t i = 0; i < windows; ++i)
        destination[i] = static_cast<std::uint8_t>((ends[i] - sums[i]).Mean());
      return;
    }
    constexpr std::int32_t most = 64;
    std::int32_t means[most];
    for (std::int32_t first = 0; first < windows; first += most) {
      const std::int32_t count = std::min(windows - first, most);
      // Elements of four bytes: compilers vectorise even a few windows.
      for (std::int32_t i = 0; i < count; ++i) means[i] = (ends[first + i] - sums[first + i]).Mean();
      std::copy_n(means, count, destination + first);
    }
  }

  const Window window_;
  std::unique_ptr<Pixels[]> prefixSums_;
};

}  // namespace kv_img::box_filter
