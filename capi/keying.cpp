#include <algorithm>

#include "capi/context.h"
#include "capi/region.h"
#include "run/composition.h"
#include "run/mask_levels.h"

namespace kv_capi {
namespace {

constexpr const char* keyedFormats = "UYVY, YUY2, YUV411P or I422";

/// Calls `work(y, left, width)` for the pixels of a region in each row that has some.
template <class Work>
void ForEachRun(const Call& call, const CallRegion& region, Work work) {
  const int rows = region.Rows();
  const int tasks = call.TasksFor(region.Pixels(), rows);
  call.ForEachTask(tasks, [&](int index) {
    const RowsOfTask band = RowsOf(rows, tasks, index);
    const int first = region->GetTop() + band.first;
    for (int y = first; y < first + band.count; ++y) {
      const int left = region->GetLeft(y);
      const int width = region->GetRight(y) - left + 1;
      if (width > 0) work(y, left, width);
    }
  });
}

kv_run::MaskLevels CheckLevels(const kv_levels_options* options) {
  if (options == nullptr) return {};
  CheckStruct("options", options, "kv_levels_options_init");
  CheckRange("options->low", options->low, 0, 254);
  CheckRange("options->high", options->high, options->low + 1, 255);
  CheckRange("options->is_inverted", options->is_inverted, 0, 1);
  CheckNumber("options->gamma", options->gamma, kv_run::leastGamma, kv_run::mostGamma);
  CheckReserved("options", AreZero(options->reserved));
  return {options->low, options->high, options->is_inverted != 0, options->gamma};
}

Frame CheckMask(const char* name, const kv_frame* frame) {
  const Frame checked = CheckFrame(name, frame);
  CheckStorage(checked, Storage::Grey, "GRAY8");
  return checked;
}

Frame CheckPicture(const char* name, const kv_frame* frame) {
  const Frame checked = CheckFrame(name, frame);
  const bool isPlanar = checked.format->storage == Storage::Planar;
  CheckStorage(checked, isPlanar ? Storage::Planar : Storage::Packed, keyedFormats);
  return checked;
}

/// Chroma is of pairs: a run may not end inside one, but with the row.
void CheckPairs(const CallRegion& region, int width) {
  for (int y = region->GetTop(); y <= region->GetBottom(); ++y) {
    const int left = region->GetLeft(y);
    const int right = region->GetRight(y);
    if (right < left || (left % 2 == 0 && (right % 2 != 0 || right == width - 1))) continue;
    Fail(KV_BAD_ARGUMENT, "region: row %d has columns %d to %d; kv_composite takes whole pairs", y, left,
         right);
  }
}

/// The pixels of a row, from an even column on.
void CompositeRun(const Frame& foreground, const Frame& background, const Frame& mask, const Frame& to, int y,
                  int left, int width) {
  const auto pixels = static_cast<std::size_t>(width);
  const std::uint8_t* weights = mask.Row(0, y) + left;
  if (IsPacked(*to.format)) {
    const std::ptrdiff_t at = 2 * std::ptrdiff_t{left};
    return kv_run::CompositePacked(foreground.Row(0, y) + at, background.Row(0, y) + at, weights,
                                   to.Row(0, y) + at, pixels, to.format->code == KV_FORMAT_YUY2);
  }
  kv_run::Composite(foreground.Row(0, y) + left, background.Row(0, y) + left, weights, to.Row(0, y) + left,
                    pixels);
  constexpr std::size_t step = 512;
  for (std::size_t x = 0; x < pixels; x += step) {
    const std::size_t count = std::min(step, pixels - x);
    std::uint8_t means[step / 2];
    kv_run::PairMeans(weights + x, count, means);
    const std::size_t at = (static_cast<std::size_t>(left) + x) / 2;
    for (int plane = 1; plane < 3; ++plane) {
      kv_run::Composite(foreground.Row(plane, y) + at, background.Row(plane, y) + at, means,
                        to.Row(plane, y) + at, (count + 1) / 2);
    }
  }
}

}  // namespace
}  // namespace kv_capi

using namespace kv_capi;

void kv_levels_options_init(kv_levels_options* options) {
  if (options == nullptr) return;
  *options = {};
  options->struct_size = sizeof(*options);
  options->high = 255;
  options->gamma = 1;
}

kv_status kv_mask_levels(kv_context* context, const kv_frame* source, kv_frame* destination,
                         const kv_region* region, const kv_levels_options* options, const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame from = CheckMask("source", source);
    const Frame to = CheckMask("destination", destination);
    CheckSameSize(from, to);
    CheckNoOverlapButInPlace(from, to);
    const CallRegion where("region", region, to);
    const kv_run::LevelTable table = kv_run::TableOf(CheckLevels(options));
    ForEachRun(with, where, [&](int y, int left, int width) {
      kv_run::MapLevels(table, from.Row(0, y) + left, to.Row(0, y) + left, static_cast<std::size_t>(width));
    });
  });
}

kv_status kv_composite(kv_context* context, const kv_frame* foreground, const kv_frame* background,
                       const kv_frame* mask, kv_frame* destination, const kv_region* region,
                       const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame over = CheckPicture("foreground", foreground);
    const Frame under = CheckPicture("background", background);
    const Frame weights = CheckMask("mask", mask);
    const Frame to = CheckPicture("destination", destination);
    CheckSameSize(over, under);
    CheckSameSize(over, weights);
    CheckSameSize(over, to);
    CheckSameFormat(over, under);
    CheckSameFormat(over, to);
    CheckNoOverlapButInPlace(over, to);
    CheckNoOverlapButInPlace(under, to);
    CheckNoOverlap(weights, to);
    const CallRegion where("region", region, to);
    CheckPairs(where, to.width);
    ForEachRun(with, where,
               [&](int y, int left, int width) { CompositeRun(over, under, weights, to, y, left, width); });
  });
}
