#pragma once

#include <cstdint>

#include "algorithms/box_filter/kernels/means.h"
#include "algorithms/simd/kernel.h"

namespace kv_img::box_filter {

/// Moves the column sums of a window down by one row: each sum gains the pixel of the row that enters the
/// window and loses that of the row that leaves it.
///
/// One group is eight columns: 8 bytes read at `entering` and at `leaving`, 8 bytes (four sums) changed at
/// `first`, the sums of every second column from the first on, and at `second`, those of the columns between.
/// Sums are at their natural alignment, rows at any; no overlap. Sums wrap at 16 bits.
struct ReplaceRow {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* entering;
    const std::uint8_t* leaving;
    std::uint16_t* first;
    std::uint16_t* second;
  };
  static constexpr const char* name = "box_filter/ReplaceRow";
  using Streams = StreamList<In<&Args::entering, 8>, In<&Args::leaving, 8>, InOut<&Args::first, 8>,
                             InOut<&Args::second, 8>>;
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// Windows up to this size are summed directly from their rows, which costs less than keeping column sums.
inline constexpr std::uint32_t mostSmall = 4;

/// Means of square windows that slide along rows of pixels, one column at a time.
///
/// A window is `windowSize` columns, 1 to mostSmall, by windowSize rows: its mean is the sum of its pixels
/// divided by windowSize * windowSize and rounded down. The first windowSize of `rows` point to the first
/// column of the first window. One group is one window: 1 byte written at `destination`; g groups read
/// g + windowSize - 1 bytes of each row. Rows may be the same; none overlaps the destination.
struct SmallWindowMeans {
  struct Args {
    std::int32_t groups;
    const std::uint8_t* rows[mostSmall];
    std::uint8_t* destination;
    std::uint32_t windowSize;
  };
  static constexpr const char* name = "box_filter/SmallWindowMeans";
  template <class Set>
  static void Run(Args& args) noexcept;
};

/// Sums before the first and after the last one of a row that a kernel may read; their values do not matter.
inline constexpr std::int32_t spareSums = 64;

/// Means of square windows that slide along a row of column sums, one column at a time.
///
/// A window is `windowSize` columns, 1 to maxWindowSize, by windowSize rows: its mean is the sum of its
/// column sums, none above 255 * windowSize, divided by windowSize * windowSize and rounded down. `first`
/// points to the sum of the first column of the first window, followed by those of every second column;
/// `second` points to the sums of the columns between. One group is eight windows: 8 bytes written at
/// `destination`; g groups read the 8 * g + windowSize - 1 sums of their windows, and up to spareSums more on
/// either side of both arrays. Sums are at their natural alignment; no overlap.
struct WindowMeans {
  struct Args {
    std::int32_t groups;
    const std::uint16_t* first;
    const std::uint16_t* second;
    std::uint8_t* destination;
    std::uint32_t windowSize;
  };
  static constexpr const char* name = "box_filter/WindowMeans";
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::box_filter
