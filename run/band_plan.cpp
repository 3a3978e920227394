#include "run/band_plan.h"

#include <algorithm>
#include <limits>

namespace kv_run {

BandPlan::BandPlan(const WorkerPool& pool, const CallOptions& options, const CallExtent& extent,
                   double nanosecondsPerPixel)
    : rows(std::max(extent.rows, 1)) {
  constexpr double slice = 5e6;
  constexpr double divisible = 2e5;
  constexpr int shares = 4;
  // Bands are found in 32 bits.
  const int mostBands = std::min(rows, std::numeric_limits<std::int32_t>::max() / rows - 1);
  int most = pool.ThreadCount();
  if (options.threads > 0) most = std::min(most, options.threads);
  most = std::clamp(most, 1, std::max(mostBands, 1));

  const double nanoseconds = extent.Pixels() * nanosecondsPerPixel;
  const auto grain = static_cast<double>(pool.Options().grain.count());
  threads =
      grain > 0 ? static_cast<int>(std::clamp(nanoseconds / grain, 1.0, static_cast<double>(most))) : most;
  bands = threads;
  if (threads > 1 && nanoseconds / threads > divisible) bands *= shares;
  const double slices = std::min(nanoseconds / slice + 1, static_cast<double>(mostBands));
  bands = std::clamp(std::max(bands, static_cast<int>(slices)), 1, std::max(mostBands, 1));
}

}  // namespace kv_run
