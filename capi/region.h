#pragma once

#include <optional>
#include <string>

#include "capi/checks.h"
#include "image/image_rect.h"
#include "image/run_region.h"

/// A region of the C interface: a rectangle, or one run for each row.
struct kv_region {
  kv_img::ImageRect rectangle;
  std::optional<kv_img::RunRegion> runs;

  const kv_img::RegionOfSupport& Get() const {
    if (runs) return *runs;
    return rectangle;
  }
};

namespace kv_capi {

/// The region of a call: the caller's, or the whole of a frame.
class CallRegion {
 public:
  /// Fails unless the region is inside the frame.
  CallRegion(const char* name, const kv_region* region, const Frame& frame);

  const kv_img::RegionOfSupport& operator*() const { return region_ != nullptr ? region_->Get() : whole_; }
  const kv_img::RegionOfSupport* operator->() const { return &**this; }
  int Rows() const { return static_cast<int>((**this).GetHeight()); }
  std::int64_t Pixels() const { return std::int64_t{Rows()} * static_cast<int>((**this).GetWidth()); }
  /// The region by runs, as some operations want it.
  const kv_img::RunRegion& Runs();

 private:
  const kv_region* region_;
  kv_img::ImageRect whole_;
  std::optional<kv_img::RunRegion> runs_;
};

/// Fails unless the region is a rectangle.
void CheckRectangular(const char* name, const CallRegion& region);

}  // namespace kv_capi
