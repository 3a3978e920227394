#pragma once

#include <memory>
#include <vector>

#include "capi/context.h"
#include "capi/region.h"
#include "capi/view.h"

namespace kv_capi {

/// Calls `work` with the bands of a region, one for each task of a call.
template <class Work>
void ForEachBandOfRegion(const Call& call, CallRegion& region, Work work) {
  const int rows = region.Rows();
  const kv_img::RunRegion& runs = region.Runs();
  const int tasks = call.TasksFor(region.Pixels(), rows);
  call.ForEachTask(tasks, [&](int index) {
    const RowsOfTask band = RowsOf(rows, tasks, index);
    if (band.count == 0) return;
    const int top = runs.GetTop() + band.first;
    std::vector<int> firsts;
    std::vector<int> lasts;
    firsts.reserve(static_cast<std::size_t>(band.count));
    lasts.reserve(static_cast<std::size_t>(band.count));
    for (int row = top; row < top + band.count; ++row) {
      firsts.push_back(runs.GetLeft(row));
      lasts.push_back(runs.GetRight(row));
    }
    work(kv_img::RunRegion(top, std::move(firsts), std::move(lasts)));
  });
}

/// A mask of the caller's as the shared pointer that operations ask for.
inline std::shared_ptr<kv_img::Image<Grey>> Unowned(kv_img::Image<Grey>& mask) {
  return {std::shared_ptr<void>(), &mask};
}

/// The mask of two frames by their colours, before smoothing. The rule reads up to five bytes past a row's last
/// pixel; a run that ends there has its last pixels done in scratch, where those bytes are 0.
void FillColorMask(const Call& call, const Frame& a, const Frame& b, CallRegion& region,
                   kv_img::Image<Grey>& mask);

}  // namespace kv_capi
