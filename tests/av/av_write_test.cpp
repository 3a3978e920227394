// Files that the module writes, as ffprobe and ffmpeg see them and as kv reads them again.

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/av/written_files.h"

namespace {

using namespace kv_test;

using AvWrite = WrittenFiles;

TEST_F(AvWrite, LosslessCodecsGiveBackEveryByte) {
  ASSERT_NO_FATAL_FAILURE(Make("in.mkv", "format=yuv422p"));
  const std::string frames = ByFfmpeg("in.mkv", "yuv422p");
  ASSERT_EQ(frames.size(), 6U * 2 * 320 * 240);
  for (const Target& target : {Target{"a.mkv", ""}, Target{"b.mov", "ffv1"}, Target{"c.avi", ""},
                               Target{"d.mkv", "raw"}, Target{"e.mov", "raw"}, Target{"f.avi", "raw"}}) {
    SCOPED_TRACE(target.file);
    ASSERT_NO_FATAL_FAILURE(Convert(std::string("in.mkv ") + target.file + CodecOption(target)));
    EXPECT_TRUE(ByFfmpeg(target.file, "yuv422p") == frames);
    ASSERT_NO_FATAL_FAILURE(Convert(std::string(target.file) + " back.yuv422p"));
    EXPECT_TRUE(ReadFile(temp_.Path() / "back.yuv422p") == frames);
  }
}

TEST_F(AvWrite, EveryKindOfPictureIsLosslessInFfv1) {
  for (const char* pixels : {"gray", "bgr0", "bgra", "yuva422p"}) {
    SCOPED_TRACE(pixels);
    const std::string format = pixels;
    ASSERT_NO_FATAL_FAILURE(Make("in.mkv", "format=" + format));
    ASSERT_NO_FATAL_FAILURE(Convert("in.mkv out.mkv"));
    EXPECT_NE(Probe("out.mkv").find("pix_fmt=" + format + "\n"), std::string::npos);
    const std::string shown = format == "bgr0" ? "bgr24" : format;
    EXPECT_TRUE(ByFfmpeg("out.mkv", shown) == ByFfmpeg("in.mkv", shown));
  }
  ASSERT_NO_FATAL_FAILURE(Make("odd.mkv", "format=yuv444p,crop=319:239,format=yuv422p"));
  ASSERT_NO_FATAL_FAILURE(Convert("odd.mkv out.mkv"));
  EXPECT_TRUE(ByFfmpeg("out.mkv", "yuv422p") == ByFfmpeg("odd.mkv", "yuv422p"));
}

TEST_F(AvWrite, V210KeepsAllButItsTwoReservedCodes) {
  ASSERT_NO_FATAL_FAILURE(Make("in.mkv", "format=yuv422p"));
  std::string frames = ByFfmpeg("in.mkv", "yuv422p");
  // 0 becomes code 4 of 10 bits, the least that is no synchronisation.
  for (char& sample : frames) sample = sample == '\0' ? '\1' : sample;
  for (const char* file : {"v.mov", "v.mkv", "v.avi"}) {
    ASSERT_NO_FATAL_FAILURE(Convert(std::string("in.mkv --codec v210 ") + file));
    ASSERT_NO_FATAL_FAILURE(Convert(std::string(file) + " back.yuv422p"));
    EXPECT_TRUE(ReadFile(temp_.Path() / "back.yuv422p") == frames) << file;
  }
}

TEST_F(AvWrite, LossyCodecsAreNear) {
  ASSERT_NO_FATAL_FAILURE(Make("in.mkv", "format=yuv422p"));
  struct Lossy {
    Target target;
    const char* pixels;
    double least;
  };
  for (const Lossy& lossy :
       {Lossy{{"p.mov", ""}, "yuv422p", 42}, Lossy{{"p.mkv", "prores"}, "yuv422p", 42},
        Lossy{{"m.mxf", ""}, "yuv422p", 40}, Lossy{{"m.mov", "mpeg2"}, "yuv422p", 40},
        Lossy{{"m.mp4", "mpeg2"}, "yuv422p", 40}, Lossy{{"h.mp4", ""}, "yuv420p", 40},
        Lossy{{"h.mkv", "h264"}, "yuv420p", 40}, Lossy{{"h.mov", "h264-422"}, "yuv422p", 40}}) {
    SCOPED_TRACE(lossy.target.file);
    ASSERT_NO_FATAL_FAILURE(Convert(std::string("in.mkv ") + lossy.target.file + CodecOption(lossy.target)));
    EXPECT_GE(Psnr(ByFfmpeg(lossy.target.file, lossy.pixels), ByFfmpeg("in.mkv", lossy.pixels)), lossy.least);
  }
}

TEST_F(AvWrite, WhatFramesDeclareIsDeclaredAgain) {
  ASSERT_NO_FATAL_FAILURE(
      Make("in.mkv", "setfield=tff,setsar=12/11,format=yuv422p",
           "-r 30000/1001 -field_order tt -color_range tv -colorspace bt709 -chroma_sample_location left"));
  const auto expect = [&](const char* file, std::initializer_list<const char*> lines) {
    const std::string probed = Probe(file);
    for (const char* line : lines) {
      EXPECT_NE(probed.find(std::string(line) + "\n"), std::string::npos) << file << ": " << line << "\n"
                                                                          << probed;
    }
  };
  for (const Target& target : {Target{"a.mkv", ""}, Target{"b.mov", ""}, Target{"c.mov", "v210"},
                               Target{"d.mxf", ""}, Target{"e.mp4", ""}, Target{"f.mkv", "mpeg2"}}) {
    ASSERT_NO_FATAL_FAILURE(Convert(std::string("in.mkv ") + target.file + CodecOption(target)));
    expect(target.file, {"color_space=bt709", "color_transfer=bt709", "field_order=tt",
                         "r_frame_rate=30000/1001", "nb_read_frames=6"});
  }
  // 12:11 on 320 x 240 is no shape of MPEG-2.
  for (const char* file : {"a.mkv", "b.mov", "c.mov", "e.mp4"}) expect(file, {"sample_aspect_ratio=12:11"});
  for (const char* file : {"a.mkv", "b.mov", "d.mxf", "e.mp4"}) expect(file, {"color_range=tv"});
  expect("e.mp4", {"codec_name=h264", "pix_fmt=yuv420p", "chroma_location=left"});
  expect("d.mxf", {"codec_name=mpeg2video", "pix_fmt=yuv422p"});
  expect("b.mov", {"codec_name=prores", "pix_fmt=yuv422p10le"});
}

TEST_F(AvWrite, FullRangeIsKeptOrConverted) {
  ASSERT_NO_FATAL_FAILURE(Make("full.mkv", "format=yuv422p", "-color_range pc"));
  ASSERT_NO_FATAL_FAILURE(Convert("full.mkv kept.mkv"));
  EXPECT_NE(Probe("kept.mkv").find("color_range=pc\n"), std::string::npos);
  const std::string full = ByFfmpeg("kept.mkv", "yuvj422p");
  EXPECT_TRUE(full == ByFfmpeg("full.mkv", "yuvj422p"));
  ASSERT_NO_FATAL_FAILURE(Convert("full.mkv kept.mp4"));
  EXPECT_NE(Probe("kept.mp4").find("color_range=pc\n"), std::string::npos);

  const Outcome limited = RunKv(temp_.Path(), "convert full.mkv limited.mov --codec ffv1");
  EXPECT_EQ(limited.status, 0);
  EXPECT_EQ(limited.err, "kv: limited.mov: full range became limited: mov with ffv1 holds no other\n");
  const std::string samples = ByFfmpeg("limited.mov", "yuv422p");
  ASSERT_EQ(samples.size(), full.size());
  const std::size_t pixels = 320U * 240;
  for (std::size_t i = 0; i < 2 * pixels; ++i) {
    const auto from = static_cast<unsigned char>(full[i]);
    const double exact = i < pixels ? 16 + from * 219 / 255.0 : 128 + (from - 128) * 224 / 255.0;
    ASSERT_EQ(static_cast<unsigned char>(samples[i]), std::lround(exact)) << i;
  }
}

TEST_F(AvWrite, PicturesHaveTheColoursOfTheirFormat) {
  ASSERT_NO_FATAL_FAILURE(
      Make("in.mkv", "setfield=tff,format=yuv422p", "-color_range tv -colorspace bt709", 2));
  ASSERT_NO_FATAL_FAILURE(Convert("in.mkv one.jpg --frames 1:1"));
  const std::string probed = Probe("one.jpg");
  for (const char* line : {"codec_name=mjpeg", "pix_fmt=yuvj422p", "color_range=pc", "color_space=bt470bg"})
    EXPECT_NE(probed.find(std::string(line) + "\n"), std::string::npos) << probed;
  ASSERT_NO_FATAL_FAILURE(Convert("in.mkv one.ppm --frames 1:1"));
  ASSERT_NO_FATAL_FAILURE(Convert("one.jpg jpg.ppm"));
  EXPECT_GE(Psnr(ReadFile(temp_.Path() / "jpg.ppm"), ReadFile(temp_.Path() / "one.ppm")), 30);
  ASSERT_NO_FATAL_FAILURE(Convert("one.ppm one.tiff"));
  EXPECT_TRUE(ByFfmpeg("one.tiff", "rgb24") == ByFfmpeg("one.ppm", "rgb24"));
  ASSERT_NO_FATAL_FAILURE(Convert("one.tiff back.ppm"));
  EXPECT_TRUE(ReadFile(temp_.Path() / "back.ppm") == ReadFile(temp_.Path() / "one.ppm"));
  ASSERT_NO_FATAL_FAILURE(Convert("in.mkv all.jpeg"));
  EXPECT_TRUE(std::filesystem::exists(temp_.Path() / "all-0001.jpeg"));
}

TEST_F(AvWrite, WarningsSayWhatAFileDoesNotHold) {
  ASSERT_EQ(
      RunShell(temp_.Path(),
               "ffmpeg -v error -f lavfi -i testsrc2=size=64x48:rate=25 -f lavfi -i sine -t 0.2 -c:v ffv1 "
               "-pix_fmt yuv422p -colorspace bt709 -c:a pcm_s16le in.mkv </dev/null")
          .status,
      0);
  const Outcome converted = RunKv(temp_.Path(), "convert in.mkv out.avi --json");
  ASSERT_EQ(converted.status, 0) << converted.err;
  const auto report = nlohmann::json::parse(converted.out);
  EXPECT_EQ(report["warnings"],
            nlohmann::json({"out.avi: the matrix is not declared: avi with ffv1 has no place for it",
                            "in.mkv: its sound is left out"}));
  // Nobody looks for sound in a picture.
  EXPECT_EQ(RunKv(temp_.Path(), "convert in.mkv out.png --frames 0:1").err, "");
}

TEST_F(AvWrite, WhatFailsLeavesNothing) {
  ASSERT_NO_FATAL_FAILURE(Make("in.mkv", "format=yuv444p,crop=319:239,format=yuv422p"));
  ASSERT_NO_FATAL_FAILURE(Make("noise.mkv", "noise=alls=100:allf=t,format=yuv422p"));
  ASSERT_EQ(
      RunShell(temp_.Path(),
               "ffmpeg -v error -f lavfi -i testsrc2=size=64x48:rate=7 -frames:v 2 -pix_fmt yuv422p slow.y4m "
               "</dev/null")
          .status,
      0);
  const std::string before = Files();
  const auto refuse = [&](const std::string& arguments, const std::string& message) {
    const Outcome outcome = RunKv(temp_.Path(), "convert " + arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
    EXPECT_EQ(Files(), before) << arguments;
  };
  refuse("in.mkv out.mp4",
         "out.mp4: h264 has pictures of an even number of pixels and rows; this one has 319x239");
  refuse("in.mkv out.mov --codec dv",
         "out.mov: kv writes no 'dv' there; a mov file is written with prores, ffv1,");
  refuse("in.mkv out.y4m --codec ffv1", "out.y4m: a y4m file has no codec");
  refuse("slow.y4m out.mxf", "mpeg2video does not take frames of 64x48 at 7:1 a second");
  refuse("in.mkv - --to-format mov --codec ffv1", "mov files are written forth and back, not to a pipe");
  refuse("in.mkv /dev/full --to-format mkv", "/dev/full: cannot be written: ");
  // The system's limit on a file's size, and a signal in the middle.
  const Outcome limited =
      RunShell(temp_.Path(), "ulimit -f 700; exec \"$KV\" convert noise.mkv out.mkv --codec ffv1");
  EXPECT_EQ(limited.status, 2);
  EXPECT_NE(limited.err.find("out.mkv: cannot be written"), std::string::npos) << limited.err;
  EXPECT_EQ(Files(), before);
  RunShell(temp_.Path(), "(cat in.mkv; sleep 5) | timeout -s TERM 1 \"$KV\" convert - out.mkv");
  EXPECT_EQ(Files(), before);
}

TEST_F(AvWrite, APipeGetsMatroskaAndRunsAreEqual) {
  ASSERT_NO_FATAL_FAILURE(Make("in.mkv", "format=yuv422p"));
  ASSERT_NO_FATAL_FAILURE(Convert("in.mkv a.mov"));
  ASSERT_NO_FATAL_FAILURE(Convert("in.mkv b.mov"));
  EXPECT_TRUE(ReadFile(temp_.Path() / "a.mov") == ReadFile(temp_.Path() / "b.mov"));
  const Outcome piped =
      RunShell(temp_.Path(), "\"$KV\" convert in.mkv - --to-format mkv | \"$KV\" convert - piped.yuv422p");
  ASSERT_EQ(piped.status, 0) << piped.err;
  EXPECT_TRUE(ReadFile(temp_.Path() / "piped.yuv422p") == ByFfmpeg("in.mkv", "yuv422p"));
}

}  // namespace
