#include "capi/region.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <memory>
#include <vector>

#include "image/image.h"

namespace kv_capi {
namespace {

using kv_img::ImageRect;
using kv_img::RunRegion;

constexpr std::int32_t farthest = 1 << 24;

void Answer(kv_region** region, kv_region value) {
  *region = std::make_unique<kv_region>(std::move(value)).release();
}

/// Columns whose centres are inside a polygon, row by row.
class PolygonRows {
 public:
  PolygonRows(const double* points, std::size_t count) : points_(points), count_(count) {}

  /// The run of a row; `first` above `last`: none.
  struct Run {
    int first;
    int last;
  };
  Run Row(int row) {
    crossings_.clear();
    const double y = row + 0.5;
    for (std::size_t i = 0; i < count_; ++i) {
      const double* a = points_ + 2 * i;
      const double* b = points_ + 2 * ((i + 1) % count_);
      if ((a[1] <= y) == (b[1] <= y)) continue;
      crossings_.push_back(a[0] + (y - a[1]) * (b[0] - a[0]) / (b[1] - a[1]));
    }
    std::ranges::sort(crossings_);
    Run run{0, -1};
    for (std::size_t i = 0; i + 1 < crossings_.size(); i += 2) {
      // The pixels whose centres x + 0.5 are at least the left and before the right crossing.
      const int first = static_cast<int>(std::ceil(crossings_[i] - 0.5));
      const int last = static_cast<int>(std::ceil(crossings_[i + 1] - 0.5)) - 1;
      if (first > last) continue;
      if (run.first > run.last) {
        run = {first, last};
      } else if (first == run.last + 1) {
        run.last = last;
      } else {
        Fail(KV_UNSUPPORTED,
             "points: row %d has two runs (%d to %d and %d to %d); a region has one for each row", row,
             run.first, run.last, first, last);
      }
    }
    return run;
  }

 private:
  const double* points_;
  std::size_t count_;
  std::vector<double> crossings_;
};

kv_region OfPolygon(const double* points, std::size_t count) {
  double top = points[1];
  double bottom = points[1];
  for (std::size_t i = 1; i < count; ++i) {
    top = std::min(top, points[2 * i + 1]);
    bottom = std::max(bottom, points[2 * i + 1]);
  }
  const int first = static_cast<int>(std::ceil(top - 0.5));
  const int last = static_cast<int>(std::ceil(bottom - 0.5)) - 1;
  if (std::int64_t{last} - first >= kv_img::maxImageSide) {
    Fail(KV_BAD_ARGUMENT, "points: the polygon has more than %d rows", kv_img::maxImageSide);
  }
  PolygonRows rows(points, count);
  std::vector<int> firsts;
  std::vector<int> lasts;
  int start = first;
  for (int row = first; row <= last; ++row) {
    const auto run = rows.Row(row);
    if (run.first > run.last && firsts.empty()) {
      start = row + 1;
      continue;
    }
    firsts.push_back(run.first);
    lasts.push_back(run.last);
  }
  while (!firsts.empty() && firsts.back() > lasts.back()) {
    firsts.pop_back();
    lasts.pop_back();
  }
  if (firsts.empty()) Fail(KV_BAD_ARGUMENT, "points: no centre of a pixel is inside the polygon");
  kv_region region;
  region.runs.emplace(start, std::move(firsts), std::move(lasts));
  return region;
}

}  // namespace

CallRegion::CallRegion(const char* name, const kv_region* region, const Frame& frame)
    : region_(region), whole_(0, 0, frame.width - 1, frame.height - 1) {
  if (region == nullptr) return;
  CheckPointer(name, region, alignof(kv_region));
  const kv_img::RegionOfSupport& given = region->Get();
  if (given.GetTop() < 0 || given.GetBottom() >= frame.height ||
      (given.GetWidth() > 0 && (given.GetLeft() < 0 || given.GetRight() >= frame.width))) {
    Fail(KV_BAD_ARGUMENT, "%s: columns %d to %d, rows %d to %d reach outside %s, which is %dx%d", name,
         given.GetLeft(), given.GetRight(), given.GetTop(), given.GetBottom(), frame.name, frame.width,
         frame.height);
  }
}

const RunRegion& CallRegion::Runs() {
  if (region_ != nullptr && region_->runs) return *region_->runs;
  if (!runs_) runs_.emplace(region_ != nullptr ? region_->rectangle : whole_);
  return *runs_;
}

void CheckRectangular(const char* name, const CallRegion& region) {
  if (!region->IsRectangular())
    Fail(KV_UNSUPPORTED, "%s is not a rectangle; this function takes rectangles alone", name);
}

}  // namespace kv_capi

using namespace kv_capi;

kv_status kv_region_rectangle(int32_t left, int32_t top, int32_t width, int32_t height, kv_region** region) {
  return Guarded([&] {
    CheckPointer("region", region, alignof(kv_region*));
    *region = nullptr;
    CheckRange("left", left, -farthest, farthest);
    CheckRange("top", top, -farthest, farthest);
    CheckRange("width", width, 1, kv_img::maxImageSide);
    CheckRange("height", height, 1, kv_img::maxImageSide);
    Answer(region, {ImageRect(left, top, left + width - 1, top + height - 1), {}});
  });
}

kv_status kv_region_runs(int32_t top, int32_t rows, const int32_t* firsts, const int32_t* lasts,
                         kv_region** region) {
  return Guarded([&] {
    CheckPointer("region", region, alignof(kv_region*));
    *region = nullptr;
    CheckRange("top", top, -farthest, farthest);
    CheckRange("rows", rows, 1, kv_img::maxImageSide);
    CheckPointer("firsts", firsts, alignof(int32_t));
    CheckPointer("lasts", lasts, alignof(int32_t));
    for (int32_t i = 0; i < rows; ++i) {
      if (firsts[i] < -farthest || lasts[i] > farthest ||
          std::int64_t{lasts[i]} < std::int64_t{firsts[i]} - 1) {
        Fail(KV_BAD_ARGUMENT,
             "firsts[%" PRId32 "] is %" PRId32 ", lasts[%" PRId32 "] %" PRId32
             "; a run ends at most one pixel before it starts, within 2^24 pixels",
             i, firsts[i], i, lasts[i]);
      }
    }
    kv_region value;
    value.runs.emplace(top, std::vector<int>(firsts, firsts + rows), std::vector<int>(lasts, lasts + rows));
    Answer(region, std::move(value));
  });
}

kv_status kv_region_polygon(const double* points, size_t count, kv_region** region) {
  return Guarded([&] {
    CheckPointer("region", region, alignof(kv_region*));
    *region = nullptr;
    CheckPointer("points", points, alignof(double));
    if (count < 3 || count > 1000000)
      Fail(KV_BAD_ARGUMENT, "count is %zu; a polygon has 3 to 1000000 points", count);
    for (std::size_t i = 0; i < 2 * count; ++i) {
      if (std::isfinite(points[i]) && std::abs(points[i]) <= farthest) continue;
      Fail(KV_BAD_ARGUMENT, "points[%zu] is %g; -2^24 to 2^24", i, points[i]);
    }
    Answer(region, OfPolygon(points, count));
  });
}

void kv_region_free(kv_region* region) {
  delete region;
}
