// The operations of the C interface with random structs over memory that is exactly as long as they say: whatever is accepted
// stays inside it, whatever is refused has a text.

#include <memory>
#include <vector>

#include "fuzz/capi_input.h"
#include "tests/support/member.h"

namespace {

using kv_fuzz::Frame;
using kv_fuzz::Input;

struct RegionDeleter {
  void operator()(kv_region* region) const { kv_region_free(region); }
};
using Region = std::unique_ptr<kv_region, RegionDeleter>;

Region AnyRegion(Input& input) {
  kv_region* region = nullptr;
  const int kind = input.Number(0, 4);
  if (kind == 1) {
    kv_region_rectangle(input.Number(-2, 20), input.Number(-2, 20), input.Number(0, 40), input.Number(0, 40),
                        &region);
  } else if (kind == 2) {
    std::int32_t firsts[16];
    std::int32_t lasts[16];
    for (int i = 0; i < 16; ++i) {
      firsts[i] = input.Number(-1, 40);
      lasts[i] = firsts[i] + input.Number(-2, 40);
      input.MaySpoil(lasts[i]);
    }
    kv_region_runs(input.Number(-2, 10), input.Number(0, 16), firsts, lasts, &region);
  } else if (kind == 3) {
    double points[12];
    for (double& value : points) {
      value = input.Number(-10, 500) / 8.0;
      input.MaySpoil(value);
    }
    kv_region_polygon(points, static_cast<std::size_t>(input.Number(0, 6)), &region);
  }
  return Region(region);
}

/// One context for all inputs: what calls leave in it must not matter.
kv_context* TheContext() {
  static kv_context* const context = [] {
    kv_context_options options;
    kv_context_options_init(&options);
    options.threads = 2;
    kv_context* made = nullptr;
    kv_context_new(&options, &made);
    return made;
  }();
  return context;
}

/// A track through all frames.
kv_status Track(Input& input, kv_context* context, kv_frame* (&frames)[4], kv_call* call) {
  kv_track_options options;
  kv_track_options_init(&options);
  for (int32_t* value : {&options.half_width, &options.half_height, &options.range_x, &options.range_y})
    *value = input.Number(-1, 12);
  options.update = input.Number(0, 3);
  options.max_score = input.Number(0, 40);
  input.MaySpoil(options.range_x);
  input.MaySpoil(options.levels);
  input.MaySpoil(options.update_score);
  double points[4];
  for (double& value : points) {
    value = input.Number(-1, 160) / 4.0;
    input.MaySpoil(value);
  }
  kv_track* track = nullptr;
  const auto count = static_cast<std::size_t>(input.Number(0, 2));
  kv_status status = kv_track_new(points, count, input.MayBeNull(options), &track);
  if (status != KV_OK) return status;
  for (kv_frame* frame : frames) {
    kv_match matches[2];
    for (kv_match& match : matches) kv_match_init(&match);
    if (frame != nullptr) input.MaySpoil(frame->field_order);
    status = kv_track_next(context, track, frame, matches, count, call);
  }
  kv_track_free(track);
  return status;
}

kv_status CallOne(Input& input, kv_frame* (&frames)[4], kv_call* call) {
  kv_context* context = TheContext();
  const Region one = AnyRegion(input);
  const Region other = AnyRegion(input);
  const int window = input.Number(-1, 20);
  kv_pan_options pan;
  kv_pan_options_init(&pan);
  pan.direction = 1 << input.Number(0, 4);
  pan.steps = input.Number(0, 6);
  pan.step = input.Number(-1, 6);
  pan.half_line = input.Number(0, 1);
  input.MaySpoil(pan.steps);
  double scores[64];
  kv_score_map map;
  kv_score_map_init(&map);
  map.scores = scores;
  map.capacity = static_cast<std::size_t>(input.Number(0, 64));
  kv_find_options find;
  kv_find_options_init(&find);
  for (double* value : {&find.x, &find.y, &find.around_x, &find.around_y, &find.range_x, &find.range_y}) {
    *value = input.Number(-1, 40);
    input.MaySpoil(*value);
  }
  find.half_width = input.Number(-1, 12);
  find.half_height = input.Number(-1, 12);
  input.MaySpoil(find.half_width);
  for (double* value : {&find.step_x, &find.step_y}) *value = input.Number(1, 8) / 8.0;
  find.levels = input.Number(0, 3);
  if (input.Number(0, 3) == 0) find.map = input.MayBeNull(map);
  kv_match match;
  kv_match_init(&match);
  input.MaySpoil(match.struct_size);
  kv_convert_options convert;
  kv_convert_options_init(&convert);
  convert.resample = input.Number(0, 1);
  input.MaySpoil(convert.resample);
  kv_levels_options levels;
  kv_levels_options_init(&levels);
  levels.low = input.Number(-1, 255);
  levels.high = input.Number(0, 256);
  levels.gamma = input.Number(0, 90) / 8.0;
  input.MaySpoil(levels.gamma);
  input.MaySpoil(levels.is_inverted);
  kv_stats stats;
  kv_stats_init(&stats);
  input.MaySpoil(stats.struct_size);
  auto& f = frames;
  switch (input.Number(0, 16)) {
    case 0:
      return kv_convert(context, f[0], f[1], input.MayBeNull(convert), call);
    case 1:
      return kv_copy(context, f[0], f[1], call);
    case 2:
      return kv_copy_region(context, f[0], one.get(), f[1], other.get(), call);
    case 3:
      return kv_difference(context, f[0], f[1], f[2], one.get(), call);
    case 4:
      return kv_average(context, f[0], one.get(), f[1], other.get(), f[2], nullptr, call);
    case 5:
      return kv_box_filter(context, f[0], f[1], one.get(), window, call);
    case 6:
      return kv_blend(context, f[0], f[1], f[2], f[3], one.get(), call);
    case 7:
      return kv_alpha_from_color(context, f[0], f[1], f[2], one.get(), window, call);
    case 8:
      return kv_alpha_from_difference(context, f[0], f[1], f[2], one.get(), window, 1 + input.Number(0, 5),
                                      call);
    case 9:
      return kv_change_parity(context, f[0], f[1], one.get(), input.Number(-1, 3), call);
    case 10:
      return kv_pan(context, f[0], one.get(), f[1], other.get(), &pan, call);
    case 11:
      return kv_mask_levels(context, f[0], f[1], one.get(), input.MayBeNull(levels), call);
    case 12:
      return kv_composite(context, f[0], f[1], f[2], f[3], one.get(), call);
    case 13:
      return kv_difference_stats(context, f[0], f[1], one.get(), input.Number(-1, 256),
                                 input.MayBeNull(stats), call);
    case 14:
      return kv_find(context, f[0], f[1], input.MayBeNull(find), input.MayBeNull(match), call);
    case 15:
      return Track(input, context, f, call);
    default:
      return kv_find_subpixel(context, f[0], f[1], input.MayBeNull(find), input.MayBeNull(match), call);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // The fuzzer reads the counters of every module that was ever loaded: members stay.
  static_cast<void>(kv_test::Members());
  Input input(data, size);
  const int width = input.Number(1, 40);
  const int height = input.Number(1, 20);
  const int formats[] = {input.Number(1, 15), input.Number(1, 15), input.Number(1, 15), input.Number(1, 15)};
  // Most calls take frames of one kind, and of one size.
  const bool isUniform = input.Number(0, 3) != 0;
  std::vector<std::unique_ptr<Frame>> owned;
  kv_frame* frames[4];
  for (int i = 0; i < 4; ++i) {
    const int format = isUniform && i > 0 && input.Number(0, 2) != 0 ? formats[0] : formats[i];
    const bool isOther = input.Number(0, 15) == 0;
    owned.push_back(std::make_unique<Frame>(input, isOther ? input.Number(1, 40) : width, height, format));
    frames[i] = input.MayBeNull(owned.back()->view);
    // Now and then in place.
    if (i > 0 && input.Number(0, 15) == 0) frames[i] = frames[0];
  }
  kv_call call;
  kv_call_init(&call);
  call.threads = input.Number(0, 2);
  input.MaySpoil(call.reserved[0]);
  kv_fuzz::RequireAnswer(CallOne(input, frames, input.Number(0, 1) != 0 ? nullptr : &call));
  return 0;
}
