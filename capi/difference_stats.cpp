#include "run/difference_stats.h"

#include <vector>

#include "capi/context.h"
#include "capi/region.h"

using namespace kv_capi;

namespace kv_capi {
namespace {

Frame CheckLuma(const char* name, const kv_frame* frame) {
  const Frame checked = CheckFrame(name, frame);
  const Storage storage = checked.format->storage;
  const bool hasLuma = storage == Storage::Packed || storage == Storage::Planar;
  CheckStorage(checked, hasLuma ? storage : Storage::Grey, "UYVY, YUY2, YUV411P, I422 or GRAY8");
  return checked;
}

}  // namespace
}  // namespace kv_capi

void kv_stats_init(kv_stats* stats) {
  if (stats == nullptr) return;
  *stats = {};
  stats->struct_size = sizeof(*stats);
}

kv_status kv_difference_stats(kv_context* context, const kv_frame* first, const kv_frame* second,
                              const kv_region* region, int32_t threshold, kv_stats* stats,
                              const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame a = CheckLuma("first", first);
    const Frame b = CheckLuma("second", second);
    CheckSameSize(a, b);
    CheckSameFormat(a, b);
    const CallRegion where("region", region, a);
    CheckRange("threshold", threshold, 0, 255);
    CheckStruct("stats", stats, "kv_stats_init");
    CheckReserved("stats", AreZero(stats->reserved));
    const std::size_t step = IsPacked(*a.format) ? 2 : 1;
    const std::size_t offset = a.format->code == KV_FORMAT_UYVY ? 1 : 0;
    const int rows = where.Rows();
    const int tasks = with.TasksFor(where.Pixels(), rows);
    std::vector<kv_run::DifferenceStats> parts(static_cast<std::size_t>(tasks));
    with.ForEachTask(tasks, [&](int index) {
      const RowsOfTask band = RowsOf(rows, tasks, index);
      const int top = where->GetTop() + band.first;
      for (int y = top; y < top + band.count; ++y) {
        const int width = where->GetRight(y) - where->GetLeft(y) + 1;
        if (width <= 0) continue;
        const std::size_t at = offset + step * static_cast<std::size_t>(where->GetLeft(y));
        parts[static_cast<std::size_t>(index)] += kv_run::Measure(
            a.Row(0, y) + at, b.Row(0, y) + at, static_cast<std::size_t>(width), step, threshold);
      }
    });
    kv_run::DifferenceStats all;
    for (const kv_run::DifferenceStats& part : parts) all += part;
    stats->maximum = all.maximum;
    stats->samples = static_cast<std::int64_t>(all.samples);
    stats->mean = all.Mean();
    stats->psnr = all.Psnr();
    stats->share = all.Share();
  });
}
