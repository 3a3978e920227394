#pragma once

#include <cmath>
#include <cstddef>
#include <list>
#include <map>
#include <utility>
#include <vector>

/// The scan-line preparation, step by step as its rule is written.
namespace kv_model {

struct ScanLineModel {
  struct Edge {
    int lastRow;
    double x;
    double inverseSlope;
    std::size_t index;
  };

  std::vector<double> y;  ///< clamped and nudged
  std::map<int, std::vector<std::pair<std::size_t, double>>>
      visited;  ///< by row: edges with their x, in list order

  ScanLineModel(const std::vector<double>& xs, const std::vector<double>& ys, int top, int bottom) : y(ys) {
    const std::size_t n = ys.size();
    const float limit = static_cast<float>(bottom) - 0.01f;
    for (double& value : y) value = std::fmax(top, std::fmin(value, static_cast<double>(limit)));
    for (std::size_t i = 0; i < n; ++i) {
      const std::size_t j = (i + 1) % n;
      const bool onBoundaryI = y[i] == std::floor(y[i]);
      const bool onBoundaryJ = y[j] == std::floor(y[j]);
      if (std::floor(y[i]) != std::floor(y[j])) continue;
      if (onBoundaryI && !onBoundaryJ) y[i] += 0.0010000000474974513;
      if (!onBoundaryI && onBoundaryJ) y[j] += 0.0010000000474974513;
    }
    if (bottom < top) return;
    std::vector<std::vector<Edge>> buckets(static_cast<std::size_t>(bottom - top + 1));
    for (std::size_t i = 0; i < n; ++i) {
      const std::size_t j = (i + 1) % n;
      if (std::floor(y[i]) == std::floor(y[j])) continue;
      const std::size_t u = y[i] < y[j] ? i : j;
      const std::size_t l = y[i] < y[j] ? j : i;
      const double slope = (xs[l] - xs[u]) / (y[l] - y[u]);
      const double start = std::floor(y[u]);
      buckets[static_cast<std::size_t>(start) - static_cast<std::size_t>(top)].push_back(
          {static_cast<int>(std::floor(y[l])), xs[u] + (start - y[u]) * slope, slope, i});
    }
    int row = top;
    while (row <= bottom && buckets[static_cast<std::size_t>(row - top)].empty()) ++row;
    std::list<Edge> active;
    for (; row <= bottom; ++row) {
      active.remove_if([row](const Edge& edge) { return edge.lastRow < row; });
      for (const Edge& edge : buckets[static_cast<std::size_t>(row - top)]) active.push_back(edge);
      if (active.empty()) break;
      for (Edge& edge : active) {
        visited[row].emplace_back(edge.index, edge.x);
        edge.x += edge.inverseSlope;
      }
    }
  }
};

}  // namespace kv_model
