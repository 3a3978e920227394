#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "capi/context.h"
#include "frame/interfaces/feature_find.h"

namespace kv_capi {

/// The pixels of the reference that are looked for, and where the feature is in them.
struct Template {
  int left;
  int top;
  int width;
  int height;
  int offsetX;
  int offsetY;
};

/// What one part of a search came to.
struct Found {
  double x = 0;
  double y = 0;
  double score = kv_img::unscored;
};

/// One search, divided by rows of positions. Of equal positions the first in reading order is found, as by one thread.
template <class PixelClass>
struct SearchCall {
  using Image = kv_img::Image<PixelClass>;

  const Call& call;
  const kv_img::FeatureFindAlgorithmInterface<Image>& operation;
  const Image& reference;
  const Image& searched;
  const kv_find_options& options;
  const Template& part;

  kv_match Whole() const;
  kv_match Between() const;

 private:
  /// Positions of a search along one axis: `count` of them from `first` on.
  struct Axis {
    double first;
    double step;
    std::int64_t count;
  };

  /// The map's answers, and whether there is room for its scores.
  static void Describe(kv_score_map& map, const Axis& x, const Axis& y, const Template& part);
  /// Rows of positions of one task; tasks start at multiples.
  std::int64_t RowsOfTasks(const Axis& x, const Axis& y) const;
  template <class SearchRows>
  Found Divide(const Axis& x, const Axis& y, SearchRows searchRows) const;
  static kv_match Answer(const Found& found, double moreX, double moreY);

  Axis WholeAxis(double around, double half, double range, int limit) const;
  static Axis StepAxis(double around, int half, double range, double step, int limit);
  Found SearchWhole(const Axis& x, int top, int count, double* scores) const;
  Found SearchLevel(const double (&around)[2], const double (&range)[2], const double (&step)[2],
                    kv_score_map* map) const;
};

template <class PixelClass>
void SearchCall<PixelClass>::Describe(kv_score_map& map, const Axis& x, const Axis& y, const Template& part) {
  map.columns = static_cast<std::size_t>(x.count);
  map.rows = static_cast<std::size_t>(y.count);
  map.left = x.first + part.offsetX;
  map.top = y.first + part.offsetY;
  map.step_x = x.step;
  map.step_y = y.step;
  if (map.scores == nullptr) return;
  const std::size_t needed = map.columns * map.rows;
  if (map.capacity < needed) {
    Fail(KV_SIZE_MISMATCH, "options->map->capacity is %zu; %zu x %zu positions take %zu doubles",
         map.capacity, map.columns, map.rows, needed);
  }
}

template <class PixelClass>
std::int64_t SearchCall<PixelClass>::RowsOfTasks(const Axis& x, const Axis& y) const {
  // Comparing a pixel takes a fraction of the time of other rules.
  constexpr int comparisonsOfPixel = 8;
  const double pixels =
      static_cast<double>(x.count) * static_cast<double>(y.count) * part.width * part.height;
  const double work = std::min(pixels / comparisonsOfPixel, 1e15);
  const int most = static_cast<int>(std::min<std::int64_t>(y.count, kv_img::maxImageSide));
  const std::int64_t rows = y.count / call.TasksFor(static_cast<std::int64_t>(work), most);
  // A search goes as far up as down from its centre.
  return rows % 2 != 0 || rows == y.count ? rows : rows + 1;
}

template <class PixelClass>
template <class SearchRows>
Found SearchCall<PixelClass>::Divide(const Axis& x, const Axis& y, SearchRows searchRows) const {
  if (x.count <= 0 || y.count <= 0) return {};
  const std::int64_t rows = std::max<std::int64_t>(1, RowsOfTasks(x, y));
  const int tasks = static_cast<int>((y.count + rows - 1) / rows);
  std::vector<Found> found(static_cast<std::size_t>(tasks));
  call.ForEachTask(tasks, [&](int index) {
    const std::int64_t first = index * rows;
    const std::int64_t count = std::min(rows, y.count - first);
    const std::int64_t odd = count % 2 != 0 ? count : count - 1;
    Found& best = found[static_cast<std::size_t>(index)];
    best = searchRows(first, odd);
    if (odd == count) return;
    const Found last = searchRows(first + odd, 1);
    if (last.score < best.score) best = last;
  });
  return *std::ranges::min_element(found, {}, &Found::score);
}

template <class PixelClass>
kv_match SearchCall<PixelClass>::Answer(const Found& found, double moreX, double moreY) {
  kv_match match;
  kv_match_init(&match);
  if (found.score == kv_img::unscored) return match;
  match.is_found = 1;
  match.x = found.x + moreX;
  match.y = found.y + moreY;
  match.score = found.score;
  return match;
}

template <class PixelClass>
typename SearchCall<PixelClass>::Axis SearchCall<PixelClass>::WholeAxis(double around, double half,
                                                                        double range, int limit) const {
  const double first = std::max(around - half - range, 0.0);
  const double last = std::min(around - half + range, static_cast<double>(limit));
  return {first, 1, std::max<std::int64_t>(0, static_cast<std::int64_t>(last - first) + 1)};
}

template <class PixelClass>
kv_match SearchCall<PixelClass>::Whole() const {
  const int limitX = static_cast<int>(searched.GetWidth()) - part.width - 1;
  const int limitY = static_cast<int>(searched.GetHeight()) - part.height - 1;
  const Axis x = WholeAxis(options.around_x, options.half_width, options.range_x, limitX);
  const Axis y = WholeAxis(options.around_y, options.half_height, options.range_y, limitY);
  kv_score_map* map = options.map;
  if (map != nullptr) Describe(*map, x, y, part);
  double* scores = map != nullptr ? map->scores : nullptr;
  const Found found = Divide(x, y, [&](std::int64_t first, std::int64_t count) {
    return SearchWhole(x, static_cast<int>(y.first) + static_cast<int>(first), static_cast<int>(count),
                       scores == nullptr ? nullptr : scores + first * x.count);
  });
  return Answer(found, 0, 0);
}

template <class PixelClass>
Found SearchCall<PixelClass>::SearchWhole(const Axis& x, int top, int count, double* scores) const {
  const int point1[2] = {static_cast<int>(options.x), static_cast<int>(options.y)};
  const int point2[2] = {static_cast<int>(options.around_x), top + count / 2 + options.half_height};
  const int rangeX = static_cast<int>(options.range_x);
  kv_img::MatchScoreMap map;
  int result[2] = {};
  if (scores != nullptr) {
    operation.LocateFeature(reference, searched, point1, point2, result, options.half_width,
                            options.half_height, rangeX, count / 2, &map, call.Alone(), 0);
    std::ranges::copy(map.Scores(), scores);
  } else {
    operation.LocateFeatureNoMap(reference, searched, point1, point2, result, options.half_width,
                                 options.half_height, rangeX, count / 2, call.Alone(), 0);
    // The score of the match alone.
    const int at[2] = {result[0] - part.offsetX + options.half_width,
                       result[1] - part.offsetY + options.half_height};
    int same[2] = {};
    operation.LocateFeature(reference, searched, point1, at, same, options.half_width, options.half_height, 0,
                            0, &map, call.Alone(), 0);
  }
  const std::size_t index =
      scores == nullptr ? 0
                        : static_cast<std::size_t>((result[1] - part.offsetY - top) * x.count + result[0] -
                                                   part.offsetX - static_cast<int>(x.first));
  return {static_cast<double>(result[0]), static_cast<double>(result[1]), map.Scores()[index]};
}

template <class PixelClass>
typename SearchCall<PixelClass>::Axis SearchCall<PixelClass>::StepAxis(double around, int half, double range,
                                                                       double step, int limit) {
  const auto snap = [step](double value) { return std::floor((value + step / 2) / step) * step; };
  const double centre = snap(around) - half;
  double first = centre - snap(range);
  double last = centre + snap(range);
  if (first < 0) first += std::ceil(-first / step) * step;
  if (last > limit) last -= std::ceil((last - limit) / step) * step;
  return {first, step,
          last < first ? 0 : static_cast<std::int64_t>(std::floor((last - first + step / 2) / step)) + 1};
}

template <class PixelClass>
Found SearchCall<PixelClass>::SearchLevel(const double (&around)[2], const double (&range)[2],
                                          const double (&step)[2], kv_score_map* map) const {
  const int limitX = static_cast<int>(searched.GetWidth()) - part.width - 2;
  const int limitY = static_cast<int>(searched.GetHeight()) - part.height - 2;
  const Axis x = StepAxis(around[0], options.half_width, range[0], step[0], limitX);
  const Axis y = StepAxis(around[1], options.half_height, range[1], step[1], limitY);
  if (map != nullptr) Describe(*map, x, y, part);
  double* scores = map != nullptr ? map->scores : nullptr;
  const double point1[2] = {options.x, options.y};
  const auto refine = [&](const double(&point2)[2], double rangeY, double* to) {
    kv_img::SubPixelScoreMap tested;
    Found found;
    double result[2] = {};
    operation.RefineFeature(reference, searched, point1, point2, result, options.half_width,
                            options.half_height, range[0], rangeY, step[0], step[1], 0, 1, &tested,
                            call.Alone(), 0);
    if (tested.Scores().empty()) return found;
    if (to != nullptr) std::ranges::copy(tested.Scores(), to);
    found = {result[0], result[1], *std::ranges::min_element(tested.Scores())};
    return found;
  };
  int exponent = 0;
  const bool isPowerOfTwo = std::frexp(step[1], &exponent) == 0.5;
  if (!isPowerOfTwo) {
    Found found;
    call.ForEachTask(1, [&](int) {
      if (x.count > 0 && y.count > 0) found = refine(around, range[1], scores);
    });
    return found;
  }
  return Divide(x, y, [&](std::int64_t first, std::int64_t count) {
    const double top = y.first + static_cast<double>(first) * step[1];
    const double half = static_cast<double>(count / 2) * step[1];
    return refine({around[0], top + half + options.half_height}, half,
                  scores == nullptr ? nullptr : scores + first * x.count);
  });
}

template <class PixelClass>
kv_match SearchCall<PixelClass>::Between() const {
  double around[2] = {options.around_x, options.around_y};
  double range[2] = {options.range_x, options.range_y};
  double step[2] = {options.step_x, options.step_y};
  Found found;
  for (int level = 0; level < options.levels; ++level) {
    const Found better = SearchLevel(around, range, step, level == 0 ? options.map : nullptr);
    if (better.score != kv_img::unscored) {
      found = better;
    } else if (level == 0) {
      break;
    } else {
      // A finer level without positions moves the result by the feature's offset in its template, as the rule says.
      found.x += part.offsetX;
      found.y += part.offsetY;
    }
    around[0] = found.x;
    around[1] = found.y;
    for (int axis = 0; axis < 2; ++axis) {
      range[axis] = std::floor((range[axis] + step[axis] / 2) / step[axis]) * step[axis] / 2;
      step[axis] /= 2;
    }
  }
  return Answer(found, std::fmod(options.x, 1.0), std::fmod(options.y, 1.0));
}

}  // namespace kv_capi
