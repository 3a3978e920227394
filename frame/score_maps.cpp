#include "frame/score_maps.h"

#include <cmath>
#include <new>

namespace kv_img {
namespace {

/// Frees what `scores` held before it takes memory for the next grid.
void Allocate(std::vector<double>& scores, double columns, double rows) {
  scores = {};
  if (columns * rows >= static_cast<double>(scores.max_size())) throw std::bad_alloc();
  scores.assign(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), unscored);
}

/// The grid point nearest to a distance from the grid's start, both in pixels.
double GridIndex(double distance, double step) {
  return std::floor((distance + step / 2) / step);
}

}  // namespace

void MatchScoreMap::Reset(const ImageRect& rect) {
  rect_ = rect.UnMirror();
  columns_ = std::int64_t{rect_.GetRight()} - rect_.GetLeft() + 1;
  const std::int64_t rows = std::int64_t{rect_.GetBottom()} - rect_.GetTop() + 1;
  Allocate(scores_, static_cast<double>(columns_), static_cast<double>(rows));
}

void MatchScoreMap::Store(int x, int y, double score) {
  StoreRow(x, y, {&score, 1});
}

void MatchScoreMap::StoreRow(int x, int y, std::span<const double> scores) {
  if (scores_.empty() || y < rect_.GetTop() || y > rect_.GetBottom()) return;
  const std::int64_t row = std::int64_t{y} - rect_.GetTop();
  const std::int64_t first = std::int64_t{x} - rect_.GetLeft();
  const std::int64_t begin = std::max<std::int64_t>(first, 0);
  const std::int64_t end = std::min(first + std::ssize(scores), columns_);
  if (begin >= end) return;
  std::copy_n(scores.begin() + (begin - first), end - begin, scores_.begin() + (row * columns_ + begin));
}

void SubPixelScoreMap::Reset(const DoubleRect& rect, double stepX, double stepY) {
  rect_ = rect.UnMirror();
  stepX_ = stepX;
  stepY_ = stepY;
  columns_ = 0;
  rows_ = 0;
  const double lastColumn = GridIndex(rect_.GetWidth(), stepX);
  const double lastRow = GridIndex(rect_.GetHeight(), stepY);
  const bool hasGrid = rect_.IsValid() && lastColumn >= 0 && lastRow >= 0;
  Allocate(scores_, hasGrid ? lastColumn + 1 : 0, hasGrid ? lastRow + 1 : 0);
  if (!hasGrid) return;
  columns_ = static_cast<std::int64_t>(lastColumn) + 1;
  rows_ = static_cast<std::int64_t>(lastRow) + 1;
}

void SubPixelScoreMap::Store(double x, double y, double score) {
  const double column = GridIndex(x - rect_.GetLeft(), stepX_);
  const double row = GridIndex(y - rect_.GetTop(), stepY_);
  const bool isInside =
      column >= 0 && column < static_cast<double>(columns_) && row >= 0 && row < static_cast<double>(rows_);
  if (!isInside) return;
  scores_[static_cast<std::size_t>(static_cast<std::int64_t>(row) * columns_ +
                                   static_cast<std::int64_t>(column))] = score;
}

void SubPixelScoreMap::SetFractions(double fracX, double fracY) {
  fracX_ = fracX;
  fracY_ = fracY;
}

}  // namespace kv_img
