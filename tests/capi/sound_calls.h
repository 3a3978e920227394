#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/capi/door_fixture.h"

/// Sound calls of every function, for tests to spoil.
namespace kv_test {

inline constexpr int soundWidth = 24;
inline constexpr int soundHeight = 16;

/// Sound arguments of all functions; a wrong call spoils one.
struct Arguments {
  Context owned = MakeContext();
  kv_context* context = owned.get();
  GuardedFrame memory[6];
  kv_frame* frames[4] = {};
  kv_call call_ = {};
  kv_call* call = &call_;
  Region outside = Rectangle(20, 0, 5, 1);
  Region small = Rectangle(0, 0, 4, 4);
  kv_region* region = nullptr;
  kv_region* other = nullptr;
  int window = 3;
  int gain = 1;
  int method = KV_PARITY_BLEND;
  int threshold = 3;
  kv_stats stats_ = {};
  kv_stats* stats = &stats_;
  kv_levels_options levels_ = {};
  kv_levels_options* levels = &levels_;
  kv_convert_options convert_ = {};
  kv_convert_options* convert = &convert_;
  kv_pan_options pan_ = {};
  kv_pan_options* pan = &pan_;
  kv_find_options find_ = {};
  kv_find_options* find = &find_;
  kv_score_map map = {};
  kv_match match_ = {};
  kv_match* match = &match_;
  double scores[4] = {};
  double point[2] = {10, 8};
  kv_track_options track_ = {};
  kv_track_options* track = &track_;

  explicit Arguments(int width = soundWidth, int height = soundHeight)
      : memory{{KV_FORMAT_UYVY, width, height, Placement::EndOfPage},
               {KV_FORMAT_UYVY, width, height, Placement::EndOfPage},
               {KV_FORMAT_UYVY, width, height, Placement::EndOfPage},
               {KV_FORMAT_GRAY8, width, height, Placement::EndOfPage},
               {KV_FORMAT_GRAY8, width, height, Placement::EndOfPage},
               {KV_FORMAT_GRAY8, width, height, Placement::EndOfPage}} {
    kv_call_init(&call_);
    kv_stats_init(&stats_);
    kv_levels_options_init(&levels_);
    kv_convert_options_init(&convert_);
    kv_pan_options_init(&pan_);
    kv_find_options_init(&find_);
    find_.x = find_.around_x = 10;
    find_.y = find_.around_y = 8;
    find_.half_width = find_.half_height = 3;
    kv_score_map_init(&map);
    kv_match_init(&match_);
    kv_track_options_init(&track_);
    track_.half_width = track_.half_height = 3;
  }

  /// A track of one frame.
  kv_status Track() {
    kv_track* made = nullptr;
    kv_status status = kv_track_new(point, 1, track, &made);
    if (status == KV_OK) status = kv_track_next(context, made, frames[0], match, 1, call);
    kv_track_free(made);
    return status;
  }
};

/// A function, the names of its frames and their kinds (p packed, g grey), destination last where it has one.
struct Function {
  const char* name;
  std::vector<const char*> frames;
  const char* kinds;
  std::function<kv_status(Arguments&)> call;
};

inline const std::vector<Function>& Functions() {
  static const std::vector<Function> functions = {
      {"kv_convert",
       {"source", "destination"},
       "pp",
       [](Arguments& a) { return kv_convert(a.context, a.frames[0], a.frames[1], a.convert, a.call); }},
      {"kv_copy",
       {"source", "destination"},
       "pp",
       [](Arguments& a) { return kv_copy(a.context, a.frames[0], a.frames[1], a.call); }},
      {"kv_copy_region",
       {"source", "destination"},
       "pp",
       [](Arguments& a) {
         return kv_copy_region(a.context, a.frames[0], a.region, a.frames[1], a.other, a.call);
       }},
      {"kv_difference",
       {"first", "second", "destination"},
       "ppg",
       [](Arguments& a) {
         return kv_difference(a.context, a.frames[0], a.frames[1], a.frames[2], a.region, a.call);
       }},
      {"kv_difference_stats",
       {"first", "second"},
       "pp",
       [](Arguments& a) {
         return kv_difference_stats(a.context, a.frames[0], a.frames[1], a.region, a.threshold, a.stats,
                                    a.call);
       }},
      {"kv_average",
       {"first", "second", "destination"},
       "ggg",
       [](Arguments& a) {
         return kv_average(a.context, a.frames[0], a.other, a.frames[1], nullptr, a.frames[2], a.region,
                           a.call);
       }},
      {"kv_box_filter",
       {"source", "destination"},
       "gg",
       [](Arguments& a) {
         return kv_box_filter(a.context, a.frames[0], a.frames[1], a.region, a.window, a.call);
       }},
      {"kv_blend",
       {"foreground", "background", "mask", "destination"},
       "ppgp",
       [](Arguments& a) {
         return kv_blend(a.context, a.frames[0], a.frames[1], a.frames[2], a.frames[3], a.region, a.call);
       }},
      {"kv_alpha_from_color",
       {"first", "second", "destination"},
       "ppg",
       [](Arguments& a) {
         return kv_alpha_from_color(a.context, a.frames[0], a.frames[1], a.frames[2], a.region, a.window,
                                    a.call);
       }},
      {"kv_alpha_from_difference",
       {"first", "second", "destination"},
       "ggg",
       [](Arguments& a) {
         return kv_alpha_from_difference(a.context, a.frames[0], a.frames[1], a.frames[2], a.region, a.gain,
                                         a.window, a.call);
       }},
      {"kv_mask_levels",
       {"source", "destination"},
       "gg",
       [](Arguments& a) {
         return kv_mask_levels(a.context, a.frames[0], a.frames[1], a.region, a.levels, a.call);
       }},
      {"kv_composite",
       {"foreground", "background", "mask", "destination"},
       "ppgp",
       [](Arguments& a) {
         return kv_composite(a.context, a.frames[0], a.frames[1], a.frames[2], a.frames[3], a.region, a.call);
       }},
      {"kv_change_parity",
       {"source", "destination"},
       "pp",
       [](Arguments& a) {
         return kv_change_parity(a.context, a.frames[0], a.frames[1], a.region, a.method, a.call);
       }},
      {"kv_pan",
       {"source", "destination"},
       "pp",
       [](Arguments& a) {
         return kv_pan(a.context, a.frames[0], a.region, a.frames[1], a.other, a.pan, a.call);
       }},
      {"kv_find",
       {"reference", "searched"},
       "pp",
       [](Arguments& a) { return kv_find(a.context, a.frames[0], a.frames[1], a.find, a.match, a.call); }},
      {"kv_find_subpixel",
       {"reference", "searched"},
       "pp",
       [](Arguments& a) {
         return kv_find_subpixel(a.context, a.frames[0], a.frames[1], a.find, a.match, a.call);
       }},
      {"kv_track_next", {"frame"}, "p", [](Arguments& a) { return a.Track(); }}};
  return functions;
}

inline Arguments& ArgumentsFor(const Function& function, Arguments& arguments) {
  int packed = 0;
  int grey = 3;
  for (std::size_t i = 0; i < function.frames.size(); ++i) {
    arguments.frames[i] = arguments.memory[function.kinds[i] == 'p' ? packed++ : grey++].Get();
  }
  return arguments;
}

inline void ExpectFailure(kv_status status, kv_status expected, const std::string& text,
                          const std::string& what) {
  EXPECT_EQ(status, expected) << what;
  EXPECT_NE(std::string(kv_last_error()).find(text), std::string::npos)
      << what << ": \"" << kv_last_error() << "\" does not say \"" << text << '"';
}

}  // namespace kv_test
