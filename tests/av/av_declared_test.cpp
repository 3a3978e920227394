// What files that the module writes declare, to ffprobe.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <vector>

#include "host/av/door.h"
#include "tests/av/written_files.h"

namespace {

using namespace kv_test;

using AvDeclared = WrittenFiles;

/// Every container with every codec that it may have, against the table of docs/files.md.
TEST_F(AvDeclared, EveryFileIsWhatItIsCalledToFfprobe) {
  ASSERT_NO_FATAL_FAILURE(
      Make("in.mkv", "setfield=tff,format=yuv422p",
           "-r 30000/1001 -field_order tt -color_range tv -colorspace bt709 -chroma_sample_location left"));
  struct Written {
    Target target;
    const char* codec;
    const char* pixels;
    std::string declared;  ///< Letters: range, matrix, transfer function, field order, position of chroma.
  };
  for (const Written& written : {
           Written{{"a.mkv", ""}, "ffv1", "yuv422p", "RMTFP"},
           Written{{"b.mkv", "raw"}, "rawvideo", "uyvy422", "RMTFP"},
           Written{{"c.mkv", "v210"}, "v210", "yuv422p10le", "RMTFP"},
           Written{{"d.mkv", "prores"}, "prores", "yuv422p10le", "RMTFP"},
           Written{{"e.mkv", "mpeg2"}, "mpeg2video", "yuv422p", "RMTFP"},
           Written{{"f.mkv", "h264"}, "h264", "yuv420p", "RMTFP"},
           Written{{"g.mkv", "h264-422"}, "h264", "yuv422p", "RMTFP"},
           Written{{"a.mov", ""}, "prores", "yuv422p10le", "RMTF"},
           Written{{"b.mov", "ffv1"}, "ffv1", "yuv422p", "MTF"},
           Written{{"c.mov", "raw"}, "rawvideo", "uyvy422", "MTF"},
           Written{{"d.mov", "v210"}, "v210", "yuv422p10le", "MTF"},
           Written{{"e.mov", "mpeg2"}, "mpeg2video", "yuv422p", "RMTFP"},
           Written{{"f.mov", "h264"}, "h264", "yuv420p", "RMTFP"},
           Written{{"g.mov", "h264-422"}, "h264", "yuv422p", "RMTFP"},
           Written{{"a.mp4", ""}, "h264", "yuv420p", "RMTFP"},
           Written{{"b.mp4", "h264-422"}, "h264", "yuv422p", "RMTFP"},
           Written{{"c.mp4", "mpeg2"}, "mpeg2video", "yuv422p", "RMTFP"},
           Written{{"a.mxf", ""}, "mpeg2video", "yuv422p", "RMTFP"},
           Written{{"a.avi", ""}, "ffv1", "yuv422p", ""},
           Written{{"b.avi", "raw"}, "rawvideo", "uyvy422", ""},
           Written{{"c.avi", "v210"}, "v210", "yuv422p10le", ""},
       }) {
    SCOPED_TRACE(std::string(written.target.file) + " " + written.target.codec);
    ASSERT_NO_FATAL_FAILURE(
        Convert(std::string("in.mkv ") + written.target.file + CodecOption(written.target)));
    const std::string probed = Probe(written.target.file);
    const auto has = [&](const std::string& line) { return probed.find(line + "\n") != std::string::npos; };
    EXPECT_TRUE(has(std::string("codec_name=") + written.codec)) << probed;
    EXPECT_TRUE(has(std::string("pix_fmt=") + written.pixels)) << probed;
    EXPECT_TRUE(has("width=320") && has("height=240") && has("nb_read_frames=6")) << probed;
    EXPECT_TRUE(has("r_frame_rate=30000/1001")) << probed;
    const auto declares = [&](char letter) { return written.declared.find(letter) != std::string::npos; };
    EXPECT_EQ(has("color_range=tv"), declares('R')) << probed;
    EXPECT_EQ(has("color_space=bt709"), declares('M')) << probed;
    EXPECT_EQ(has("color_transfer=bt709"), declares('T')) << probed;
    EXPECT_EQ(has("field_order=tt"), declares('F')) << probed;
    // FFmpeg's word for it where chroma has all rows and MPEG-2 is left.
    EXPECT_EQ(has("chroma_location=left") || has("chroma_location=topleft"), declares('P')) << probed;
  }
  // In AVI the pictures of FFV1 declare their fields themselves.
  const Outcome frames =
      RunShell(temp_.Path(),
               "ffprobe -v error -show_entries frame=interlaced_frame,top_field_first -of csv=p=0 a.avi");
  EXPECT_EQ(frames.out, "1,1\n1,1\n1,1\n1,1\n1,1\n1,1\n");
}

TEST_F(AvDeclared, TimesOfAVariableRate) {
  const Outcome made =
      RunShell(temp_.Path(),
               "ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=25 -vf "
               "\"select='not(eq(mod(n,5),3))'\" -frames:v 16 -fps_mode passthrough -c:v libx264 "
               "-pix_fmt yuv420p variable.mp4 </dev/null");
  ASSERT_EQ(made.status, 0) << made.err;
  const auto timesOf = [&](const std::string& file) {
    std::istringstream lines(
        RunShell(temp_.Path(), "ffprobe -v error -show_entries packet=pts_time -of csv=p=0 " + file).out);
    std::vector<double> times;
    for (std::string line; std::getline(lines, line);) times.push_back(std::stod(line));
    std::ranges::sort(times);
    return times;
  };
  const double numbers[] = {0, 1, 2, 4, 5, 6, 7, 9, 10, 11, 12, 14, 15, 16, 17, 19};
  // H.264 is decoded in another order than it is shown in.
  for (const Target& target : {Target{"a.mkv", ""}, Target{"b.mkv", "h264"}, Target{"a.mov", ""},
                               Target{"b.mov", "h264"}, Target{"c.mov", "raw"}, Target{"a.mp4", ""}}) {
    SCOPED_TRACE(target.file);
    const bool isInMilliseconds = std::string(target.file).ends_with("mkv");
    ASSERT_NO_FATAL_FAILURE(Convert(std::string("variable.mp4 ") + target.file + CodecOption(target)));
    const std::vector<double> times = timesOf(target.file);
    ASSERT_EQ(times.size(), 16U);
    for (std::size_t i = 0; i < 16; ++i)
      EXPECT_NEAR(times[i] - times[0], numbers[i] / 25, isInMilliseconds ? 0.0006 : 1e-5) << i;
  }
  ASSERT_NO_FATAL_FAILURE(Convert("variable.mp4 part.mov --frames 6:4"));
  const std::vector<double> part = timesOf("part.mov");
  ASSERT_EQ(part.size(), 4U);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(part[i], (numbers[6 + i] - numbers[6]) / 25, 1e-5) << i;
  // The operations keep them, and parts follow each other.
  ASSERT_EQ(RunKv(temp_.Path(), "filter variable.mp4 filtered.mov --window 3").status, 0);
  EXPECT_EQ(timesOf("filtered.mov"), timesOf("a.mov"));
  ASSERT_EQ(RunKv(temp_.Path(), "join variable.mp4 variable.mp4 -o joined.mov").status, 0);
  const std::vector<double> joined = timesOf("joined.mov");
  ASSERT_EQ(joined.size(), 32U);
  for (std::size_t i = 17; i < 32; ++i) EXPECT_NEAR(joined[i] - joined[16], numbers[i - 16] / 25, 2e-5) << i;
  EXPECT_GT(joined[16], joined[15]);
  ASSERT_NO_FATAL_FAILURE(Convert("variable.mp4 steady.mov --rate 50"));
  EXPECT_NEAR(timesOf("steady.mov")[15], 15.0 / 50, 1e-5);
}

/// Bytes that are written forth and back.
struct WrittenBytes {
  std::string bytes;
  std::size_t at = 0;

  static int Write(void* context, const std::uint8_t* from, int count) {
    auto& to = *static_cast<WrittenBytes*>(context);
    const auto size = static_cast<std::size_t>(count);
    to.bytes.resize(std::max(to.bytes.size(), to.at + size));
    std::copy_n(from, size, to.bytes.begin() + static_cast<std::ptrdiff_t>(to.at));
    to.at += size;
    return count;
  }
  static int Seek(void* context, std::int64_t position) {
    static_cast<WrittenBytes*>(context)->at = static_cast<std::size_t>(position);
    return 0;
  }
};

TEST_F(AvDeclared, TimesThatAreNotKnownOrTooClose) {
  WrittenBytes written;
  const KvAvOutput output{.context = &written, .write = WrittenBytes::Write, .seek = WrittenBytes::Seek};
  KvAvTarget target{};
  target.container = "mov";
  target.encoder = "rawvideo";
  target.options = "";
  target.pixels = "uyvy422";
  target.width = target.height = 16;
  target.threads = target.rate[1] = target.isVariable = 1;
  target.rate[0] = 25;
  const KvAvDoor& door = *kv_av_door();
  KvAvRecording* recording = nullptr;
  char problem[KvAvProblemSize] = "";
  ASSERT_EQ(door.create(&output, &target, &recording, problem), KvAvDone) << problem;
  const std::vector<std::uint8_t> frame(2U * 16 * 16);
  for (const double time : {0.0, 0.1, -1.0, 0.5, 0.500001, 2.0})
    EXPECT_EQ(door.add(recording, frame.data(), frame.size(), time, problem), KvAvDone) << problem;
  EXPECT_EQ(door.finish(recording, problem), KvAvDone) << problem;
  door.release(recording);
  kv_test::WriteFile(temp_.Path() / "times.mov", written.bytes);
  EXPECT_EQ(
      RunShell(temp_.Path(), "ffprobe -v error -show_entries packet=pts_time -of csv=p=0 times.mov").out,
      "0.000000\n0.100000\n0.140000\n0.500000\n0.500011\n2.000000\n");
}

TEST_F(AvDeclared, Pictures) {
  ASSERT_NO_FATAL_FAILURE(Make("in.mkv", "format=yuv422p", "", 1));
  for (const auto& [file, codec, pixels] :
       {std::array{"a.jpg", "mjpeg", "yuvj422p"}, std::array{"a.tiff", "tiff", "rgb24"}}) {
    ASSERT_NO_FATAL_FAILURE(Convert(std::string("in.mkv ") + file));
    const std::string probed = Probe(file);
    for (const std::string& line : {std::string("codec_name=") + codec, std::string("pix_fmt=") + pixels,
                                    std::string("width=320"), std::string("height=240")})
      EXPECT_NE(probed.find(line + "\n"), std::string::npos) << line << " in " << probed;
  }
}

}  // namespace
