#include "check/random_regions.h"

#include <vector>

namespace kv_check {

kv_img::ImageRect RandomRect(Random& random, const kv_img::ImageRect& bounds) {
  const int left = random.Between(bounds.GetLeft(), bounds.GetRight());
  const int top = random.Between(bounds.GetTop(), bounds.GetBottom());
  return {left, top, random.Between(left, bounds.GetRight()), random.Between(top, bounds.GetBottom())};
}

kv_img::RunRegion RandomRuns(Random& random, const kv_img::ImageRect& bounds, bool emptyRuns, int multiple) {
  const int top = random.Between(bounds.GetTop(), bounds.GetBottom());
  const int bottom = random.Between(top, bounds.GetBottom());
  std::vector<int> first;
  std::vector<int> last;
  for (int row = top; row <= bottom; ++row) {
    const int left = random.Between(bounds.GetLeft(), bounds.GetRight());
    const int widest = (bounds.GetRight() - left + 1) / multiple;
    const bool empty = emptyRuns && (random.OneIn(8) || widest == 0);
    const int groups = empty || widest == 0 ? 0 : random.Between(emptyRuns ? 0 : 1, widest);
    first.push_back(left);
    last.push_back(left + groups * multiple - 1);
  }
  return {top, first, last};
}

}  // namespace kv_check
