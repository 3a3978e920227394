// Clips that ffmpeg makes, beside ffmpeg's own decoding of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/av/written_files.h"
#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using kv_test::Psnr;
using kv_test::ReadFile;
using kv_test::RunKv;
using kv_test::RunShell;

constexpr int Width = 352;
constexpr int Height = 288;
constexpr std::size_t FrameBytes = 2U * Width * Height;

class AvFiles : public testing::Test {
 protected:
  /// A clip by these options of ffmpeg.
  void Make(const std::string& name, const std::string& options, int frames = 12) const {
    const Outcome made =
        RunShell(temp_.Path(), "ffmpeg -v error -y -f lavfi -i testsrc2=size=352x288:rate=25 -frames:v " +
                                   std::to_string(frames) + " " + options + " " + name + " </dev/null");
    ASSERT_EQ(made.status, 0) << made.err;
  }
  /// Planar 4:2:2 of all frames, as kv reads them.
  std::string ByKv(const std::string& name, const std::string& options = "") const {
    const Outcome read =
        RunShell(temp_.Path(), "\"$KV\" convert " + name + " kv.y4m " + options +
                                   " && ffmpeg -v error -y -i kv.y4m -f rawvideo kv.yuv </dev/null");
    EXPECT_EQ(read.status, 0) << read.err;
    return ReadFile(temp_.Path() / "kv.yuv");
  }
  std::string ByFfmpeg(const std::string& name, const std::string& pixels = "yuv422p") const {
    const Outcome read =
        RunShell(temp_.Path(), "ffmpeg -v error -y -i " + name + " -fps_mode passthrough -pix_fmt " + pixels +
                                   " -f rawvideo ffmpeg.yuv </dev/null");
    EXPECT_EQ(read.status, 0) << read.err;
    return ReadFile(temp_.Path() / "ffmpeg.yuv");
  }
  nlohmann::json Report(const std::string& arguments) const {
    const Outcome outcome = RunKv(temp_.Path(), arguments + " --json");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return nlohmann::json::parse(outcome.out);
  }

  const kv_test::TempFolder temp_;
};

TEST_F(AvFiles, Lossless422ComesInByteForByte) {
  struct Clip {
    const char* name;
    const char* options;
  };
  for (const Clip& clip :
       {Clip{"ffv1.mkv", "-c:v ffv1 -pix_fmt yuv422p"}, Clip{"huff.avi", "-c:v huffyuv -pix_fmt yuv422p"},
        Clip{"uyvy.mov", "-c:v rawvideo -pix_fmt uyvy422"},
        Clip{"yuyv.nut", "-c:v rawvideo -pix_fmt yuyv422"},
        Clip{"mpeg2.mxf", "-c:v mpeg2video -q 2 -pix_fmt yuv422p"}}) {
    SCOPED_TRACE(clip.name);
    ASSERT_NO_FATAL_FAILURE(Make(clip.name, clip.options));
    const std::string kv = ByKv(clip.name);
    EXPECT_EQ(kv.size(), 12 * FrameBytes);
    EXPECT_TRUE(kv == ByFfmpeg(clip.name));
  }
}

TEST_F(AvFiles, LossyAnd420AreNearFfmpegs) {
  struct Clip {
    const char* name;
    const char* options;
    const char* pixels;
    double least;
  };
  // Full range stays full here; ffmpeg keeps it under the older names of its formats.
  for (const Clip& clip :
       {Clip{"h264.mp4", "-c:v libx264 -bf 3 -pix_fmt yuv420p", "yuv422p", 45},
        Clip{"mpeg4.avi", "-c:v mpeg4 -q 3 -pix_fmt yuv420p", "yuv422p", 45},
        Clip{"mpeg1.mpg", "-c:v mpeg1video -q 3 -pix_fmt yuv420p", "yuv422p", 40},
        Clip{"ten.mkv", "-c:v ffv1 -pix_fmt yuv420p10le", "yuv422p", 45},
        Clip{"prores.mov", "-c:v prores_ks -pix_fmt yuv422p10le", "yuv422p", 55},
        Clip{"v210.mov", "-c:v v210 -pix_fmt yuv422p10le", "yuv422p", 55},
        Clip{"motion.avi", "-c:v mjpeg -q 2 -pix_fmt yuvj422p", "yuvj422p", 1000},
        Clip{"vp9.webm", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -pix_fmt yuv420p", "yuv422p", 45}}) {
    SCOPED_TRACE(clip.name);
    ASSERT_NO_FATAL_FAILURE(Make(clip.name, clip.options));
    const std::string kv = ByKv(clip.name);
    EXPECT_EQ(kv.size(), 12 * FrameBytes);
    EXPECT_GE(Psnr(kv, ByFfmpeg(clip.name, clip.pixels)), clip.least);
  }
}

TEST_F(AvFiles, PicturesBecomePictures) {
  ASSERT_NO_FATAL_FAILURE(Make("photo.tiff", "-c:v tiff -pix_fmt rgb24", 1));
  ASSERT_EQ(RunKv(temp_.Path(), "convert photo.tiff photo.ppm").status, 0);
  const std::string ppm = ReadFile(temp_.Path() / "photo.ppm");
  EXPECT_TRUE(ppm.substr(ppm.size() - 3U * Width * Height) == ByFfmpeg("photo.tiff", "rgb24"));
  ASSERT_NO_FATAL_FAILURE(Make("photo.jpg", "-c:v mjpeg -q 2 -pix_fmt yuvj420p", 1));
  ASSERT_EQ(RunKv(temp_.Path(), "convert photo.jpg photo.png").status, 0);
  EXPECT_EQ(Report("info photo.png")["result"]["width"], Width);
}

TEST_F(AvFiles, AlphaAndPalettesAreKept) {
  ASSERT_NO_FATAL_FAILURE(Make(
      "alpha.mkv",
      "-vf \"format=yuva422p,geq=lum='lum(X,Y)':cb='cb(X,Y)':cr='cr(X,Y)':a='mod(X,256)'\" -c:v ffv1", 1));
  ASSERT_EQ(RunKv(temp_.Path(), "convert alpha.mkv alpha.yuy2a").status, 0);
  const std::string frame = ReadFile(temp_.Path() / "alpha.yuy2a");
  ASSERT_EQ(frame.size(), FrameBytes + static_cast<std::size_t>(Width) * Height);
  for (std::size_t x = 0; x < Width; ++x)
    ASSERT_EQ(static_cast<unsigned char>(frame[FrameBytes + x]), x % 256) << x;
  ASSERT_NO_FATAL_FAILURE(Make("palette.gif", "-c:v gif", 1));
  ASSERT_EQ(RunKv(temp_.Path(), "convert palette.gif palette.ppm").status, 0);
  const std::string ppm = ReadFile(temp_.Path() / "palette.ppm");
  EXPECT_TRUE(ppm.substr(ppm.size() - 3U * Width * Height) == ByFfmpeg("palette.gif", "rgb24"));
}

TEST_F(AvFiles, FramesByNumberAreThoseOfTheWholeClip) {
  ASSERT_NO_FATAL_FAILURE(
      Make("long.mp4", "-c:v libx264 -g 250 -bf 3 -x264-params open-gop=1 -pix_fmt yuv422p", 40));
  const std::string whole = ByKv("long.mp4");
  ASSERT_EQ(whole.size(), 40 * FrameBytes);
  for (const std::size_t first : {0U, 1U, 17U, 38U}) {
    const std::string part = ByKv("long.mp4", "--frames " + std::to_string(first) + ":2");
    EXPECT_TRUE(part == whole.substr(first * FrameBytes, 2 * FrameBytes)) << first;
  }
  const Outcome none = RunKv(temp_.Path(), "convert long.mp4 none.y4m --frames 40:1");
  EXPECT_EQ(none.status, 2);
  EXPECT_NE(none.err.find("the file holds 40 frames, so there is no frame 40 (the first is 0)"),
            std::string::npos)
      << none.err;
}

TEST_F(AvFiles, APhotographAccompaniesAPartOfAClip) {
  ASSERT_NO_FATAL_FAILURE(Make("clip.mkv", "-c:v ffv1 -pix_fmt yuv422p"));
  ASSERT_NO_FATAL_FAILURE(Make("still.jpg", "-pix_fmt yuvj422p", 1));
  ASSERT_NO_FATAL_FAILURE(Make("still.tiff", "-pix_fmt rgb24", 1));
  for (const std::string name : {"still.jpg", "still.tiff"}) {
    const auto bytes = [&](const std::string& arguments) {
      EXPECT_EQ(RunKv(temp_.Path(), "diff " + arguments + " out.y4m --overwrite").status, 0) << arguments;
      return ReadFile(temp_.Path() / "out.y4m").size();
    };
    const std::size_t three = bytes("clip.mkv " + name + " --frames 5:3");
    EXPECT_EQ(three / FrameBytes, 3U);
    EXPECT_EQ(bytes(name + " clip.mkv") / FrameBytes, 12U);
    const Outcome beyond = RunKv(temp_.Path(), "convert " + name + " no.png --frames 3:1");
    EXPECT_NE(beyond.err.find("the file holds 1 frame, so there is no frame 3"), std::string::npos)
        << beyond.err;
  }
  // Several in one file are a clip.
  ASSERT_EQ(RunShell(temp_.Path(), "cat still.jpg still.jpg still.jpg >three.jpg").status, 0);
  const Outcome shorter = RunKv(temp_.Path(), "diff clip.mkv three.jpg no.y4m");
  EXPECT_NE(shorter.err.find("has 3 frames, fewer than the other input"), std::string::npos) << shorter.err;
}

TEST_F(AvFiles, PipesGiveWhatFilesGive) {
  ASSERT_NO_FATAL_FAILURE(Make("clip.ts", "-c:v mpeg2video -q 3 -pix_fmt yuv420p"));
  const Outcome same =
      RunShell(temp_.Path(),
               "\"$KV\" convert clip.ts a.y4m && cat clip.ts | \"$KV\" convert - b.y4m && cmp a.y4m b.y4m");
  EXPECT_EQ(same.status, 0) << same.err << same.out;
}

TEST_F(AvFiles, WhatTheStreamDeclaresGoesOn) {
  ASSERT_NO_FATAL_FAILURE(
      Make("fields.mkv",
           "-vf setfield=bff -c:v ffv1 -field_order bb -pix_fmt yuv422p -colorspace bt709 -color_range tv "
           "-aspect 16:9"));
  const nlohmann::json info = Report("info fields.mkv")["result"];
  EXPECT_EQ(info["fields"], "bottom");
  EXPECT_EQ(info["declared"]["matrix"], "709");
  EXPECT_EQ(info["declared"]["range"], "limited");
  EXPECT_EQ(info["rate"], "25:1");
  EXPECT_EQ(info["aspect"], "16:11");
  EXPECT_EQ(info["streams"].size(), 1U);
  EXPECT_EQ(info["streams"][0]["codec"], "ffv1");
  ASSERT_EQ(RunKv(temp_.Path(), "convert fields.mkv fields.y4m").status, 0);
  EXPECT_TRUE(ReadFile(temp_.Path() / "fields.y4m").starts_with("YUV4MPEG2 W352 H288 F25:1 Ib A16:11"));
}

TEST_F(AvFiles, TheReportSaysHowSamplesCameIn) {
  ASSERT_NO_FATAL_FAILURE(Make("direct.mkv", "-c:v ffv1 -pix_fmt yuv422p", 1));
  ASSERT_NO_FATAL_FAILURE(Make("rule.mkv", "-c:v ffv1 -pix_fmt yuv420p", 1));
  ASSERT_NO_FATAL_FAILURE(Make("scaled.nut", "-c:v rawvideo -pix_fmt rgb565le", 1));
  EXPECT_EQ(Report("convert direct.mkv a.y4m")["inputs"][0]["path"], "direct");
  EXPECT_EQ(Report("convert rule.mkv b.y4m")["inputs"][0]["path"], "rule");
  EXPECT_EQ(Report("convert scaled.nut c.ppm")["inputs"][0]["path"], "swscale");
  EXPECT_EQ(Report("convert c.ppm d.ppm")["inputs"].size(), 0U);
}

TEST_F(AvFiles, DitherIsThatOfRawFiles) {
  ASSERT_NO_FATAL_FAILURE(Make("ten.mkv", "-c:v ffv1 -pix_fmt yuv422p10le", 2));
  ASSERT_EQ(
      RunShell(temp_.Path(), "ffmpeg -v error -i ten.mkv -f rawvideo ten.yuv422p10le </dev/null").status, 0);
  for (const char* dither : {"none", "ordered"}) {
    const std::string option = std::string(" --dither ") + dither;
    ASSERT_EQ(RunKv(temp_.Path(), "convert ten.mkv --overwrite a.yuv422p" + option).status, 0);
    ASSERT_EQ(
        RunKv(temp_.Path(), "convert ten.yuv422p10le --overwrite b.yuv422p --size 352x288" + option).status,
        0);
    EXPECT_TRUE(ReadFile(temp_.Path() / "a.yuv422p") == ReadFile(temp_.Path() / "b.yuv422p")) << dither;
  }
}

TEST_F(AvFiles, AVariableRateIsSaidAndNamed) {
  ASSERT_NO_FATAL_FAILURE(
      Make("variable.mp4",
           "-vf \"select='not(eq(mod(n,5),3))'\" -fps_mode passthrough -c:v libx264 -pix_fmt yuv420p", 40));
  EXPECT_EQ(Report("info variable.mp4")["result"]["variable"], true);
  // Every fifth frame is left out, the fourth of each five.
  const nlohmann::json times = Report("convert variable.mp4 out.yuv422p --frames 2:6")["inputs"][0]["times"];
  ASSERT_EQ(times.size(), 6U);
  const double numbers[] = {2, 4, 5, 6, 7, 9};
  for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(times[i].get<double>(), numbers[i] / 25, 1e-6) << i;
  const Outcome refused = RunKv(temp_.Path(), "convert variable.mp4 out.y4m");
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.err.find("variable.mp4 come at a variable rate"), std::string::npos) << refused.err;
  ASSERT_EQ(RunKv(temp_.Path(), "convert variable.mp4 out.y4m --rate 30000:1001").status, 0);
  EXPECT_TRUE(ReadFile(temp_.Path() / "out.y4m").starts_with("YUV4MPEG2 W352 H288 F30000:1001 "));
  const nlohmann::json mean = Report("convert variable.mp4 mean.avi")["warnings"];
  ASSERT_EQ(mean.size(), 1U);
  EXPECT_NE(mean[0].get<std::string>().find("the time of each frame"), std::string::npos) << mean;
  ASSERT_NO_FATAL_FAILURE(Make("steady.mkv", "-c:v ffv1 -pix_fmt yuv422p -r 30000/1001", 40));
  EXPECT_EQ(Report("info steady.mkv")["result"]["variable"], false);
  EXPECT_EQ(Report("info steady.mkv")["inputs"][0]["times"].size(), 0U);
  for (const char* wrong : {"0", "25:0", "x", "25:", "-1"})
    EXPECT_EQ(RunKv(temp_.Path(), std::string("convert steady.mkv a.y4m --rate=") + wrong).status, 2)
        << wrong;
}

TEST_F(AvFiles, RotationIsSaid) {
  ASSERT_NO_FATAL_FAILURE(Make("straight.mp4", "-c:v libx264 -pix_fmt yuv420p", 2));
  ASSERT_EQ(RunShell(temp_.Path(),
                     "ffmpeg -v error -i straight.mp4 -c copy -metadata:s:v rotate=90 turned.mp4 </dev/null")
                .status,
            0);
  // That many degrees against the clock.
  EXPECT_EQ(Report("info turned.mp4")["result"]["rotation"], 270);
  EXPECT_EQ(RunKv(temp_.Path(), "convert turned.mp4 out.png --frames 0:1").err,
            "kv: turned.mp4: players turn it by 270 degrees; it is not turned\n");
  EXPECT_EQ(Report("info straight.mp4")["result"]["rotation"], 0);
  // The matrix holds its sine and cosine to 16 bits.
  ASSERT_EQ(RunShell(temp_.Path(),
                     "ffmpeg -v error -i straight.mp4 -c copy -metadata:s:v rotate=30 slanted.mp4 </dev/null")
                .status,
            0);
  EXPECT_EQ(Report("info slanted.mp4")["result"]["rotation"], 330);
}

TEST_F(AvFiles, CroppingOfTheCodecIsApplied) {
  ASSERT_NO_FATAL_FAILURE(Make("whole.mp4", "-c:v libx264 -pix_fmt yuv420p", 2));
  const std::string whole = ByKv("whole.mp4");
  struct Margins {
    int left, top, right, bottom;
  };
  for (const Margins& cut : {Margins{2, 0, 0, 0}, Margins{6, 4, 10, 8}, Margins{64, 16, 32, 0}}) {
    const std::string options =
        "crop_left=" + std::to_string(cut.left) + ":crop_top=" + std::to_string(cut.top) +
        ":crop_right=" + std::to_string(cut.right) + ":crop_bottom=" + std::to_string(cut.bottom);
    SCOPED_TRACE(options);
    ASSERT_EQ(RunShell(temp_.Path(), "ffmpeg -v error -y -i whole.mp4 -c copy -bsf:v h264_metadata=" +
                                         options + " cut.mp4 </dev/null")
                  .status,
              0);
    const int width = Width - cut.left - cut.right;
    const int height = Height - cut.top - cut.bottom;
    EXPECT_EQ(Report("info cut.mp4")["result"]["width"], width);
    EXPECT_EQ(Report("info cut.mp4")["result"]["height"], height);
    const std::string kv = ByKv("cut.mp4");
    ASSERT_EQ(kv.size(), 4U * static_cast<std::size_t>(width * height));
    for (int y = 0; y < height; ++y) {
      const auto row = static_cast<std::size_t>(width);
      EXPECT_TRUE(kv.substr(static_cast<std::size_t>(y) * row, row) ==
                  whole.substr(static_cast<std::size_t>((y + cut.top) * Width + cut.left), row))
          << y;
    }
  }
}

TEST_F(AvFiles, AStreamIsChosenByItsNumber) {
  ASSERT_EQ(RunShell(temp_.Path(),
                     "ffmpeg -v error -f lavfi -i testsrc2=size=64x48:rate=5 -f lavfi -i "
                     "testsrc2=size=32x16:rate=5 -f lavfi -i "
                     "sine -map 0 -map 2 -map 1 -t 1 -c:v ffv1 -c:a pcm_s16le two.mkv </dev/null")
                .status,
            0);
  EXPECT_EQ(Report("info two.mkv")["result"]["width"], 64);
  EXPECT_EQ(Report("info two.mkv --stream 2")["result"]["width"], 32);
  const Outcome sound = RunKv(temp_.Path(), "info two.mkv --stream 1");
  EXPECT_EQ(sound.status, 2);
  EXPECT_NE(sound.err.find("stream 1 is no video stream; there are 3 streams"), std::string::npos)
      << sound.err;
}

}  // namespace
