#include <algorithm>
#include <cmath>

#include "capi/context.h"
#include "capi/search.h"
#include "capi/view.h"

namespace kv_capi {
namespace {

using kv_img::Image;
using kv_img::maxImageSide;

constexpr double farthest = 1 << 24;

void CheckOptions(const kv_find_options* options, const Frame& reference, bool isWhole) {
  CheckStruct("options", options, "kv_find_options_init");
  CheckReserved("options",
                options->reserved32 == 0 && options->reserved32b == 0 && AreZero(options->reserved));
  CheckNumber("options->x", options->x, 0, reference.width - 1);
  CheckNumber("options->y", options->y, 0, reference.height - 1);
  CheckNumber("options->around_x", options->around_x, -farthest, farthest);
  CheckNumber("options->around_y", options->around_y, -farthest, farthest);
  CheckRange("options->half_width", options->half_width, 0, maxImageSide);
  CheckRange("options->half_height", options->half_height, 0, maxImageSide);
  CheckNumber("options->range_x", options->range_x, 0, maxImageSide);
  CheckNumber("options->range_y", options->range_y, 0, maxImageSide);
  if (isWhole) {
    for (const auto& [name, value] :
         {std::pair{"x", options->x}, std::pair{"y", options->y}, std::pair{"around_x", options->around_x},
          std::pair{"around_y", options->around_y}, std::pair{"range_x", options->range_x},
          std::pair{"range_y", options->range_y}}) {
      if (std::floor(value) != value) {
        Fail(KV_BAD_ARGUMENT, "options->%s is %g; kv_find takes whole numbers, kv_find_subpixel others", name,
             value);
      }
    }
  } else {
    constexpr double smallest = 1.0 / 1024;
    CheckNumber("options->step_x", options->step_x, smallest, 1);
    CheckNumber("options->step_y", options->step_y, smallest, 1);
    constexpr int mostLevels = 16;
    CheckRange("options->levels", options->levels, 1, mostLevels);
  }
  if (options->map == nullptr) return;
  CheckStruct("options->map", options->map, "kv_score_map_init");
  CheckReserved("options->map", options->map->reserved32 == 0 && AreZero(options->map->reserved));
  if (options->map->capacity > 0) CheckPointer("options->map->scores", options->map->scores, alignof(double));
}

Template TemplateOf(const Frame& reference, const kv_find_options& options) {
  const int x = static_cast<int>(std::floor(options.x));
  const int y = static_cast<int>(std::floor(options.y));
  Template part;
  part.left = std::max(x - options.half_width, 0);
  part.top = std::max(y - options.half_height, 0);
  part.width = std::min(x + options.half_width, reference.width - 1) - part.left + 1;
  part.height = std::min(y + options.half_height, reference.height - 1) - part.top + 1;
  part.offsetX = x - part.left;
  part.offsetY = y - part.top;
  return part;
}

void CheckFits(const Frame& searched, const Template& part, int more) {
  if (searched.width >= part.width + more && searched.height >= part.height + more) return;
  Fail(KV_SIZE_MISMATCH, "searched is %dx%d; with a template of %dx%d it must be at least %dx%d",
       searched.width, searched.height, part.width, part.height, part.width + more, part.height + more);
}

template <class PixelClass>
kv_match Search(const Call& call, const Frame& reference, const Frame& searched,
                const kv_find_options& options, bool isWhole) {
  using Interface = kv_img::FeatureFindAlgorithmInterface<Image<PixelClass>>;
  const auto& operation = call.Find<Interface>("FeatureFind", {PixelClass::ClassID});
  const Template part = TemplateOf(reference, options);
  CheckFits(searched, part, isWhole ? 2 : 3);
  const View<PixelClass> from(reference);
  const View<PixelClass> in(searched);
  const SearchCall<PixelClass> search{call, operation, *from, *in, options, part};
  return isWhole ? search.Whole() : search.Between();
}

kv_status Find(kv_context* context, const kv_frame* reference, const kv_frame* searched,
               const kv_find_options* options, kv_match* match, const kv_call* call, bool isWhole) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame from = CheckFrame("reference", reference);
    const Frame in = CheckFrame("searched", searched);
    if (from.format->storage != Storage::Bitmap)
      CheckStorage(from, Storage::Packed, "UYVY, YUY2 or a bitmap of 24 or 32 bits");
    CheckSameFormat(from, in);
    CheckOptions(options, from, isWhole);
    CheckStruct("match", match, "kv_match_init");
    CheckReserved("match", AreZero(match->reserved));
    if (from.format->storage == Storage::Packed) {
      *match = Search<Packed>(with, from, in, *options, isWhole);
    } else if (from.format->pixelBytes == 3) {
      *match = Search<Bitmap24>(with, from, in, *options, isWhole);
    } else {
      *match = Search<Bitmap32>(with, from, in, *options, isWhole);
    }
  });
}

}  // namespace
}  // namespace kv_capi

using namespace kv_capi;

void kv_score_map_init(kv_score_map* map) {
  if (map == nullptr) return;
  *map = {};
  map->struct_size = sizeof *map;
}

void kv_find_options_init(kv_find_options* options) {
  if (options == nullptr) return;
  *options = {};
  options->struct_size = sizeof *options;
  options->half_width = options->half_height = 8;
  options->range_x = options->range_y = 16;
  options->step_x = options->step_y = 0.5;
  options->levels = 1;
}

void kv_match_init(kv_match* match) {
  if (match == nullptr) return;
  *match = {};
  match->struct_size = sizeof *match;
}

kv_status kv_find(kv_context* context, const kv_frame* reference, const kv_frame* searched,
                  const kv_find_options* options, kv_match* match, const kv_call* call) {
  return Find(context, reference, searched, options, match, call, true);
}

kv_status kv_find_subpixel(kv_context* context, const kv_frame* reference, const kv_frame* searched,
                           const kv_find_options* options, kv_match* match, const kv_call* call) {
  return Find(context, reference, searched, options, match, call, false);
}
