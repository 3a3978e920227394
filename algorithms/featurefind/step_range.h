#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kv_img::featurefind {

/// The positions of a sub-pixel search along one axis: first, first + step, … with a margin of half a step
/// after `last`, so that accumulated rounding never loses the end point. All in double precision and in the
/// order written: every rounding shows in the positions.
struct StepRange {
  double first;
  double last;
  double step;
  /// The range in whole steps.
  double range;

  /// Left (top) edges of a patch whose feature is searched up to `range` around `centre`. Range and centre
  /// are rounded to whole steps; the ends are moved by whole steps into 0 to `limit`.
  static StepRange Around(double centre, int halfSize, double range, double step, double limit) {
    StepRange steps{};
    steps.step = step;
    steps.range = std::floor((range + step / 2) / step) * step;
    const double middle = std::floor((centre + step / 2) / step) * step - halfSize;
    steps.first = middle - steps.range;
    steps.last = middle + steps.range;
    if (steps.first < 0) steps.first += std::ceil(-steps.first / step) * step;
    if (steps.last > limit) steps.last -= std::ceil((steps.last - limit) / step) * step;
    return steps;
  }

  double End() const { return last + step / 2; }
  bool IsEmpty() const { return !(first <= End()); }

  /// Calls `visit` with every position; stops if adding the step does not change it.
  template <class Visit>
  void ForEach(Visit visit) const {
    double position = first;
    while (position <= End()) {
      visit(position);
      const double next = position + step;
      if (!(next > position)) return;
      position = next;
    }
  }
};

/// The whole pixels under the positions of a range.
struct StepPixels {
  int first = 0;
  int last = -1;

  StepPixels() = default;
  /// Of a range that is not empty, clamped to 0 to `limit`.
  StepPixels(const StepRange& range, std::int64_t limit)
      : first(static_cast<int>(std::clamp(range.first, 0.0, static_cast<double>(limit)))),
        last(static_cast<int>(std::clamp(range.End(), 0.0, static_cast<double>(limit)))) {}

  /// Whether a position of the range is at one of them. Rounding may move it slightly before pixel 0, where
  /// it counts as that pixel; elsewhere only in ranges so large that doubles have no fraction left.
  bool Hold(double position) const { return position > -1 && position < last + 1.0; }
};

}  // namespace kv_img::featurefind
