// Wrong calls: every one is answered with a status and a text that names the argument, and writes nothing.
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <string>

#include "tests/capi/sound_calls.h"

namespace kv_test {
namespace {

/// What spoils a frame, and what the text then says after the frame's name.
struct FrameFault {
  const char* text;
  std::function<void(kv_frame&)> spoil;
};

const std::vector<FrameFault>& FrameFaults() {
  static const std::vector<FrameFault> faults = {
      {"->struct_size is 0; this library knows", [](kv_frame& f) { f.struct_size = 0; }},
      {"->struct_size is 1000; this library knows", [](kv_frame& f) { f.struct_size = 1000; }},
      {"->struct_size is 8; this library knows", [](kv_frame& f) { f.struct_size = 8; }},
      {"->format is 0; it is none of", [](kv_frame& f) { f.format = 0; }},
      {"->format is 16; it is none of", [](kv_frame& f) { f.format = 16; }},
      {"->format is -1; it is none of", [](kv_frame& f) { f.format = -1; }},
      {"->width is 0; 1 to 1048576", [](kv_frame& f) { f.width = 0; }},
      {"->width is -2147483648; 1 to 1048576", [](kv_frame& f) { f.width = INT_MIN; }},
      {"->width is 1048577; 1 to 1048576", [](kv_frame& f) { f.width = 1048577; }},
      {"->height is 0; 1 to 1048576", [](kv_frame& f) { f.height = 0; }},
      {"->height is 2147483647; 1 to 1048576", [](kv_frame& f) { f.height = INT_MAX; }},
      {"->planes[0] is null", [](kv_frame& f) { f.planes[0] = nullptr; }},
      {"->strides[0] is 0; a row of", [](kv_frame& f) { f.strides[0] = 0; }},
      {"->strides[0] is 23; a row of", [](kv_frame& f) { f.strides[0] = 23; }},
      {"->strides[0] is -23; a row of", [](kv_frame& f) { f.strides[0] = -23; }},
      {"->strides[0] is 9223372036854775807; at most", [](kv_frame& f) { f.strides[0] = INT64_MAX; }},
      {"->strides[0] is -9223372036854775808; at most", [](kv_frame& f) { f.strides[0] = INT64_MIN; }},
      {" reach past the end of the address space",
       [](kv_frame& f) { f.planes[0] = reinterpret_cast<std::uint8_t*>(UINTPTR_MAX - 100); }},
      {" reach past the end of the address space",
       [](kv_frame& f) {
         f.planes[0] = reinterpret_cast<std::uint8_t*>(4096);
         f.strides[0] = -4096;
       }},
      {"->field_order is 3; 0 to 2", [](kv_frame& f) { f.field_order = 3; }},
      {"->row_parity is 2; 0 to 1", [](kv_frame& f) { f.row_parity = 2; }},
      {"->matrix is -1; 0 to 3", [](kv_frame& f) { f.matrix = -1; }},
      {"->range is 3; 0 to 2", [](kv_frame& f) { f.range = 3; }},
      {"->chroma is 7; 0 to 2", [](kv_frame& f) { f.chroma = 7; }},
      {": a reserved field is not 0", [](kv_frame& f) { f.reserved[4] = 1; }},
  };
  return faults;
}

TEST(WrongCalls, SoundArgumentsAreTaken) {
  for (const Function& function : Functions()) {
    Arguments arguments;
    EXPECT_EQ(function.call(ArgumentsFor(function, arguments)), KV_OK)
        << function.name << ": " << kv_last_error();
  }
}

TEST(WrongCalls, EveryFaultOfEveryFrame) {
  int calls = 0;
  for (const Function& function : Functions()) {
    for (std::size_t i = 0; i < function.frames.size(); ++i) {
      for (const FrameFault& fault : FrameFaults()) {
        Arguments arguments;
        ArgumentsFor(function, arguments);
        kv_frame spoilt = *arguments.frames[i];
        fault.spoil(spoilt);
        arguments.frames[i] = &spoilt;
        ExpectFailure(function.call(arguments), KV_BAD_ARGUMENT, function.frames[i], function.name);
        ExpectFailure(KV_OK, KV_OK, fault.text, std::string(function.name) + ' ' + function.frames[i]);
        ++calls;
      }
      Arguments arguments;
      ArgumentsFor(function, arguments);
      arguments.frames[i] = nullptr;
      ExpectFailure(function.call(arguments), KV_BAD_ARGUMENT, std::string(function.frames[i]) + " is null",
                    function.name);
      alignas(16) unsigned char bytes[sizeof(kv_frame) + 16] = {};
      arguments.frames[i] = reinterpret_cast<kv_frame*>(bytes + 1);
      ExpectFailure(function.call(arguments), KV_BAD_ARGUMENT, "its address must be a multiple of 8",
                    function.name);
      calls += 2;
    }
  }
  EXPECT_GE(calls, 300);
}

TEST(WrongCalls, OtherSizesAndFormats) {
  for (const Function& function : Functions()) {
    for (std::size_t i = 1; i < function.frames.size(); ++i) {
      const bool isMatched = std::string(function.name).starts_with("kv_find") ||
                             std::string(function.name) == "kv_copy_region" ||
                             std::string(function.name) == "kv_pan";
      Arguments arguments;
      ArgumentsFor(function, arguments);
      kv_frame other = *arguments.frames[i];
      other.height = soundHeight - 1;
      arguments.frames[i] = &other;
      if (!isMatched) {
        ExpectFailure(function.call(arguments), KV_SIZE_MISMATCH, "is 24x15", function.name);
      }
      other.height = soundHeight;
      other.format = KV_FORMAT_RGBX32;
      if (std::string(function.name) != "kv_convert") {
        ExpectFailure(function.call(arguments), KV_UNSUPPORTED, "RGBX32", function.name);
        EXPECT_NE(std::string(kv_last_error()).find(function.frames[i]), std::string::npos)
            << kv_last_error();
      }
    }
  }
}

TEST(WrongCalls, OverlappingFrames) {
  for (const Function& function : Functions()) {
    // Functions that write no frame.
    if (std::string(function.name).starts_with("kv_find")) continue;
    if (std::string(function.name) == "kv_difference_stats") continue;
    if (std::string(function.name) == "kv_track_next") continue;
    Arguments arguments;
    ArgumentsFor(function, arguments);
    const std::size_t last = function.frames.size() - 1;
    for (std::size_t i = 0; i < last; ++i) {
      kv_frame overlapping = *arguments.frames[last];
      // The destination's rows start with the source's second row.
      overlapping.planes[0] = arguments.frames[i]->planes[0] + arguments.frames[i]->strides[0];
      overlapping.strides[0] = arguments.frames[i]->strides[0];
      kv_frame* frames[4] = {arguments.frames[0], arguments.frames[1], arguments.frames[2],
                             arguments.frames[3]};
      std::swap_ranges(frames, frames + 4, arguments.frames);
      arguments.frames[last] = &overlapping;
      ExpectFailure(function.call(arguments), KV_BAD_ARGUMENT,
                    "destination: plane 0 overlaps plane 0 of " + std::string(function.frames[i]),
                    function.name);
      std::copy_n(frames, 4, arguments.frames);
    }
  }
}

TEST(WrongCalls, ContextAndCall) {
  for (const Function& function : Functions()) {
    const auto expect = [&](kv_status status, const char* text,
                            const std::function<void(Arguments&)>& spoil) {
      Arguments arguments;
      ArgumentsFor(function, arguments);
      spoil(arguments);
      ExpectFailure(function.call(arguments), status, text, function.name);
    };
    expect(KV_BAD_ARGUMENT, "context is null", [](Arguments& a) { a.context = nullptr; });
    expect(KV_BAD_ARGUMENT, "call->struct_size is 200", [](Arguments& a) { a.call->struct_size = 200; });
    expect(KV_BAD_ARGUMENT, "call->threads is 257; 0 to 256", [](Arguments& a) { a.call->threads = 257; });
    expect(KV_BAD_ARGUMENT, "call->threads is -1; 0 to 256", [](Arguments& a) { a.call->threads = -1; });
    expect(KV_BAD_ARGUMENT, "call: a reserved field", [](Arguments& a) { a.call->reserved[3] = 1; });
    expect(KV_NO_MEMBER, "call->member is \"kv_algoVAX\"",
           [](Arguments& a) { a.call->member = "kv_algoVAX"; });
    expect(KV_STOPPED, "stopped by the poll function",
           [](Arguments& a) { a.call->poll = [](void*) -> std::int32_t { return 1; }; });
  }
}

}  // namespace
}  // namespace kv_test
