#pragma once

#include <optional>
#include <vector>

#include "host/engine.h"
#include "host/formats/raster.h"

namespace kv_host {

/// A score map of either search, as a table of positions.
struct Surface {
  double left = 0;
  double top = 0;
  double stepX = 1;
  double stepY = 1;
  std::size_t columns = 0;
  std::vector<double> scores;

  std::size_t Rows() const { return columns == 0 ? 0 : scores.size() / columns; }
};

/// Where the feature was found.
struct Match {
  double x = 0;
  double y = 0;
  double score = 0;
  Surface surface;
};

/// A feature of one picture, and where to search for it in another.
struct FeatureSearch {
  std::vector<int> at;      ///< Centre of the feature: x, y.
  std::vector<int> half;    ///< Half-sizes of the part that is compared.
  std::vector<int> range;   ///< How far to search from the centre.
  std::vector<int> around;  ///< Centre of the search.
  std::optional<double> subpixel;
  int levels = 1;
};

/// Searches `second` for the feature of `first`; empty when no position is inside `second`. Throws
/// NoMemberError when no member can.
std::optional<Match> Search(const Raster& first, const Raster& second, const FeatureSearch& request,
                            const Engine& with);

}  // namespace kv_host
