// Threads, own executors, stops and members.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <random>
#include <string>
#include <thread>

#include "tests/capi/door_fixture.h"
#include "tests/support/family.h"

namespace kv_test {
namespace {

/// All operations that several threads share, on frames large enough to be shared; the bytes of all results.
class AllOperations {
 public:
  AllOperations() {
    std::mt19937 random(1);
    for (GuardedFrame* frame : {&a_, &b_, &mask_, &planar_, &rgb_}) frame->Fill(random, 15);
    a_->row_parity = 1;
  }

  std::vector<std::uint8_t> Run(kv_context* context, const kv_call* call) {
    std::vector<std::uint8_t> bytes;
    const auto keep = [&](const char* what, kv_status status, const GuardedFrame& frame) {
      EXPECT_EQ(status, KV_OK) << what << ": " << kv_last_error();
      for (int plane = 0; plane < frame.Planes(); ++plane) {
        for (int row = 0; row < frame.Get()->height; ++row) {
          bytes.insert(bytes.end(), frame.Row(plane, row), frame.Row(plane, row) + frame.RowBytes(plane));
        }
      }
    };
    GuardedFrame to(KV_FORMAT_YUY2, width, height, Placement::EndOfPage);
    GuardedFrame grey(KV_FORMAT_GRAY8, width, height, Placement::EndOfPage);
    GuardedFrame same(KV_FORMAT_UYVY, width, height, Placement::EndOfPage);
    keep("copy", kv_copy(context, a_.Get(), to.Get(), call), to);
    keep("copy", kv_copy(context, planar_.Get(), to.Get(), call), to);
    keep("convert", kv_convert(context, rgb_.Get(), to.Get(), nullptr, call), to);
    keep("convert", kv_convert(context, planar_.Get(), rgbOut_.Get(), nullptr, call), rgbOut_);
    const Region from = Rectangle(3, 2, 300, 200);
    const Region into = Rectangle(5, 9, 300, 200);
    keep("region", kv_copy_region(context, a_.Get(), from.get(), to.Get(), into.get(), call), to);
    keep("difference", kv_difference(context, a_.Get(), b_.Get(), grey.Get(), nullptr, call), grey);
    keep("average",
         kv_average(context, mask_.Get(), from.get(), mask_.Get(), into.get(), grey.Get(), nullptr, call),
         grey);
    for (const int window : {3, 4, 31}) {
      keep("box", kv_box_filter(context, mask_.Get(), grey.Get(), into.get(), window, call), grey);
    }
    keep("blend", kv_blend(context, a_.Get(), b_.Get(), mask_.Get(), same.Get(), nullptr, call), same);
    keep("color", kv_alpha_from_color(context, a_.Get(), b_.Get(), grey.Get(), nullptr, 5, call), grey);
    keep("alpha",
         kv_alpha_from_difference(context, mask_.Get(), mask_.Get(), grey.Get(), from.get(), 2, 4, call),
         grey);
    for (const auto order : {KV_FIELDS_TOP_FIRST, KV_FIELDS_BOTTOM_FIRST}) {
      a_->field_order = order;
      keep("parity", kv_change_parity(context, a_.Get(), to.Get(), nullptr, KV_PARITY_BLEND, call), to);
      keep("parity", kv_change_parity(context, a_.Get(), to.Get(), from.get(), KV_PARITY_BLEND, call), to);
    }
    kv_pan_options pan;
    kv_pan_options_init(&pan);
    pan.steps = 5;
    pan.step = 3;
    const Region view = Rectangle(0, 0, 200, height);
    for (const int half : {0, 1}) {
      pan.half_line = half;
      keep("pan", kv_pan(context, a_.Get(), nullptr, same.Get(), view.get(), &pan, call), same);
    }
    kv_find_options find;
    kv_find_options_init(&find);
    find.x = find.around_x = 100;
    find.y = find.around_y = 60;
    find.range_x = find.range_y = 30;
    kv_match match;
    kv_match_init(&match);
    for (const auto search : {kv_find, kv_find_subpixel}) {
      EXPECT_EQ(search(context, a_.Get(), b_.Get(), &find, &match, call), KV_OK) << kv_last_error();
      const auto* raw = reinterpret_cast<const std::uint8_t*>(&match);
      bytes.insert(bytes.end(), raw, raw + sizeof match);
    }
    return bytes;
  }

  static constexpr int width = 412;
  static constexpr int height = 264;

 private:
  GuardedFrame a_{KV_FORMAT_UYVY, width, height, Placement::EndOfPage};
  GuardedFrame b_{KV_FORMAT_UYVY, width, height, Placement::EndOfPage};
  GuardedFrame mask_{KV_FORMAT_GRAY8, width, height, Placement::EndOfPage};
  GuardedFrame planar_{KV_FORMAT_YUV411P, width, height, Placement::EndOfPage};
  GuardedFrame rgb_{KV_FORMAT_RGBA32, width, height, Placement::EndOfPage};
  GuardedFrame rgbOut_{KV_FORMAT_RGB24, width, height, Placement::EndOfPage};
};

TEST(DoorThreads, SameBytesAtEveryNumber) {
  AllOperations all;
  const auto expected = all.Run(MakeContext().get(), nullptr);
  for (int threads = 2; threads <= 8; ++threads) {
    EXPECT_EQ(all.Run(MakeContext(threads).get(), nullptr), expected) << threads;
  }
  const Context context = MakeContext(8);
  kv_call call;
  kv_call_init(&call);
  call.threads = 3;
  EXPECT_EQ(all.Run(context.get(), &call), expected);
  call.threads = 8;
  EXPECT_EQ(all.Run(MakeContext(1).get(), &call), expected) << "a context that has no threads to share";
}

/// A host's own threads, in several kinds.
struct Executor {
  int runs = 0;
  int order = 0;  ///< 0 one after another, 1 backwards, 2 threads, 3 none, 4 refuses

  static std::int32_t Run(void* user, std::int32_t count, kv_task task, void* data) {
    auto& self = *static_cast<Executor*>(user);
    ++self.runs;
    if (self.order == 4) return 5;
    if (self.order == 3) return 0;
    if (self.order == 2) {
      std::vector<std::jthread> threads;
      for (std::int32_t i = 0; i < count; ++i) threads.emplace_back([=] { task(data, i); });
      return 0;
    }
    for (std::int32_t i = 0; i < count; ++i) task(data, self.order == 1 ? count - 1 - i : i);
    return 0;
  }
};

TEST(DoorThreads, AHostsOwn) {
  AllOperations all;
  const auto expected = all.Run(MakeContext().get(), nullptr);
  for (int order = 0; order <= 4; ++order) {
    Executor executor;
    executor.order = order;
    kv_context_options options;
    kv_context_options_init(&options);
    options.threads = 4;
    options.run = Executor::Run;
    options.run_user = &executor;
    kv_context* made = nullptr;
    ASSERT_EQ(kv_context_new(&options, &made), KV_OK);
    const Context context(made);
    if (order == 4) {
      GuardedFrame from(KV_FORMAT_UYVY, 640, 480, Placement::EndOfPage);
      GuardedFrame to(KV_FORMAT_YUY2, 640, 480, Placement::EndOfPage);
      EXPECT_EQ(kv_copy(made, from.Get(), to.Get(), nullptr), KV_INTERNAL);
      EXPECT_STREQ(kv_last_error(), "the run function of the context answered 5, not 0");
    } else {
      EXPECT_EQ(all.Run(made, nullptr), expected) << order;
    }
    EXPECT_GT(executor.runs, 0) << order;
  }
}

TEST(DoorThreads, OneContextInSeveral) {
  AllOperations first;
  const auto expected = first.Run(MakeContext().get(), nullptr);
  const Context context = MakeContext(2);
  std::atomic<int> equal = 0;
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&] {
        AllOperations own;
        if (own.Run(context.get(), nullptr) == expected) ++equal;
      });
    }
  }
  EXPECT_EQ(equal, 4);
}

/// Stops a call when it is polled for the fourth time.
struct PollSeen {
  std::thread::id caller = std::this_thread::get_id();
  int calls = 0;
  bool isElsewhere = false;

  kv_call Call() {
    kv_call call;
    kv_call_init(&call);
    call.poll = [](void* user) -> std::int32_t {
      auto& own = *static_cast<PollSeen*>(user);
      if (std::this_thread::get_id() != own.caller) own.isElsewhere = true;
      return ++own.calls > 3 ? 1 : 0;
    };
    call.poll_user = this;
    return call;
  }
};

TEST(DoorStops, ThePollFunctionIsCalledOnTheCallersThread) {
  PollSeen seen;
  const kv_call call = seen.Call();
  GuardedFrame from(KV_FORMAT_GRAY8, 3000, 3000, Placement::EndOfPage);
  GuardedFrame to(KV_FORMAT_GRAY8, 3000, 3000, Placement::EndOfPage);
  EXPECT_EQ(kv_box_filter(MakeContext().get(), from.Get(), to.Get(), nullptr, 31, &call), KV_STOPPED);
  EXPECT_EQ(seen.calls, 4);
  EXPECT_FALSE(seen.isElsewhere);
}

TEST(DoorStops, ThePollFunctionIsCalledBesideAHostsThreads) {
  PollSeen seen;
  Executor executor;
  executor.order = 2;  // Nothing of it runs on the caller's thread.
  kv_context_options options;
  kv_context_options_init(&options);
  options.threads = 2;
  options.run = Executor::Run;
  options.run_user = &executor;
  kv_context* made = nullptr;
  ASSERT_EQ(kv_context_new(&options, &made), KV_OK);
  const Context context(made);
  const kv_call call = seen.Call();
  GuardedFrame frame(KV_FORMAT_UYVY, 500, 500, Placement::EndOfPage);
  std::mt19937 random(1);
  frame.Fill(random);
  GuardedFrame other(KV_FORMAT_UYVY, 500, 500, Placement::EndOfPage);
  other.Fill(random);
  kv_find_options find;
  kv_find_options_init(&find);
  find.x = find.y = find.around_x = find.around_y = 200;
  find.half_width = find.half_height = 100;
  find.range_x = find.range_y = 1 << 20;
  kv_match match;
  kv_match_init(&match);
  EXPECT_EQ(kv_find(made, frame.Get(), other.Get(), &find, &match, &call), KV_STOPPED);
  EXPECT_STREQ(kv_last_error(), "stopped by the poll function");
  EXPECT_EQ(seen.calls, 4);
  EXPECT_FALSE(seen.isElsewhere);
}

TEST(DoorStops, AStopEndsWhatRunsAndNothingElse) {
  for (const int threads : {1, 3}) {
    const Context context = MakeContext(threads);
    GuardedFrame frame(KV_FORMAT_UYVY, 500, 500, Placement::EndOfPage);
    GuardedFrame other(KV_FORMAT_UYVY, 500, 500, Placement::EndOfPage);
    std::mt19937 random(1);
    frame.Fill(random);
    other.Fill(random);
    kv_find_options find;
    kv_find_options_init(&find);
    find.x = find.y = find.around_x = find.around_y = 200;
    find.half_width = find.half_height = 100;
    find.range_x = find.range_y = 1 << 20;
    kv_match match;
    kv_match_init(&match);
    kv_stop(context.get());  // Before the call: nothing.
    std::atomic<bool> isOver = false;
    std::jthread stopper([&] {
      while (!isOver) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        kv_stop(context.get());
      }
    });
    const kv_status status = kv_find(context.get(), frame.Get(), other.Get(), &find, &match, nullptr);
    isOver = true;
    stopper.join();
    EXPECT_EQ(status, KV_STOPPED);
    EXPECT_STREQ(kv_last_error(), "stopped by kv_stop");
    find.half_width = find.half_height = 4;
    find.range_x = find.range_y = 4;
    EXPECT_EQ(kv_find(context.get(), frame.Get(), frame.Get(), &find, &match, nullptr), KV_OK);
  }
}

TEST(DoorMembers, AreListedAndChosen) {
  std::size_t count = 0;
  ASSERT_EQ(kv_members(nullptr, 0, &count), KV_OK);
#if defined(__aarch64__)
  constexpr std::size_t familySize = 2;
#else
  constexpr std::size_t familySize = 4;
#endif
  ASSERT_EQ(count, familySize);
  kv_member members[familySize];
  for (kv_member& member : members) member.struct_size = sizeof member;
  ASSERT_EQ(kv_members(members, familySize, &count), KV_OK);
  AllOperations all;
  const auto expected = all.Run(MakeContext().get(), nullptr);
  for (const kv_member& member : members) {
    const std::string name = member.name;
    if (name == "kv_algoSSE") {
      EXPECT_EQ(member.is_usable, 0);
      EXPECT_NE(std::strlen(member.reason), 0U);
    } else {
      EXPECT_EQ(member.is_usable, 1) << name;
      EXPECT_STREQ(member.reason, "");
    }
    EXPECT_EQ(std::strlen(member.level) > 0, name == wideMember);
  }
  // The alpha layers of the smallest member need another's filter, and it has no ColorConversion.
  EXPECT_EQ(all.Run(MakeContext(1, "kv_algoC").get(), nullptr), expected);
#if !defined(__aarch64__)  // There every member has it.
  GuardedFrame from(KV_FORMAT_UYVY, 8, 8, Placement::EndOfPage);
  GuardedFrame to(KV_FORMAT_BGR24, 8, 8, Placement::EndOfPage);
  EXPECT_EQ(kv_convert(MakeContext(1, "kv_algoMMX").get(), from.Get(), to.Get(), nullptr, nullptr),
            KV_NO_MEMBER);
  EXPECT_NE(std::string(kv_last_error()).find("(only kv_algoMMX was asked)"), std::string::npos)
      << kv_last_error();
#endif
}

}  // namespace
}  // namespace kv_test
