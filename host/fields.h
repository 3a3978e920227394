#pragma once

#include <span>

#include "host/formats/raster.h"
#include "image/run_region.h"

namespace kv_host {

/// Rows that were filmed at one time: every `step`-th of a frame from row `first` on.
struct RowSet {
  int first = 0;
  int step = 1;

  int CountIn(int height) const { return (height - first + step - 1) / step; }
};

inline bool HasFields(const Raster& frame) {
  return frame.interlace == Interlace::TopFieldFirst || frame.interlace == Interlace::BottomFieldFirst;
}
/// The parity of the field that is first in time.
inline int FirstParity(const Raster& frame) {
  return frame.interlace == Interlace::BottomFieldFirst ? 1 : 0;
}
/// The rows of the field of this parity; 0: the top one, which has the extra row of an odd height.
inline RowSet FieldRows(int parity) {
  return {parity, 2};
}
/// All rows, or those of both fields. Of an interlaced frame of a single row the second field has none.
std::span<const RowSet> TimesOf(bool hasFields, int height);

/// A picture of these rows of `frame` alone.
Raster TakeRows(const Raster& frame, RowSet rows);
/// Puts `part` into these rows of `frame`, which is of its kind and width.
void PutRows(const Raster& part, RowSet rows, Raster& frame);
/// What the region has of these rows, in their own numbers.
kv_img::RunRegion RegionIn(const kv_img::RunRegion& where, RowSet rows);

}  // namespace kv_host
