#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "image/double_rect.h"
#include "image/image_rect.h"

namespace kv_img {

/// What a score map holds where no position was scored: the largest finite single-precision value.
inline constexpr double unscored = 3.4028234663852886e38;

/// The score of every position that a whole-pixel feature search tested: mean absolute difference per pixel,
/// 0 (equal) to 255.
///
/// The search resets and fills it; a map serves one thread at a time.
class MatchScoreMap {
 public:
  /// Takes a rectangle of feature positions, all sides inclusive (turned over where it is mirrored), and
  /// forgets every score. Without pixels the map has no scores. Throws std::bad_alloc; the map then has none.
  void Reset(const ImageRect& rect);
  /// Records a score; a position outside the rectangle is dropped.
  void Store(int x, int y, double score);

  /// Records the scores of positions side by side, the first at (x, y).
  void StoreRow(int x, int y, std::span<const double> scores);

  /// The positions that the map covers.
  const ImageRect& Rect() const { return rect_; }
  /// One score for every position, row after row; empty when the map has none.
  std::span<const double> Scores() const { return scores_; }

 private:
  ImageRect rect_;
  std::int64_t columns_ = 0;
  std::vector<double> scores_;
};

/// The score of every position that the first level of a sub-pixel feature search tested.
///
/// Its grid starts at the left top corner of a rectangle of feature positions and goes on by `StepX`,
/// `StepY`. The positions are those of the whole-pixel feature: add `FracX`, `FracY` for the position of the
/// feature itself. The search resets and fills it; a map serves one thread at a time.
class SubPixelScoreMap {
 public:
  /// Takes a rectangle of feature positions (turned over where it is mirrored) and the steps of its grid, and
  /// forgets every score; the fractions stay. A rectangle or steps that give no grid leave the map without
  /// scores. Throws std::bad_alloc; the map then has none.
  void Reset(const DoubleRect& rect, double stepX, double stepY);
  /// Records a score at the nearest grid point; a position outside the grid is dropped.
  void Store(double x, double y, double score);
  /// The fractional part of the reference feature's position.
  void SetFractions(double fracX, double fracY);

  /// The positions that the map covers.
  const DoubleRect& Rect() const { return rect_; }
  double StepX() const { return stepX_; }
  double StepY() const { return stepY_; }
  double FracX() const { return fracX_; }
  double FracY() const { return fracY_; }
  /// Grid points side by side and one below the other; 0 when the map has no scores.
  std::int64_t Columns() const { return columns_; }
  std::int64_t Rows() const { return rows_; }
  /// One score for every grid point, row after row; empty when the map has none.
  std::span<const double> Scores() const { return scores_; }

 private:
  DoubleRect rect_;
  double stepX_ = 1;
  double stepY_ = 1;
  double fracX_ = 0;
  double fracY_ = 0;
  std::int64_t columns_ = 0;
  std::int64_t rows_ = 0;
  std::vector<double> scores_;
};

}  // namespace kv_img
