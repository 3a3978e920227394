// Tracks, polygons and contexts of the C interface: any options, points and frames; hosts' threads, calls that are given up.

#include <cmath>
#include <iterator>
#include <memory>

#include "fuzz/capi_input.h"
#include "tests/support/member.h"

namespace {

using kv_fuzz::Frame;
using kv_fuzz::Input;
using kv_fuzz::Require;
using kv_fuzz::RequireAnswer;

struct Deleter {
  void operator()(kv_context* context) const { kv_context_free(context); }
  void operator()(kv_track* track) const { kv_track_free(track); }
};

std::int32_t RunBackwards(void* user, std::int32_t count, kv_task task, void* data) {
  for (std::int32_t index = count; index > 0; --index) task(data, index - 1);
  return *static_cast<std::int32_t*>(user);
}

std::int32_t CountDown(void* user) {
  return --*static_cast<std::int32_t*>(user) == 0 ? 1 : 0;
}

void Coordinates(Input& input, double* values, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    values[i] = input.Number(-10, 500) / 8.0;
    input.MaySpoil(values[i]);
  }
}

void Clip(Input& input) {
  double points[24];
  Coordinates(input, points, std::size(points));
  double sides[4];
  Coordinates(input, sides, std::size(sides));
  // One more than the capacity, to see that it stays.
  double vertices[65];
  const auto capacity = static_cast<std::size_t>(input.Number(0, 32));
  vertices[2 * capacity] = 12345.5;
  std::size_t pieces[9];
  const auto pieceCapacity = static_cast<std::size_t>(input.Number(0, 8));
  pieces[pieceCapacity] = 77;
  std::size_t vertexCount = 0;
  std::size_t pieceCount = 0;
  const kv_status status = kv_clip_polygon(
      points, static_cast<std::size_t>(input.Number(0, 12)), sides[0], sides[1], sides[2], sides[3], vertices,
      capacity, input.MayBeNull(vertexCount), pieces, pieceCapacity, input.MayBeNull(pieceCount));
  RequireAnswer(status);
  Require(vertices[2 * capacity] == 12345.5 && pieces[pieceCapacity] == 77,
          "more than the capacity is written");
  if (status != KV_OK) return;
  std::size_t sum = 0;
  for (std::size_t i = 0; i < pieceCount; ++i) sum += pieces[i];
  Require(sum == vertexCount && vertexCount <= capacity && pieceCount <= pieceCapacity,
          "counts that do not fit");
}

void Track(Input& input, kv_context* context) {
  kv_track_options options;
  kv_track_options_init(&options);
  for (std::int32_t* value :
       {&options.half_width, &options.half_height, &options.range_x, &options.range_y}) {
    *value = input.Number(-1, 8);
    input.MaySpoil(*value);
  }
  options.levels = input.Number(0, 4);
  options.update = input.Number(0, 3);
  options.update_frames = input.Number(0, 3);
  for (double* value : {&options.update_score, &options.max_score}) {
    *value = input.Number(-1, 256);
    input.MaySpoil(*value);
  }
  input.MaySpoil(options.struct_size);
  input.MaySpoil(options.reserved[input.Number(0, 3)]);
  double points[8];
  Coordinates(input, points, std::size(points));
  const auto count = static_cast<std::size_t>(input.Number(0, 4));
  kv_track* made = nullptr;
  RequireAnswer(
      kv_track_new(points, count, input.MayBeNull(options), input.Number(0, 63) == 0 ? nullptr : &made));
  const std::unique_ptr<kv_track, Deleter> track(made);

  const int width = input.Number(1, 40);
  const int height = input.Number(1, 24);
  const int format = input.Number(1, 15);
  const int fields = input.Number(0, 2);
  const int frames = input.Number(1, 4);
  for (int number = 0; number < frames; ++number) {
    // Memory of its own for each frame: a track keeps none of it.
    Frame frame(input, width, height, input.Number(0, 15) == 0 ? input.Number(1, 15) : format);
    frame.view.field_order = fields;
    kv_match matches[5];
    for (kv_match& match : matches) kv_match_init(&match);
    matches[4].x = 12345.5;
    input.MaySpoil(matches[input.Number(0, 3)].struct_size);
    kv_call call;
    kv_call_init(&call);
    std::int32_t left = input.Number(0, 6);
    if (left > 0) call.poll = CountDown;
    call.poll_user = &left;
    const kv_status status =
        kv_track_next(context, track.get(), input.MayBeNull(frame.view), matches,
                      input.Number(0, 15) == 0 ? static_cast<std::size_t>(input.Number(0, 4)) : count,
                      input.MayBeNull(call));
    RequireAnswer(status);
    Require(matches[4].x == 12345.5, "more matches than points");
    if (status != KV_OK) continue;
    for (std::size_t i = 0; i < count; ++i) {
      Require(std::isfinite(matches[i].x) && std::isfinite(matches[i].y), "a point that is nowhere");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static_cast<void>(kv_test::Members());
  Input input(data, size);
  const char* const members[] = {nullptr,      nullptr,       nullptr,     "kv_algoC",
                                 "kv_algoMMX", "kv_algoSSE2", "no member", ""};
  kv_context_options options;
  kv_context_options_init(&options);
  options.threads = input.Number(-1, 3);
  options.member = members[input.Number(0, 7)];
  std::int32_t answer = 0;
  if (input.Number(0, 3) == 0) {
    options.run = RunBackwards;
    options.run_user = &answer;
  }
  input.MaySpoil(options.struct_size);
  input.MaySpoil(options.reserved[input.Number(0, 3)]);
  kv_context* made = nullptr;
  const kv_status status = kv_context_new(input.MayBeNull(options), &made);
  RequireAnswer(status);
  Require((status == KV_OK) == (made != nullptr), "a context without success, or success without one");
  const std::unique_ptr<kv_context, Deleter> context(made);
  kv_member found[3];
  std::size_t count = 0;
  RequireAnswer(kv_members(found, static_cast<std::size_t>(input.Number(0, 3)), input.MayBeNull(count)));
  Clip(input);
  Track(input, context.get());
  return 0;
}
