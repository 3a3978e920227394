// What files that the module writes declare, to ffprobe.

#include <gtest/gtest.h>

#include <array>

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
