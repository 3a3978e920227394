#pragma once

#include <memory>
#include <vector>

#include "image/image_rect.h"
#include "image/run_region.h"
#include "tests/support/random.h"

namespace kv_test {

/// Runs that differ little from row to row, as those of an outline do; now and then one is empty, by one
/// column or by several, and half of the outlines have straight stretches.
inline kv_img::RunRegion RandomOutline(Random& random, const kv_img::ImageRect& bounds) {
  const int top = random.Between(bounds.GetTop(), bounds.GetBottom());
  const int bottom = random.Between(top, bounds.GetBottom());
  const int left = random.Between(bounds.GetLeft(), bounds.GetRight());
  const int right = random.Between(left, bounds.GetRight());
  std::vector<int> first;
  std::vector<int> last;
  const bool hasStretches = random.OneIn(2);
  for (int row = top; row <= bottom; ++row) {
    if (hasStretches && row != top && !random.OneIn(6)) {
      first.push_back(first.back());
      last.push_back(last.back());
      continue;
    }
    first.push_back(std::min(bounds.GetRight(), left + random.Between(0, 3)));
    last.push_back(random.OneIn(12) ? std::max(first.back() - random.Between(1, 5), bounds.GetLeft() - 1)
                                    : std::max(first.back() - 1, right - random.Between(0, 3)));
  }
  return {top, first, last};
}

/// A rectangle, an outline or runs anywhere inside an image, often the whole image.
inline std::unique_ptr<kv_img::RegionOfSupport> AnyRegion(Random& random, int width, int height) {
  const kv_img::ImageRect whole(0, 0, width - 1, height - 1);
  switch (random.Between(0, 4)) {
    case 0:
      return std::make_unique<kv_img::ImageRect>(whole);
    case 1:
      return std::make_unique<kv_img::ImageRect>(RandomRect(random, whole));
    case 2:
      return std::make_unique<kv_img::RunRegion>(RandomRuns(random, whole));
    default:
      return std::make_unique<kv_img::RunRegion>(RandomOutline(random, whole));
  }
}

}  // namespace kv_test
