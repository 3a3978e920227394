#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "check/random.h"
#include "image/image_rect.h"
#include "image/run_region.h"

namespace kv_check {

/// A region of runs {first column, last column} from row `top` on.
inline kv_img::RunRegion Runs(int top, const std::vector<std::pair<int, int>>& runs) {
  std::vector<int> first;
  std::vector<int> last;
  for (const auto& [left, right] : runs) {
    first.push_back(left);
    last.push_back(right);
  }
  return {top, first, last};
}

/// Runs that claim to be inside every rectangle, as a host's own region type may: operations must clip what
/// is outside an image.
class BoldRegion final : public kv_img::RegionOfSupport {
 public:
  explicit BoldRegion(kv_img::RunRegion runs) : runs_(std::move(runs)) {}
  int GetRegionType() const override { return 77; }
  unsigned GetWidth() const override { return runs_.GetWidth(); }
  unsigned GetHeight() const override { return runs_.GetHeight(); }
  int GetLeft(int row) const override { return runs_.GetLeft(row); }
  int GetLeft() const override { return runs_.GetLeft(); }
  int GetRight(int row) const override { return runs_.GetRight(row); }
  int GetRight() const override { return runs_.GetRight(); }
  int GetTop() const override { return runs_.GetTop(); }
  int GetBottom() const override { return runs_.GetBottom(); }
  bool IsRectangular() const override { return runs_.IsRectangular(); }
  bool IsInside(const kv_img::ImageRect& /*rect*/) const override { return true; }
  int GetClassID() const override { return 77; }

 private:
  kv_img::RunRegion runs_;
};

struct Size {
  int width;
  int height;
};

/// The two regions of a call.
struct RegionPair {
  std::unique_ptr<kv_img::RegionOfSupport> source;
  std::unique_ptr<kv_img::RegionOfSupport> destination;
};

/// Rectangles of equal size, each anywhere in its image.
inline RegionPair RandomRectPair(Random& random, Size source, Size destination) {
  const int width = random.Between(1, std::min(source.width, destination.width));
  const int height = random.Between(1, std::min(source.height, destination.height));
  const auto place = [&](Size image) {
    const int left = random.Between(0, image.width - width);
    const int top = random.Between(0, image.height - height);
    return std::make_unique<kv_img::ImageRect>(left, top, left + width - 1, top + height - 1);
  };
  auto from = place(source);
  return {std::move(from), place(destination)};
}

/// Rectangles without columns, at any position.
inline RegionPair RandomEmptyRectPair(Random& random, Size source, Size destination) {
  const int height = random.Between(1, 6);
  const auto place = [&](Size image) {
    const int left = random.Between(-3, image.width + 2);
    const int top = random.Between(-4, image.height + 1);
    return std::make_unique<kv_img::ImageRect>(left, top, left - random.Between(1, 4), top + height - 1);
  };
  auto from = place(source);
  return {std::move(from), place(destination)};
}

/// Runs of equal lengths, each run anywhere in its image. Some are empty; those may be outside the image, and
/// so may the rows above and below it.
inline RegionPair RandomRunPair(Random& random, Size source, Size destination) {
  const int rows = random.Between(1, std::min(source.height, destination.height) + 3);
  const int sourceTop = random.Between(-2, std::max(source.height - rows, 0) + 2);
  const int destinationTop = random.Between(-2, std::max(destination.height - rows, 0) + 2);
  std::vector<std::pair<int, int>> from;
  std::vector<std::pair<int, int>> to;
  const auto isOutside = [](int row, Size image) { return row < 0 || row >= image.height; };
  const bool startsAtLeft = random.OneIn(4);
  for (int row = 0; row < rows; ++row) {
    const bool isEmpty =
        random.OneIn(6) || isOutside(sourceTop + row, source) || isOutside(destinationTop + row, destination);
    const int widest = std::min(source.width, destination.width);
    const int length = isEmpty ? -random.Between(0, 5) : random.Between(1, widest);
    const auto place = [&](Size image) {
      const int slack = isEmpty ? 4 : 0;
      const int left = random.Between(-slack, image.width - std::max(length, 0) + slack);
      return startsAtLeft && !isEmpty ? 0 : left;
    };
    const int sourceLeft = place(source);
    const int destinationLeft = place(destination);
    from.emplace_back(sourceLeft, sourceLeft + length - 1);
    to.emplace_back(destinationLeft, destinationLeft + length - 1);
  }
  return {std::make_unique<kv_img::RunRegion>(Runs(sourceTop, from)),
          std::make_unique<kv_img::RunRegion>(Runs(destinationTop, to))};
}

/// Runs of equal lengths that reach out of the images on every side.
inline RegionPair RandomBoldPair(Random& random, Size source, Size destination) {
  const int rows = random.Between(1, 12);
  std::vector<std::pair<int, int>> from;
  std::vector<std::pair<int, int>> to;
  for (int row = 0; row < rows; ++row) {
    const int length = random.Between(-3, std::max(source.width, destination.width) + 12);
    const int sourceLeft = random.Between(-6, source.width + 5);
    const int destinationLeft = random.Between(-6, destination.width + 5);
    from.emplace_back(sourceLeft, sourceLeft + length - 1);
    to.emplace_back(destinationLeft, destinationLeft + length - 1);
  }
  return {std::make_unique<BoldRegion>(Runs(random.Between(-4, source.height + 1), from)),
          std::make_unique<BoldRegion>(Runs(random.Between(-4, destination.height + 1), to))};
}

/// Two regions of any of these kinds.
inline RegionPair RandomRegionPair(Random& random, Size source, Size destination) {
  if (random.OneIn(12)) return RandomEmptyRectPair(random, source, destination);
  if (random.OneIn(4)) return RandomBoldPair(random, source, destination);
  if (random.OneIn(2)) return RandomRunPair(random, source, destination);
  RegionPair pair = RandomRectPair(random, source, destination);
  const auto asRuns = [&](std::unique_ptr<kv_img::RegionOfSupport>& region) {
    if (random.OneIn(4)) {
      region = std::make_unique<kv_img::RunRegion>(static_cast<const kv_img::ImageRect&>(*region));
    }
  };
  asRuns(pair.source);
  asRuns(pair.destination);
  return pair;
}

}  // namespace kv_check
