// Wrong arguments of single functions, of regions, contexts and the rest.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>

#include "tests/capi/sound_calls.h"

namespace kv_test {
namespace {

/// A fault of one function's own arguments.
struct Fault {
  const char* function;
  kv_status status;
  const char* text;
  std::function<void(Arguments&)> spoil;
};

TEST(WrongArguments, OwnArguments) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinite = std::numeric_limits<double>::infinity();
  const Fault faults[] = {
      {"kv_convert", KV_BAD_ARGUMENT, "options->struct_size",
       [](Arguments& a) { a.convert->struct_size = 1; }},
      {"kv_convert", KV_BAD_ARGUMENT, "options->resample is 2; 0 to 1",
       [](Arguments& a) { a.convert->resample = 2; }},
      {"kv_convert", KV_BAD_ARGUMENT, "options: a reserved",
       [](Arguments& a) { a.convert->reserved[0] = 1; }},
      {"kv_copy_region", KV_BAD_ARGUMENT, "source_region: columns 20 to 24",
       [](Arguments& a) { a.region = a.outside.get(); }},
      {"kv_copy_region", KV_BAD_ARGUMENT, "destination_region: columns 20 to 24",
       [](Arguments& a) { a.other = a.outside.get(); }},
      {"kv_copy_region", KV_SIZE_MISMATCH, "source_region has 4 rows, destination_region 16",
       [](Arguments& a) { a.region = a.small.get(); }},
      {"kv_difference", KV_BAD_ARGUMENT, "region: columns 20 to 24",
       [](Arguments& a) { a.region = a.outside.get(); }},
      {"kv_difference_stats", KV_BAD_ARGUMENT, "region: columns 20 to 24",
       [](Arguments& a) { a.region = a.outside.get(); }},
      {"kv_difference_stats", KV_BAD_ARGUMENT, "threshold is 256; 0 to 255",
       [](Arguments& a) { a.threshold = 256; }},
      {"kv_difference_stats", KV_BAD_ARGUMENT, "threshold is -1", [](Arguments& a) { a.threshold = -1; }},
      {"kv_difference_stats", KV_BAD_ARGUMENT, "stats is null", [](Arguments& a) { a.stats = nullptr; }},
      {"kv_difference_stats", KV_BAD_ARGUMENT, "stats->struct_size",
       [](Arguments& a) { a.stats->struct_size = 5; }},
      {"kv_difference_stats", KV_BAD_ARGUMENT, "stats: a reserved",
       [](Arguments& a) { a.stats->reserved[0] = 5; }},
      {"kv_average", KV_BAD_ARGUMENT, "first_region: columns",
       [](Arguments& a) { a.other = a.outside.get(); }},
      {"kv_average", KV_BAD_ARGUMENT, "region: columns", [](Arguments& a) { a.region = a.outside.get(); }},
      {"kv_box_filter", KV_BAD_ARGUMENT, "window is 0; 1 to 255", [](Arguments& a) { a.window = 0; }},
      {"kv_box_filter", KV_BAD_ARGUMENT, "window is 256; 1 to 255", [](Arguments& a) { a.window = 256; }},
      {"kv_alpha_from_color", KV_BAD_ARGUMENT, "window is -1; 1 to 255", [](Arguments& a) { a.window = -1; }},
      {"kv_alpha_from_difference", KV_BAD_ARGUMENT, "window is 0", [](Arguments& a) { a.window = 0; }},
      {"kv_alpha_from_difference", KV_BAD_ARGUMENT, "gain is -1; 0 to 65536",
       [](Arguments& a) { a.gain = -1; }},
      {"kv_alpha_from_difference", KV_BAD_ARGUMENT, "gain is 65537", [](Arguments& a) { a.gain = 65537; }},
      {"kv_blend", KV_BAD_ARGUMENT, "region: columns", [](Arguments& a) { a.region = a.outside.get(); }},
      {"kv_mask_levels", KV_BAD_ARGUMENT, "options->struct_size",
       [](Arguments& a) { a.levels->struct_size = 1; }},
      {"kv_mask_levels", KV_BAD_ARGUMENT, "options: a reserved",
       [](Arguments& a) { a.levels->reserved[1] = 1; }},
      {"kv_mask_levels", KV_BAD_ARGUMENT, "options->low is 255; 0 to 254",
       [](Arguments& a) { a.levels->low = 255; }},
      {"kv_mask_levels", KV_BAD_ARGUMENT, "options->low is -1", [](Arguments& a) { a.levels->low = -1; }},
      {"kv_mask_levels", KV_BAD_ARGUMENT, "options->high is 7; 8 to 255",
       [](Arguments& a) { a.levels->low = a.levels->high = 7; }},
      {"kv_mask_levels", KV_BAD_ARGUMENT, "options->high is 256", [](Arguments& a) { a.levels->high = 256; }},
      {"kv_mask_levels", KV_BAD_ARGUMENT, "options->is_inverted is 2",
       [](Arguments& a) { a.levels->is_inverted = 2; }},
      {"kv_mask_levels", KV_BAD_ARGUMENT, "options->gamma is 0;", [](Arguments& a) { a.levels->gamma = 0; }},
      {"kv_mask_levels", KV_BAD_ARGUMENT, "options->gamma is nan",
       [nan](Arguments& a) { a.levels->gamma = nan; }},
      {"kv_mask_levels", KV_BAD_ARGUMENT, "region: columns",
       [](Arguments& a) { a.region = a.outside.get(); }},
      {"kv_composite", KV_BAD_ARGUMENT, "region: columns", [](Arguments& a) { a.region = a.outside.get(); }},
      {"kv_composite", KV_UNSUPPORTED, "background",
       [](Arguments& a) { a.frames[1]->format = KV_FORMAT_YUY2; }},
      {"kv_change_parity", KV_BAD_ARGUMENT, "method is 3; 0 to 2", [](Arguments& a) { a.method = 3; }},
      {"kv_change_parity", KV_UNSUPPORTED, "region is given",
       [](Arguments& a) {
         a.method = KV_PARITY_LINE;
         a.region = a.small.get();
       }},
      {"kv_pan", KV_BAD_ARGUMENT, "options is null", [](Arguments& a) { a.pan = nullptr; }},
      {"kv_pan", KV_BAD_ARGUMENT, "options->direction is 3", [](Arguments& a) { a.pan->direction = 3; }},
      {"kv_pan", KV_BAD_ARGUMENT, "options->steps is 0", [](Arguments& a) { a.pan->steps = 0; }},
      {"kv_pan", KV_BAD_ARGUMENT, "options->step is 1; 0 to 0", [](Arguments& a) { a.pan->step = 1; }},
      {"kv_pan", KV_BAD_ARGUMENT, "options->half_line is 2", [](Arguments& a) { a.pan->half_line = 2; }},
      {"kv_pan", KV_BAD_ARGUMENT, "a reserved field", [](Arguments& a) { a.pan->reserved32 = 2; }},
      {"kv_pan", KV_SIZE_MISMATCH, "height of destination_region is 4",
       [](Arguments& a) { a.other = a.small.get(); }},
      {"kv_pan", KV_SIZE_MISMATCH, "width of destination_region is 24, of source_region 4",
       [](Arguments& a) { a.region = a.small.get(); }},
      {"kv_find", KV_BAD_ARGUMENT, "options is null", [](Arguments& a) { a.find = nullptr; }},
      {"kv_find", KV_BAD_ARGUMENT, "match is null", [](Arguments& a) { a.match = nullptr; }},
      {"kv_find", KV_BAD_ARGUMENT, "match->struct_size", [](Arguments& a) { a.match->struct_size = 7; }},
      {"kv_find", KV_BAD_ARGUMENT, "options->x is nan", [nan](Arguments& a) { a.find->x = nan; }},
      {"kv_find", KV_BAD_ARGUMENT, "options->x is 24; 0 to 23", [](Arguments& a) { a.find->x = 24; }},
      {"kv_find", KV_BAD_ARGUMENT, "options->y is -1; 0 to 15", [](Arguments& a) { a.find->y = -1; }},
      {"kv_find", KV_BAD_ARGUMENT, "options->x is 1.5; kv_find takes whole",
       [](Arguments& a) { a.find->x = 1.5; }},
      {"kv_find", KV_BAD_ARGUMENT, "options->around_y is inf",
       [infinite](Arguments& a) { a.find->around_y = infinite; }},
      {"kv_find", KV_BAD_ARGUMENT, "options->half_width is -1",
       [](Arguments& a) { a.find->half_width = -1; }},
      {"kv_find", KV_BAD_ARGUMENT, "options->range_x is -1", [](Arguments& a) { a.find->range_x = -1; }},
      {"kv_find", KV_SIZE_MISMATCH, "with a template of 21x7",
       [](Arguments& a) { a.find->half_width = 10, a.memory[1]->width = 22; }},
      {"kv_find", KV_BAD_ARGUMENT, "options->map->struct_size",
       [](Arguments& a) {
         a.map.struct_size = 3;
         a.find->map = &a.map;
       }},
      {"kv_find", KV_BAD_ARGUMENT, "options->map->scores is null",
       [](Arguments& a) {
         a.map.capacity = 10;
         a.find->map = &a.map;
       }},
      {"kv_find", KV_SIZE_MISMATCH, "options->map->capacity is 4",
       [](Arguments& a) {
         a.map.capacity = 4;
         a.map.scores = a.scores;
         a.find->map = &a.map;
       }},
      {"kv_find_subpixel", KV_BAD_ARGUMENT, "options->step_x is 0;",
       [](Arguments& a) { a.find->step_x = 0; }},
      {"kv_find_subpixel", KV_BAD_ARGUMENT, "options->step_y is nan",
       [nan](Arguments& a) { a.find->step_y = nan; }},
      {"kv_find_subpixel", KV_BAD_ARGUMENT, "options->step_x is 1.5",
       [](Arguments& a) { a.find->step_x = 1.5; }},
      {"kv_find_subpixel", KV_BAD_ARGUMENT, "options->levels is 0; 1 to 16",
       [](Arguments& a) { a.find->levels = 0; }},
      {"kv_find_subpixel", KV_BAD_ARGUMENT, "options->levels is 17",
       [](Arguments& a) { a.find->levels = 17; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options->struct_size", [](Arguments& a) { a.track->struct_size = 1; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options: a reserved", [](Arguments& a) { a.track->reserved[2] = 1; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options->half_width is -1", [](Arguments& a) { a.track->half_width = -1; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options->half_height is 1048577", [](Arguments& a) { a.track->half_height = 1048577; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options->range_x is -1", [](Arguments& a) { a.track->range_x = -1; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options->range_y is 1048577", [](Arguments& a) { a.track->range_y = 1048577; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options->levels is 9; 0 to 8", [](Arguments& a) { a.track->levels = 9; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options->update is 3; 0 to 2", [](Arguments& a) { a.track->update = 3; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options->update_frames is 0; 1 to", [](Arguments& a) { a.track->update_frames = 0; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options->update_score is nan", [nan](Arguments& a) { a.track->update_score = nan; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "options->max_score is inf", [infinite](Arguments& a) { a.track->max_score = infinite; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "points[1] is nan", [nan](Arguments& a) { a.point[1] = nan; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "points[0] is -1", [](Arguments& a) { a.point[0] = -1; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "points[0] is (24, 8); frame is 24x16", [](Arguments& a) { a.point[0] = 24; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "matches is null", [](Arguments& a) { a.match = nullptr; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "matches->struct_size", [](Arguments& a) { a.match->struct_size = 7; }},
      {"kv_track_next", KV_BAD_ARGUMENT, "matches: a reserved", [](Arguments& a) { a.match->reserved[1] = 7; }},
      {"kv_track_next", KV_UNSUPPORTED, "GRAY8; it must be UYVY", [](Arguments& a) { a.frames[0] = a.memory[3].Get(); }},
      {"kv_track_next", KV_SIZE_MISMATCH, "23x16 pixels; with a template of 21x7 it must be at least 24x10", [](Arguments& a) { a.track->half_width = 10; a.memory[0]->width = 23; }},
      {"kv_track_next", KV_SIZE_MISMATCH, "in 24x8 pixels; with a template of 7x7", [](Arguments& a) { a.track->half_height = 7; a.memory[0]->field_order = KV_FIELDS_TOP_FIRST; }},
      {"kv_track_next", KV_SIZE_MISMATCH, "one row, none of its first field", [](Arguments& a) { a.point[1] = 0; a.memory[0]->height = 1; a.memory[0]->field_order = KV_FIELDS_BOTTOM_FIRST; }},
  };
  for (const Fault& fault : faults) {
    const auto function = std::ranges::find_if(
        Functions(), [&](const Function& one) { return std::string(one.name) == fault.function; });
    ASSERT_NE(function, Functions().end());
    Arguments arguments;
    ArgumentsFor(*function, arguments);
    fault.spoil(arguments);
    ExpectFailure(function->call(arguments), fault.status, fault.text, fault.function);
  }
}

TEST(WrongArguments, FramesOfATrack) {
  Arguments a;
  kv_track* track = nullptr;
  const auto next = [&](const kv_frame& frame, std::size_t count = 1) {
    return kv_track_next(a.context, track, &frame, a.match, count, nullptr);
  };
  kv_frame frame = *a.memory[0].Get();
  ExpectFailure(kv_track_new(a.point, 1, a.track, nullptr), KV_BAD_ARGUMENT, "track is null", "new");
  ExpectFailure(kv_track_new(nullptr, 1, a.track, &track), KV_BAD_ARGUMENT, "points is null", "new");
  ExpectFailure(kv_track_new(a.point, 0, a.track, &track), KV_BAD_ARGUMENT, "count is 0; 1 to 1000000",
                "new");
  ExpectFailure(kv_track_new(a.point, SIZE_MAX, a.track, &track), KV_BAD_ARGUMENT, "count is 1000001", "new");
  ExpectFailure(next(frame), KV_BAD_ARGUMENT, "track is null", "next");
  ASSERT_EQ(kv_track_new(a.point, 1, a.track, &track), KV_OK);
  ExpectFailure(next(frame, 2), KV_SIZE_MISMATCH, "count is 2; the track has 1 points", "next");
  ASSERT_EQ(next(frame), KV_OK) << kv_last_error();
  kv_frame other = frame;
  other.format = KV_FORMAT_YUY2;
  ExpectFailure(next(other), KV_UNSUPPORTED, "frame is YUY2, the track's first one UYVY", "format");
  other = frame;
  other.height = 15;
  ExpectFailure(next(other), KV_SIZE_MISMATCH, "frame is 24x15, the track's first one 24x16", "size");
  other = frame;
  other.field_order = KV_FIELDS_TOP_FIRST;
  ExpectFailure(next(other), KV_BAD_ARGUMENT, "frame->field_order is 1; the fields must be", "fields");
  EXPECT_EQ(next(frame), KV_OK) << kv_last_error();
  kv_track_free(track);
  kv_track_free(nullptr);
}

TEST(WrongArguments, RunsThatAreNoMultiplesOfFour) {
  Arguments arguments;
  const Region six = Rectangle(2, 1, 6, 3);
  const Function& blend = *std::ranges::find_if(
      Functions(), [](const Function& one) { return std::string(one.name) == "kv_blend"; });
  ArgumentsFor(blend, arguments);
  arguments.region = six.get();
  ExpectFailure(blend.call(arguments), KV_BAD_ARGUMENT, "region: row 1 has 6 pixels", "kv_blend");
}

TEST(WrongArguments, RunsThatCutPairs) {
  for (const auto& [left, width] : {std::pair{1, 3}, {2, 3}, {1, 4}}) {
    Arguments arguments;
    const Region cut = Rectangle(left, 2, width, 1);
    const auto composite = std::ranges::find_if(
        Functions(), [](const Function& one) { return std::string(one.name) == "kv_composite"; });
    ArgumentsFor(*composite, arguments);
    arguments.region = cut.get();
    ExpectFailure(composite->call(arguments), KV_BAD_ARGUMENT,
                  "region: row 2 has columns " + std::to_string(left) + " to ", "kv_composite");
  }
}

TEST(WrongArguments, RegionsContextsAndTheRest) {
  kv_region* region = nullptr;
  kv_context* context = nullptr;
  std::int32_t planes = 0;
  std::int64_t bytes = 0;
  std::size_t count = 0;
  const std::int32_t zero[] = {0};
  const std::int32_t minusTwo[] = {-2};
  const double triangle[] = {0, 0, 4, 0, 0, 4};
  const double line[] = {0, 0, 4, 0, 8, 0};
  const double nan[] = {0, 0, 4, 0, std::nan(""), 4};
  const double letterU[] = {0, 0, 2, 0, 2, 4, 4, 4, 4, 0, 6, 0, 6, 6, 0, 6};
  kv_context_options options;
  kv_context_options_init(&options);
  const auto bad = [](kv_status status, const char* text) {
    ExpectFailure(status, KV_BAD_ARGUMENT, text, text);
  };
  bad(kv_region_rectangle(0, 0, 1, 1, nullptr), "region is null");
  bad(kv_region_rectangle(INT_MAX, 0, 1, 1, &region), "left is 2147483647");
  bad(kv_region_rectangle(0, INT_MIN, 1, 1, &region), "top is -2147483648");
  bad(kv_region_rectangle(0, 0, 0, 1, &region), "width is 0; 1 to");
  bad(kv_region_rectangle(0, 0, 1, INT_MAX, &region), "height is 2147483647");
  bad(kv_region_runs(0, 0, zero, zero, &region), "rows is 0");
  bad(kv_region_runs(0, 1, nullptr, zero, &region), "firsts is null");
  bad(kv_region_runs(0, 1, zero, nullptr, &region), "lasts is null");
  bad(kv_region_runs(0, 1, zero, minusTwo, &region), "firsts[0] is 0, lasts[0] -2");
  bad(kv_region_polygon(nullptr, 3, &region), "points is null");
  bad(kv_region_polygon(triangle, 2, &region), "count is 2");
  bad(kv_region_polygon(nan, 3, &region), "points[4] is nan");
  bad(kv_region_polygon(line, 3, &region), "no centre of a pixel");
  ExpectFailure(kv_region_polygon(letterU, 8, &region), KV_UNSUPPORTED, "has two runs (0 to 1 and 4 to 5)",
                "U");
  EXPECT_EQ(region, nullptr);
  bad(kv_context_new(nullptr, nullptr), "context is null");
  options.threads = 300;
  bad(kv_context_new(&options, &context), "options->threads is 300; 0 to 256");
  options.threads = 1;
  options.member = "none";
  ExpectFailure(kv_context_new(&options, &context), KV_NO_MEMBER, "options->member is \"none\"", "member");
  options.struct_size = 4;
  bad(kv_context_new(&options, &context), "options->struct_size is 4");
  bad(kv_stop(nullptr), "context is null");
  bad(kv_format_planes(77, &planes), "format is 77");
  bad(kv_format_planes(1, nullptr), "planes is null");
  bad(kv_format_row_bytes(1, 1, 10, &bytes), "plane is 1; 0 to 0");
  bad(kv_format_row_bytes(1, 0, 0, &bytes), "width is 0");
  bad(kv_members(nullptr, 1, &count), "members is null");
  bad(kv_members(nullptr, 0, nullptr), "count is null");
  kv_member member = {};
  bad(kv_members(&member, 1, &count), "struct_size is 0");
  kv_frame frame;
  kv_frame_init(&frame);
  bad(kv_frame_alloc(nullptr), "frame is null");
  bad(kv_frame_alloc(&frame), "format is 0");
  frame.format = KV_FORMAT_UYVY;
  bad(kv_frame_alloc(&frame), "frame->width is 0");
  frame.width = frame.height = 1 << 20;
  ExpectFailure(kv_frame_alloc(&frame), KV_OUT_OF_MEMORY, "frame takes 2199023255552 bytes; at most 2^38",
                "huge");
  kv_frame_free(&frame);
  EXPECT_EQ(frame.planes[0], nullptr);
}

TEST(WrongArguments, Clipping) {
  const double square[] = {0, 0, 8, 0, 8, 8, 0, 8};
  double vertices[32];
  std::size_t pieces[4];
  std::size_t vertexCount = 0;
  std::size_t pieceCount = 0;
  const auto clip = [&](double right, std::size_t capacity, std::size_t pieceCapacity) {
    return kv_clip_polygon(square, 4, 2, 2, right, 4, vertices, capacity, &vertexCount, pieces, pieceCapacity,
                           &pieceCount);
  };
  ASSERT_EQ(clip(6, 16, 4), KV_OK);
  EXPECT_EQ(pieceCount, 1U);
  EXPECT_EQ(vertexCount, 4U);
  EXPECT_EQ(pieces[0], 4U);
  ExpectFailure(clip(6, 3, 4), KV_SIZE_MISMATCH, "capacity is 3; the pieces take 4", "capacity");
  EXPECT_EQ(vertexCount, 4U);
  ExpectFailure(clip(6, 16, 0), KV_SIZE_MISMATCH, "piece_capacity is 0; the pieces take 1", "pieces");
  ExpectFailure(clip(1, 16, 4), KV_BAD_ARGUMENT, "right is 1; 2 to", "right");
  ExpectFailure(clip(std::nan(""), 16, 4), KV_BAD_ARGUMENT, "right is nan", "right");
}

}  // namespace
}  // namespace kv_test
