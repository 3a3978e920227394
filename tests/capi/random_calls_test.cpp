// Random calls of every function, on threads of all kinds and in rows of any address, beside one thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/capi/sound_calls.h"

namespace kv_test {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// One number of a range that includes its ends.
int Draw(std::mt19937& random, int low, int high) {
  return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
}

/// What fits every function, drawn from a seed: the same for every call of one round.
void DrawArguments(Arguments& a, Region& region, unsigned seed) {
  std::mt19937 random(seed);
  const int width = a.memory[0].Get()->width;
  const int height = a.memory[0].Get()->height;
  kv_match_init(a.match);
  kv_stats_init(a.stats);
  for (GuardedFrame& frame : a.memory) frame.Fill(random, Draw(random, 3, 255));
  a.memory[0]->field_order = Draw(random, 0, 2);
  a.memory[0]->row_parity = Draw(random, 0, 1);
  a.window = Draw(random, 1, 12);
  a.gain = Draw(random, 0, 4);
  a.threshold = Draw(random, 0, 255);
  a.levels->low = Draw(random, 0, 200);
  a.pan->direction = 1 << Draw(random, 0, 3);
  a.find->range_x = a.find->range_y = Draw(random, 1, 24);
  a.find->half_width = a.find->half_height = Draw(random, 1, 7);
  a.find->x = a.find->around_x = Draw(random, 0, width - 1);
  a.find->y = a.find->around_y = Draw(random, 0, height - 1);
  a.find->levels = Draw(random, 1, 3);
  const int columns = 4 * Draw(random, 1, width / 4);
  const int left = 2 * Draw(random, 0, (width - columns) / 2);
  const int rows = Draw(random, 1, height);
  region = Rectangle(left, Draw(random, 0, height - rows), columns, rows);
  a.region = a.other = Draw(random, 0, 1) != 0 ? region.get() : nullptr;
}

/// What a call answers: its status, the frames, and the numbers.
Bytes AnswerOf(Arguments& a, kv_status status) {
  Bytes bytes(4);
  std::memcpy(bytes.data(), &status, sizeof status);
  for (const GuardedFrame& frame : a.memory) {
    for (int row = 0; row < frame.Get()->height; ++row)
      bytes.insert(bytes.end(), frame.Row(0, row), frame.Row(0, row) + frame.RowBytes(0));
  }
  const auto* match = reinterpret_cast<const std::uint8_t*>(a.match);
  bytes.insert(bytes.end(), match, match + sizeof *a.match);
  const auto* stats = reinterpret_cast<const std::uint8_t*>(a.stats);
  bytes.insert(bytes.end(), stats, stats + sizeof *a.stats);
  return bytes;
}

Bytes AnswerOf(const Function& function, Arguments& a, unsigned seed, kv_context* context) {
  Region region;
  DrawArguments(a, region, seed);
  a.context = context;
  return AnswerOf(a, function.call(ArgumentsFor(function, a)));
}

/// A context on threads of its maker's.
Context OnHost(int threads) {
  kv_context_options options;
  kv_context_options_init(&options);
  options.threads = threads;
  options.run = [](void*, std::int32_t count, kv_task task, void* data) -> std::int32_t {
    std::vector<std::jthread> others;
    for (std::int32_t i = 1; i < count; ++i) others.emplace_back([=] { task(data, i); });
    task(data, 0);
    return 0;
  };
  kv_context* made = nullptr;
  EXPECT_EQ(kv_context_new(&options, &made), KV_OK);
  return Context(made);
}

TEST(RandomCallThreads, AnswerAsOne) {
  std::mt19937 random(11);
  const Context alone = MakeContext();
  std::vector<Context> contexts;
  for (int threads = 1; threads <= 8; ++threads) contexts.push_back(MakeContext(threads));
  for (int threads = 2; threads <= 8; threads += 3) contexts.push_back(OnHost(threads));
  int done = 0;
  for (int round = 0; round < 2; ++round) {
    for (const Function& function : Functions()) {
      const int width = 4 * Draw(random, 12, 50);
      const int height = Draw(random, 60, 160);
      const auto seed = static_cast<unsigned>(random());
      Arguments arguments(width, height);
      const Bytes expected = AnswerOf(function, arguments, seed, alone.get());
      if (expected[0] == KV_OK) ++done;
      for (std::size_t i = static_cast<std::size_t>(round); i < contexts.size(); i += 2) {
        ASSERT_EQ(AnswerOf(function, arguments, seed, contexts[i].get()), expected)
            << function.name << ", seed " << seed << ", " << width << "x" << height << ", context " << i;
      }
    }
  }
  EXPECT_GT(done, 20);
}

/// A frame's bytes in rows that start anywhere.
struct AnyRows {
  Bytes memory;
  kv_frame view;
  int offset;
  int padding;

  AnyRows(const GuardedFrame& frame, int before, int between, bool isBottomUp)
      : view(*frame.Get()), offset(before), padding(between) {
    const std::int64_t stride = frame.RowBytes(0) + padding;
    memory.assign(static_cast<std::size_t>(offset + stride * view.height), 0xA5);
    view.strides[0] = isBottomUp ? -stride : stride;
    view.planes[0] = memory.data() + offset + (isBottomUp ? stride * (view.height - 1) : 0);
    for (int row = 0; row < view.height; ++row) std::copy_n(frame.Row(0, row), frame.RowBytes(0), Row(row));
  }
  std::uint8_t* Row(int row) const { return view.planes[0] + row * view.strides[0]; }
};

TEST(RandomCalls, RowsAtAnyAddressAndDistance) {
  std::mt19937 random(12);
  const Context context = MakeContext();
  for (int round = 0; round < 12; ++round) {
    for (const Function& function : Functions()) {
      const int width = 4 * Draw(random, 5, 20) + (round % 3 == 2 ? 1 : 0);
      const int height = Draw(random, 12, 30);
      const auto seed = static_cast<unsigned>(random());
      Arguments a(width, height);
      const Bytes expected = AnswerOf(function, a, seed, context.get());
      Region region;
      DrawArguments(a, region, seed);
      ArgumentsFor(function, a);
      std::vector<std::unique_ptr<AnyRows>> moved;
      std::vector<GuardedFrame*> origins;
      for (std::size_t i = 0; i < function.frames.size(); ++i) {
        for (GuardedFrame& frame : a.memory) {
          if (a.frames[i] == frame.Get()) origins.push_back(&frame);
        }
        moved.push_back(std::make_unique<AnyRows>(*origins[i], Draw(random, 0, 15), Draw(random, 0, 9),
                                                  random() % 2 == 0));
        a.frames[i] = &moved[i]->view;
      }
      a.context = context.get();
      const kv_status status = function.call(a);
      for (std::size_t i = 0; i < origins.size(); ++i) {
        for (int row = 0; row < height; ++row)
          std::copy_n(moved[i]->Row(row), origins[i]->RowBytes(0), origins[i]->Row(0, row));
        // Nothing of the padding has changed.
        const AnyRows untouched(*origins[i], moved[i]->offset, moved[i]->padding,
                                moved[i]->view.strides[0] < 0);
        ASSERT_EQ(moved[i]->memory, untouched.memory) << function.name << ", frame " << i;
      }
      ASSERT_EQ(AnswerOf(a, status), expected) << function.name << ", seed " << seed;
    }
  }
}

}  // namespace
}  // namespace kv_test
