#include "host/fields.h"

#include <algorithm>
#include <utility>

#include "host/raster_image.h"

namespace kv_host {

std::span<const RowSet> TimesOf(bool hasFields, int height) {
  static constexpr RowSet all[] = {{0, 1}};
  static constexpr RowSet fields[] = {{0, 2}, {1, 2}};
  if (hasFields && height > 1) return fields;
  return all;
}

Raster TakeRows(const Raster& frame, RowSet rows) {
  Raster part = MakeRaster(frame.kind, frame.width, rows.CountIn(frame.height), frame.layout);
  Describe(part, frame);
  for (std::size_t plane = 0; plane < part.planes.size(); ++plane) {
    for (int y = 0; y < part.height; ++y) {
      std::ranges::copy(frame.planes[plane].Row(rows.first + y * rows.step),
                        part.planes[plane].Row(y).begin());
    }
  }
  return part;
}

void PutRows(const Raster& part, RowSet rows, Raster& frame) {
  for (std::size_t plane = 0; plane < part.planes.size(); ++plane) {
    for (int y = 0; y < part.height; ++y) {
      std::ranges::copy(part.planes[plane].Row(y),
                        frame.planes[plane].Row(rows.first + y * rows.step).begin());
    }
  }
}

kv_img::RunRegion RegionIn(const kv_img::RunRegion& where, RowSet rows) {
  std::vector<int> first;
  std::vector<int> last;
  int top = 0;
  for (int row = where.GetTop(); row <= where.GetBottom(); ++row) {
    if ((row - rows.first) % rows.step != 0) continue;
    if (first.empty()) top = (row - rows.first) / rows.step;
    first.push_back(where.GetLeft(row));
    last.push_back(where.GetRight(row));
  }
  return {top, std::move(first), std::move(last)};
}

}  // namespace kv_host
