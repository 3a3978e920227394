#include "algorithms/fillpoly/scan_line.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kv_img::fillpoly {
namespace {

constexpr float clearance = 0.01F;
constexpr double nudge = 0.001F;

int RowOf(double y) {
  constexpr double least = std::numeric_limits<int>::min();
  constexpr double greatest = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(std::floor(y), least, greatest));
}

}  // namespace

void ClampRows(kv_math::Polygon2& polygon, int top, int bottom) {
  const double limit = static_cast<float>(bottom) - clearance;
  for (std::size_t i = 0; i < polygon.GetNbrOfVertices(); ++i) {
    double& y = polygon[i].y;
    y = y < limit ? y : limit;  // a NaN becomes the limit
    y = std::max(static_cast<double>(top), y);
  }
}

void NudgeOffRowStarts(kv_math::Polygon2& polygon) {
  const std::size_t n = polygon.GetNbrOfVertices();
  for (std::size_t i = 0; i < n; ++i) {
    double& y = polygon[i].y;
    double& next = polygon[(i + 1) % n].y;
    const double row = std::floor(y);
    if (row != std::floor(next)) continue;
    if (y == row && next != row) {
      y += nudge;
    } else if (y != row && next == row) {
      next += nudge;
    }
  }
}

std::vector<ScanEdge> MakeEdges(const kv_math::Polygon2& polygon) {
  const std::size_t n = polygon.GetNbrOfVertices();
  std::vector<ScanEdge> edges(n);
  for (std::size_t i = 0; i < n; ++i) {
    const kv_math::Vector2& a = polygon[i];
    const kv_math::Vector2& b = polygon[(i + 1) % n];
    const kv_math::Vector2& upper = a.y < b.y ? a : b;
    const kv_math::Vector2& lower = a.y < b.y ? b : a;
    ScanEdge& edge = edges[i];
    edge.firstRow = RowOf(upper.y);
    edge.lastRow = RowOf(lower.y);
    edge.horizontal = edge.firstRow == edge.lastRow;
    if (edge.horizontal) continue;
    edge.inverseSlope = (lower.x - upper.x) / (lower.y - upper.y);
    edge.x = upper.x + (edge.firstRow - upper.y) * edge.inverseSlope;
  }
  return edges;
}

ScanLineWalk::ScanLineWalk(const kv_math::Polygon2& polygon, int top, int bottom)
    : polygon_(polygon), bottom_(bottom) {
  ClampRows(polygon_, top, bottom);
  NudgeOffRowStarts(polygon_);
  edges_ = MakeEdges(polygon_);
  for (std::size_t i = 0; i < edges_.size(); ++i) {
    if (!edges_[i].horizontal) byFirstRow_.push_back(i);
  }
  std::sort(byFirstRow_.begin(), byFirstRow_.end(), [this](std::size_t a, std::size_t b) {
    return edges_[a].firstRow != edges_[b].firstRow ? edges_[a].firstRow < edges_[b].firstRow : a < b;
  });
}

bool ScanLineWalk::NextRow() {
  if (started_ ? active_.empty() || row_ >= bottom_ : byFirstRow_.empty()) {
    active_.clear();
    return false;
  }
  row_ = started_ ? row_ + 1 : edges_[byFirstRow_.front()].firstRow;
  started_ = true;
  // From 2^24 rows on the single-precision limit may be below the last row.
  if (row_ > bottom_) return false;

  std::erase_if(active_, [this](const ActiveEdge& edge) { return edges_[edge.index].lastRow < row_; });
  for (; nextInBuckets_ < byFirstRow_.size(); ++nextInBuckets_) {
    const std::size_t index = byFirstRow_[nextInBuckets_];
    if (edges_[index].firstRow != row_) break;
    active_.push_back({0.0, index});
  }
  for (ActiveEdge& edge : active_) {
    const ScanEdge& record = edges_[edge.index];
    edge.x = record.x + (static_cast<double>(row_) - record.firstRow) * record.inverseSlope;
  }
  return !active_.empty();
}

}  // namespace kv_img::fillpoly
