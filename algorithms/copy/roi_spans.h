#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "frame/row_band.h"
#include "image/region_of_support.h"

namespace kv_img::copy {

/// One side of a region copy: a region and the size of its image.
struct RoiSide {
  const RegionOfSupport& region;
  std::int32_t width;
  std::int32_t height;
};

/// Columns of a row: `sourceFirst` to `sourceLast` are copied to `destinationFirst` onward.
struct RoiColumns {
  int sourceFirst;
  int sourceLast;  ///< inclusive; less than `sourceFirst` if the run is empty
  int destinationFirst;
};

/// What is copied of one row.
struct RoiSpan {
  int sourceRow;         ///< the row that the run was taken from
  int shiftedSourceRow;  ///< moved by the field-parity shift, clamped to the thread's rows
  int destinationRow;
  RoiColumns columns;
};

/// The columns of a pair of runs that are inside both images; none if a run or its counterpart is outside.
inline std::optional<RoiColumns> RoiColumnsOf(const RoiSide& source, int sourceRow,
                                              const RoiSide& destination, int destinationRow) {
  const std::int64_t sourceLeft = source.region.GetLeft(sourceRow);
  const std::int64_t sourceRight = source.region.GetRight(sourceRow);
  const std::int64_t destinationLeft = destination.region.GetLeft(destinationRow);
  const std::int64_t destinationRight = destination.region.GetRight(destinationRow);
  if (sourceLeft >= source.width || sourceRight < 0) return std::nullopt;
  if (destinationLeft >= destination.width || destinationRight < 0) return std::nullopt;

  const std::int64_t offset = destinationLeft - sourceLeft;
  const std::int64_t first = offset + std::max<std::int64_t>(sourceLeft, 0);
  const std::int64_t last = offset + std::min<std::int64_t>(sourceRight, source.width - 1);
  if (first >= destination.width || last < 0) return std::nullopt;
  const std::int64_t destinationFirst = std::max<std::int64_t>(first, 0);
  const std::int64_t destinationLast = std::min<std::int64_t>(last, destination.width - 1);
  return RoiColumns{static_cast<int>(destinationFirst - offset), static_cast<int>(destinationLast - offset),
                    static_cast<int>(destinationFirst)};
}

/// Calls `work(span)` for the rows of thread `index` that are inside both images, from top to bottom. The
/// regions have equal heights; `shift` is the field-parity shift.
template <class SpanWork>
void ForEachRoiSpan(const RoiSide& source, const RoiSide& destination, int shift, std::int32_t threads,
                    std::uint32_t index, SpanWork work) {
  // In 64 bits, for regions without pixels may have any bounds.
  const std::int64_t top = source.region.GetTop();
  const RowBand share =
      TakeBand(0, RowCount(source.region.GetTop(), source.region.GetBottom()) - 1, threads, index);
  const std::int64_t offset = destination.region.GetTop() - top;
  const std::int64_t first = std::max({top + share.first, std::int64_t{0}, -offset});
  const std::int64_t last =
      std::min({top + share.last, std::int64_t{source.height} - 1, destination.height - 1 - offset});
  for (std::int64_t row = first; row <= last; ++row) {
    const auto sourceRow = static_cast<int>(row);
    const auto destinationRow = static_cast<int>(row + offset);
    const auto columns = RoiColumnsOf(source, sourceRow, destination, destinationRow);
    if (!columns) continue;
    const std::int64_t shiftedRow = std::clamp(row + shift, first, last);
    work(RoiSpan{sourceRow, static_cast<int>(shiftedRow), destinationRow, *columns});
  }
}

}  // namespace kv_img::copy
