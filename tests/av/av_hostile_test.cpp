// Files that are cut, damaged or too large.

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using kv_test::ReadFile;
using kv_test::RunKv;
using kv_test::RunShell;
using kv_test::WriteFile;

class AvHostile : public testing::Test {
 protected:
  std::string Make(const std::string& name, const std::string& options) const {
    const Outcome made =
        RunShell(temp_.Path(), "ffmpeg -v error -y -f lavfi -i testsrc2=size=176x144:rate=25 -frames:v 20 " +
                                   options + " " + name + " </dev/null");
    EXPECT_EQ(made.status, 0) << made.err;
    return ReadFile(temp_.Path() / name);
  }
  void ExpectRefused(const std::string& name, const std::string& bytes, const std::string& message) const {
    WriteFile(temp_.Path() / name, bytes);
    const Outcome outcome = RunKv(temp_.Path(), "convert " + name + " out.y4m");
    EXPECT_EQ(outcome.status, 2) << name;
    EXPECT_NE(outcome.err.find(message), std::string::npos) << name << ": " << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "out.y4m")) << name;
  }

  const kv_test::TempFolder temp_;
};

TEST_F(AvHostile, ACutClipKeepsTheFramesBefore) {
  const std::string whole = Make("whole.ts", "-c:v mpeg2video -q 2 -g 5 -pix_fmt yuv420p");
  WriteFile(temp_.Path() / "cut.ts", whole.substr(0, whole.size() * 2 / 3));
  const Outcome outcome = RunKv(temp_.Path(), "convert cut.ts out.y4m");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.ErrorLines(), 1);
  EXPECT_NE(outcome.err.find("cut.ts: frame 1"), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find(" cannot be decoded: "), std::string::npos) << outcome.err;
  ASSERT_EQ(RunKv(temp_.Path(), "convert whole.ts whole.y4m").status, 0);
  const std::string kept = ReadFile(temp_.Path() / "out.y4m");
  EXPECT_GT(kept.size(), 10U * 2 * 176 * 144);
  EXPECT_TRUE(ReadFile(temp_.Path() / "whole.y4m").starts_with(kept));
}

TEST_F(AvHostile, DamagedFramesCanBeSkipped) {
  std::string bytes = Make("intra.avi", "-c:v png -pix_fmt rgb24");
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 0x55);
  WriteFile(temp_.Path() / "intra.avi", bytes);
  const Outcome stopped = RunKv(temp_.Path(), "convert intra.avi stopped.y4m");
  EXPECT_EQ(stopped.status, 2);
  EXPECT_NE(stopped.err.find(" cannot be decoded: "), std::string::npos) << stopped.err;
  const Outcome skipped = RunKv(temp_.Path(), "convert intra.avi skipped.y4m --on-error skip");
  EXPECT_EQ(skipped.status, 0) << skipped.err;
  EXPECT_GT(ReadFile(temp_.Path() / "skipped.y4m").size(), ReadFile(temp_.Path() / "stopped.y4m").size());
}

TEST_F(AvHostile, AWrongChecksumIsDamage) {
  std::string bytes = Make("sums.mkv", "-c:v ffv1 -level 3 -slicecrc 1 -g 5 -pix_fmt yuv422p");
  ASSERT_EQ(RunKv(temp_.Path(), "convert sums.mkv whole.yuv422p").status, 0);
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
  WriteFile(temp_.Path() / "sums.mkv", bytes);
  const Outcome stopped = RunKv(temp_.Path(), "convert sums.mkv stopped.yuv422p");
  EXPECT_EQ(stopped.status, 2);
  const std::string whole = ReadFile(temp_.Path() / "whole.yuv422p");
  const std::string kept = ReadFile(temp_.Path() / "stopped.yuv422p");
  constexpr std::size_t frameBytes = 2U * 176 * 144;
  const std::size_t number = kept.size() / frameBytes;
  EXPECT_GT(number, 5U);
  EXPECT_TRUE(whole.starts_with(kept));
  EXPECT_NE(stopped.err.find("sums.mkv: frame " + std::to_string(number) + " at "), std::string::npos)
      << stopped.err;
  // Those that need the damaged one are left out with it.
  ASSERT_EQ(RunKv(temp_.Path(), "convert sums.mkv skipped.yuv422p --on-error skip").status, 0);
  const std::size_t next = number / 5 * 5 + 5;
  EXPECT_TRUE(ReadFile(temp_.Path() / "skipped.yuv422p") == kept + whole.substr(next * frameBytes));
}

TEST_F(AvHostile, SizesAreCheckedBeforeMemoryIsTaken) {
  const std::string bytes = Make("plain.avi", "-c:v huffyuv -pix_fmt yuv422p");
  const std::size_t header = bytes.find("strf");
  ASSERT_NE(header, std::string::npos);
  const auto withSize = [&](unsigned width, unsigned height) {
    std::string other = bytes;
    for (std::size_t i = 0; i < 4; ++i) {
      other[header + 12 + i] = static_cast<char>(width >> (8 * i));
      other[header + 16 + i] = static_cast<char>(height >> (8 * i));
    }
    return other;
  };
  const auto convert = [&](unsigned width, unsigned height) {
    WriteFile(temp_.Path() / "sized.avi", withSize(width, height));
    // Whatever takes memory for such a picture fails for the want of it.
    const Outcome outcome = RunKv(temp_.Path(), "convert sized.avi out.y4m --max-memory 16");
    EXPECT_EQ(outcome.status, 2) << width << "x" << height;
    return outcome.err;
  };
  for (const auto& [width, height] :
       {std::pair(65536U, 65536U), std::pair(32769U, 2U), std::pair(2U, 32769U), std::pair(32768U, 8193U)}) {
    EXPECT_EQ(convert(width, height),
              "kv: sized.avi: size " + std::to_string(width) + "x" + std::to_string(height) +
                  " is beyond the 32768 pixels of a side or the 268435456 of a picture\n");
  }
  // Not for their size: for the frames, or the memory.
  for (const auto& [width, height] : {std::pair(32768U, 2U), std::pair(32000U, 8000U)}) {
    EXPECT_EQ(convert(width, height).find("is beyond"), std::string::npos) << width << "x" << height;
  }
}

TEST_F(AvHostile, TheDecodersMemoryIsBounded) {
  ASSERT_EQ(RunShell(temp_.Path(),
                     "ffmpeg -v error -f lavfi -i color=size=8192x4320:rate=1 -frames:v 2 -c:v ffv1 -pix_fmt "
                     "yuv444p16le "
                     "large.mkv </dev/null")
                .status,
            0);
  const Outcome outcome = RunKv(temp_.Path(), "convert large.mkv out.y4m --max-memory 32");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_TRUE(outcome.err.starts_with("kv: large.mkv: ")) << outcome.err;
  // A sanitizer's own memory runs out first, and that ends the child.
  const char* message = KV_SANITIZED ? "the decoder ended early" : "--max-memory";
  EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
  // A quarter of the machine holds it.
  EXPECT_EQ(RunKv(temp_.Path(), "convert large.mkv out.yuv422p --frames 0:1").status, 0);
  EXPECT_EQ(std::filesystem::file_size(temp_.Path() / "out.yuv422p"), 2U * 8192 * 4320);
  const Outcome low = RunKv(temp_.Path(), "convert large.mkv out.y4m --max-memory 15");
  EXPECT_EQ(low.status, 2);
  EXPECT_NE(low.err.find("--max-memory: Value 15 not in range 16 to 1048576"), std::string::npos) << low.err;
}

TEST_F(AvHostile, FramesOnTheirWayAreBounded) {
  // Decoded in 16 MiB with room to spare, on its way in none.
  ASSERT_EQ(
      RunShell(temp_.Path(),
               "ffmpeg -v error -f lavfi -i color=size=2048x2048:rate=1 -frames:v 1 -c:v rawvideo -pix_fmt "
               "gray frame.nut && ffmpeg -v error -i frame.nut -vf scale=4096:2100 -c:v rawvideo -pix_fmt "
               "gray wide.nut </dev/null")
          .status,
      0);
  EXPECT_EQ(RunKv(temp_.Path(), "convert frame.nut frame.pgm --max-memory 32").status, 0);
  const Outcome wide = RunKv(temp_.Path(), "convert wide.nut wide.pgm --max-memory 16 --threads 1");
  EXPECT_EQ(wide.status, 2);
  EXPECT_EQ(
      wide.err,
      "kv: wide.nut: frame 0 at 0.000 s cannot be decoded: it takes more memory than --max-memory allows\n");
}

TEST_F(AvHostile, ALimitOfFileSizesIsOneOfFrames) {
  Make("clip.mkv", "-c:v ffv1 -pix_fmt yuv422p");
  // 200 KiB hold two frames, 40 KiB none.
  const auto convert = [&](const char* blocks) {
    return RunShell(temp_.Path(), std::string("ulimit -f ") + blocks +
                                      "; exec \"$KV\" convert clip.mkv out.y4m --frames 0:1");
  };
  const Outcome enough = convert("400");
  EXPECT_EQ(enough.status, 0) << enough.err;
  EXPECT_EQ(convert("80").err,
            "kv: clip.mkv: frame 0 at 0.000 s cannot be decoded: it takes more memory than --max-memory "
            "allows\n");
}

TEST_F(AvHostile, ADecoderThatGoesOnIsNotWaitedFor) {
  ASSERT_EQ(
      RunShell(temp_.Path(),
               "mkdir bare && cp \"$KV\" \"$(dirname \"$KV\")\"/libkv_*.so* bare && cp '" KV_HOSTILE_DECODER
               "' bare/kv_av.so")
          .status,
      0);
  for (const auto& [letter, ending] : {std::pair("a", "crashed"), std::pair("e", "ended early"),
                                       std::pair("n", "was stopped"), std::pair("c", "was stopped")}) {
    WriteFile(temp_.Path() / "clip", letter);
    const Outcome outcome = RunShell(temp_.Path(), "timeout 60 bare/kv convert clip out.y4m");
    EXPECT_EQ(outcome.status, 2) << letter;
    EXPECT_EQ(outcome.err, std::string("kv: clip: the decoder ") + ending + " at frame 0\n") << letter;
  }
}

TEST_F(AvHostile, InfoOfDamagedHeadersIsAnError) {
  const std::string whole = Make("whole.mp4", "-c:v mpeg4");
  std::string noCodec = whole;
  noCodec.replace(noCodec.find("stsd"), 4, "xxxx");
  for (const std::string& bytes : {whole.substr(0, 40), whole.substr(0, whole.size() / 2), noCodec}) {
    WriteFile(temp_.Path() / "damaged.mp4", bytes);
    const Outcome text = RunKv(temp_.Path(), "info damaged.mp4");
    EXPECT_EQ(text.status, 2);
    EXPECT_TRUE(text.err.starts_with("kv: damaged.mp4: ")) << text.err;
    EXPECT_EQ(text.ErrorLines(), 1) << text.err;
    EXPECT_EQ(text.out, "");
    const Outcome json = RunKv(temp_.Path(), "info damaged.mp4 --json");
    EXPECT_EQ(json.status, 2);
    EXPECT_NE(json.out.find("\"file\": \"damaged.mp4\""), std::string::npos) << json.out;
  }
}

TEST_F(AvHostile, DamageOfEveryKindEndsWithAMessage) {
  const std::string mp4 = Make("a.mp4", "-c:v libx264 -pix_fmt yuv420p");
  const std::string mkv = Make("b.mkv", "-c:v mpeg4 -pix_fmt yuv420p");
  std::mt19937 random(27);  // NOLINT: the same damage every time
  for (const std::string& clip : {mp4, mkv}) {
    for (int i = 0; i < 12; ++i) {
      std::string bytes = clip;
      for (int k = 0; k < 20; ++k) bytes[random() % bytes.size()] = static_cast<char>(random());
      if (i % 3 == 0) bytes.resize(random() % bytes.size());
      if (i % 3 == 1) bytes.insert(random() % bytes.size(), mkv.substr(random() % mkv.size(), 5000));
      WriteFile(temp_.Path() / "damaged", bytes);
      const Outcome outcome = RunKv(temp_.Path(), "convert damaged out.y4m");
      EXPECT_TRUE(outcome.status == 0 || outcome.status == 2) << outcome.status << outcome.err;
      EXPECT_EQ(outcome.err.find("crashed"), std::string::npos) << outcome.err;
      EXPECT_EQ(outcome.ErrorLines(), outcome.status == 0 ? 0 : 1) << outcome.err;
    }
  }
}

TEST_F(AvHostile, WithoutTheModuleKvNamesThePackage) {
  Make("clip.mp4", "-c:v mpeg4");
  const Outcome outcome = RunShell(
      temp_.Path(),
      "mkdir bare && cp \"$KV\" \"$(dirname \"$KV\")\"/libkv_*.so* bare && bare/kv convert clip.mp4 x.y4m");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.err.find("the package kv-algo-av, which is not installed, reads MP4"), std::string::npos)
      << outcome.err;
}

}  // namespace
