// --frames goes to a key frame, and gives what decoding from the start gives.

#include <gtest/gtest.h>

#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using kv_test::ReadFile;
using kv_test::RunKv;
using kv_test::RunShell;
using kv_test::WriteFile;

constexpr std::size_t SeekFrameBytes = 2U * 96 * 64;
constexpr std::size_t SeekClipFrames = 150;

class AvSeek : public testing::Test {
 protected:
  void Run(const std::string& command) const {
    const Outcome outcome = RunShell(temp_.Path(), command + " </dev/null");
    ASSERT_EQ(outcome.status, 0) << command << outcome.err;
  }
  void Make(const std::string& name, const std::string& options) const {
    Run("ffmpeg -v error -y -f lavfi -i testsrc2=size=96x64:rate=25 -frames:v " +
        std::to_string(SeekClipFrames) + " " + options + " " + name);
  }
  std::string Frames(const std::string& name, const std::string& options = "") const {
    const Outcome outcome = RunKv(temp_.Path(), "convert " + name + " out.yuv422p " + options);
    EXPECT_EQ(outcome.status, 0) << name << options << outcome.err;
    return ReadFile(temp_.Path() / "out.yuv422p");
  }
  void ExpectEveryPartOf(const std::string& name, std::size_t count = SeekClipFrames) const {
    const std::string whole = Frames(name);
    ASSERT_EQ(whole.size(), count * SeekFrameBytes) << name;
    for (const std::size_t first : {15U, 16U, 23U, 24U, 25U, 49U, 50U, 74U, 75U, 76U, 77U, 99U, 112U}) {
      EXPECT_TRUE(Frames(name, "--frames " + std::to_string(first) + ":2") ==
                  whole.substr(first * SeekFrameBytes, 2 * SeekFrameBytes))
          << name << " at " << first;
    }
    const Outcome none = RunKv(temp_.Path(), "convert " + name + " none.y4m --frames 151:1");
    EXPECT_NE(none.err.find("the file holds " + std::to_string(count) + " frames, so there is no frame 151"),
              std::string::npos)
        << none.err;
  }

  const kv_test::TempFolder temp_;
};

TEST_F(AvSeek, OpenGroupsOfReorderedPictures) {
  const std::string open = "-c:v libx264 -g 25 -bf 3 -x264-params open-gop=1 -pix_fmt yuv420p";
  for (const char* name : {"a.mp4", "b.mov", "c.mkv", "d.ts"}) {
    ASSERT_NO_FATAL_FAILURE(Make(name, open));
    ASSERT_NO_FATAL_FAILURE(ExpectEveryPartOf(name));
  }
  ASSERT_NO_FATAL_FAILURE(Make("fragments.mp4", open + " -movflags frag_keyframe+empty_moov"));
  ASSERT_NO_FATAL_FAILURE(ExpectEveryPartOf("fragments.mp4"));
  for (const char* name : {"e.mxf", "f.ts", "g.mpg", "h.mkv"}) {
    ASSERT_NO_FATAL_FAILURE(Make(name, "-c:v mpeg2video -g 12 -bf 2 -q 3 -pix_fmt yuv420p"));
    ASSERT_NO_FATAL_FAILURE(ExpectEveryPartOf(name));
  }
}

TEST_F(AvSeek, OtherCodecs) {
  struct Clip {
    const char* name;
    const char* options;
  };
  for (const Clip& clip :
       {Clip{"long.mp4", "-c:v libx264 -g 250 -bf 3 -pix_fmt yuv420p"},
        Clip{"four.mp4", "-c:v mpeg4 -g 30 -bf 2 -q 3"}, Clip{"packed.avi", "-c:v mpeg4 -g 30 -bf 2 -q 3"},
        Clip{"states.mkv", "-c:v ffv1 -g 20 -pix_fmt yuv422p"},
        Clip{"intra.mov", "-c:v prores_ks -pix_fmt yuv422p10le"},
        Clip{"hidden.webm",
             "-c:v libvpx -deadline realtime -cpu-used 8 -g 40 -auto-alt-ref 1 "
             "-lag-in-frames 16"},
        Clip{"fields.ts", "-flags +ildct+ilme -c:v libx264 -g 25 -bf 2 -pix_fmt yuv420p"},
        Clip{"high.mp4", "-c:v libx265 -x265-params open-gop=1:keyint=30:bframes=4:log-level=none"}}) {
    ASSERT_NO_FATAL_FAILURE(Make(clip.name, clip.options));
    ASSERT_NO_FATAL_FAILURE(ExpectEveryPartOf(clip.name));
  }
}

TEST_F(AvSeek, EditListsAndCutStarts) {
  ASSERT_NO_FATAL_FAILURE(
      Make("whole.mp4", "-c:v libx264 -g 25 -bf 3 -x264-params open-gop=1 -pix_fmt yuv420p"));
  // The list leaves out pictures from the key frame to the cut; of the other the first pictures lack theirs.
  ASSERT_NO_FATAL_FAILURE(Run("ffmpeg -v error -ss 0.4 -i whole.mp4 -c copy edit.mp4"));
  ASSERT_NO_FATAL_FAILURE(ExpectEveryPartOf("edit.mp4", SeekClipFrames - 10));
  ASSERT_NO_FATAL_FAILURE(Make("whole.ts", "-c:v mpeg2video -g 12 -bf 2 -q 3 -pix_fmt yuv420p"));
  const std::string whole = ReadFile(temp_.Path() / "whole.ts");
  WriteFile(temp_.Path() / "cut.ts", whole.substr(whole.size() / 12 / 188 * 188));
  const std::size_t count = Frames("cut.ts").size() / SeekFrameBytes;
  ASSERT_GT(count, 116U);
  ASSERT_LT(count, SeekClipFrames);
  ASSERT_NO_FATAL_FAILURE(ExpectEveryPartOf("cut.ts", count));
}

TEST_F(AvSeek, WhatComesBeforeTheKeyFrameIsNotDecoded) {
  for (const char* name : {"a.mkv", "b.mov"}) {
    ASSERT_NO_FATAL_FAILURE(Make(name, "-c:v ffv1 -level 3 -slicecrc 1 -g 10 -pix_fmt yuv422p"));
    const std::string whole = Frames(name);
    std::string bytes = ReadFile(temp_.Path() / name);
    bytes[bytes.size() / 3] = static_cast<char>(bytes[bytes.size() / 3] ^ 0x55);
    WriteFile(temp_.Path() / name, bytes);
    EXPECT_EQ(RunKv(temp_.Path(), std::string("convert ") + name + " out.yuv422p").status, 2) << name;
    EXPECT_TRUE(Frames(name, "--frames 147:2") == whole.substr(147 * SeekFrameBytes, 2 * SeekFrameBytes))
        << name;
  }
}

TEST_F(AvSeek, APipeIsDecodedFromItsStart) {
  ASSERT_NO_FATAL_FAILURE(Make("a.mkv", "-c:v mpeg2video -g 12 -bf 2 -pix_fmt yuv420p"));
  const std::string part = Frames("a.mkv", "--frames 100:2");
  const Outcome piped = RunShell(temp_.Path(), "cat a.mkv | \"$KV\" convert - out.yuv422p --frames 100:2");
  ASSERT_EQ(piped.status, 0) << piped.err;
  EXPECT_TRUE(ReadFile(temp_.Path() / "out.yuv422p") == part);
}

}  // namespace
