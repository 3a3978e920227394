#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/engine.h"
#include "host/formats/raster.h"
#include "host/session.h"
#include "image/run_region.h"
#include "run/difference_stats.h"

namespace kv_host {

/// How the luma of two packed 4:2:2 pictures, luma first and of one size, differs inside a region.
kv_run::DifferenceStats StatsOf(const Raster& first, const Raster& second, const kv_img::RunRegion& where,
                                int threshold, const Engine& with);

/// The rows of `kv diff --stats`, printed one by one, and the verdict.
class DifferenceTable {
 public:
  /// `isShown`: a person asked for the rows. `failAbove`: of the mean, if anything.
  DifferenceTable(Session& session, bool isShown, std::optional<double> failAbove);

  void Add(std::int64_t frame, const kv_run::DifferenceStats& stats);
  /// Makes the result, and the failure when a frame of `name` was above the limit.
  void Judge(const std::string& name);

 private:
  Session& session_;
  bool isShown_;
  std::optional<double> failAbove_;
  kv_run::DifferenceStats all_;
  std::int64_t frames_ = 0;
  std::int64_t failed_ = 0;
  std::int64_t firstFailed_ = 0;
  double firstMean_ = 0;
};

}  // namespace kv_host
