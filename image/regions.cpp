#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "image/errors/exceptions.h"
#include "image/image_rect.h"
#include "image/run_region.h"

namespace kv_img {
namespace {

// Bounds may be any ints: their distance is taken in unsigned arithmetic.
unsigned Count(int first, int last) {
  return last < first ? 0U : static_cast<unsigned>(last) - static_cast<unsigned>(first) + 1U;
}

}  // namespace

// Said again, so that Windows, too, has the constant in this library for whoever takes its address.
constexpr int RunRegion::regionType;  // NOLINT(readability-redundant-declaration)

RegionOfSupport::~RegionOfSupport() = default;

const int ImageRect::ClassID = 1;

ImageRect::ImageRect(const IImage& image)
    : right_(static_cast<int>(image.GetWidth()) - 1), bottom_(static_cast<int>(image.GetHeight()) - 1) {}
ImageRect::~ImageRect() = default;

ImageRect ImageRect::operator&(const ImageRect& other) const {
  return {std::max(left_, other.left_), std::max(top_, other.top_), std::min(right_, other.right_),
          std::min(bottom_, other.bottom_)};
}

ImageRect ImageRect::UnMirror() const {
  return {std::min(left_, right_), std::min(top_, bottom_), std::max(left_, right_), std::max(top_, bottom_)};
}

int ImageRect::GetRegionType() const {
  return 1;
}
unsigned ImageRect::GetWidth() const {
  return GetHeight() == 0 ? 0U : Count(left_, right_);
}
unsigned ImageRect::GetHeight() const {
  return Count(top_, bottom_);
}
int ImageRect::GetLeft(int /*row*/) const {
  return left_;
}
int ImageRect::GetLeft() const {
  return left_;
}
int ImageRect::GetRight(int /*row*/) const {
  return right_;
}
int ImageRect::GetRight() const {
  return right_;
}
int ImageRect::GetTop() const {
  return top_;
}
int ImageRect::GetBottom() const {
  return bottom_;
}
bool ImageRect::IsRectangular() const {
  return true;
}
int ImageRect::GetClassID() const {
  return ClassID;
}

bool ImageRect::IsInside(const ImageRect& rect) const {
  if (!IsValid()) return true;
  return left_ >= rect.left_ && top_ >= rect.top_ && right_ <= rect.right_ && bottom_ <= rect.bottom_;
}

ImageRect operator^(const RegionOfSupport& region, const ImageRect& rect) {
  return ImageRect(region.GetLeft(), region.GetTop(), region.GetRight(), region.GetBottom()) & rect;
}

const int RunRegion::ClassID = 3;

RunRegion::RunRegion(int top, std::vector<int> firstColumns, std::vector<int> lastColumns)
    : top_(top), firstColumns_(std::move(firstColumns)), lastColumns_(std::move(lastColumns)) {
  if (firstColumns_.size() != lastColumns_.size()) {
    const std::wstring sizes = L"lastColumns (" + std::to_wstring(lastColumns_.size()) +
                               L" rows, firstColumns has " + std::to_wstring(firstColumns_.size()) + L")";
    throw AlgoException(2, sizes.c_str(), L"RunRegion::RunRegion");
  }
  bool hasPixels = false;
  for (std::size_t row = 0; row < firstColumns_.size(); ++row) {
    if (lastColumns_[row] < firstColumns_[row]) continue;
    left_ = hasPixels ? std::min(left_, firstColumns_[row]) : firstColumns_[row];
    right_ = hasPixels ? std::max(right_, lastColumns_[row]) : lastColumns_[row];
    hasPixels = true;
  }
}

RunRegion::RunRegion(const ImageRect& rect)
    : RunRegion(rect.GetTop(), std::vector<int>(rect.GetHeight(), rect.GetLeft()),
                std::vector<int>(rect.GetHeight(), rect.GetRight())) {}

RunRegion::~RunRegion() = default;

int RunRegion::GetNumberOf4Pixels(int row) const {
  const std::int64_t pixels = std::int64_t{GetRight(row)} - GetLeft(row) + 1;
  if (pixels < 0 || pixels % 4 != 0) throw AlgoMotionException(4, L"GetNumberOf4Pixels");
  return static_cast<int>(pixels / 4);
}

int RunRegion::GetRegionType() const {
  return regionType;
}
unsigned RunRegion::GetWidth() const {
  return Count(left_, right_);
}
unsigned RunRegion::GetHeight() const {
  return static_cast<unsigned>(firstColumns_.size());
}
int RunRegion::GetLeft(int row) const {
  return firstColumns_[static_cast<std::size_t>(row - top_)];
}
int RunRegion::GetLeft() const {
  return left_;
}
int RunRegion::GetRight(int row) const {
  return lastColumns_[static_cast<std::size_t>(row - top_)];
}
int RunRegion::GetRight() const {
  return right_;
}
int RunRegion::GetTop() const {
  return top_;
}
int RunRegion::GetBottom() const {
  return top_ + static_cast<int>(firstColumns_.size()) - 1;
}
int RunRegion::GetClassID() const {
  return ClassID;
}

bool RunRegion::IsRectangular() const {
  for (std::size_t row = 1; row < firstColumns_.size(); ++row) {
    if (firstColumns_[row] != firstColumns_[0] || lastColumns_[row] != lastColumns_[0]) return false;
  }
  return true;
}

bool RunRegion::IsInside(const ImageRect& rect) const {
  for (std::size_t row = 0; row < firstColumns_.size(); ++row) {
    if (lastColumns_[row] < firstColumns_[row]) continue;
    const int y = top_ + static_cast<int>(row);
    if (y < rect.GetTop() || y > rect.GetBottom()) return false;
    if (firstColumns_[row] < rect.GetLeft() || lastColumns_[row] > rect.GetRight()) return false;
  }
  return true;
}

}  // namespace kv_img
