// Codecs and pixels that people have, each beside ffmpeg's own decoding: the nearer the simpler the way.

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using kv_test::ReadFile;
using kv_test::RunKv;
using kv_test::RunShell;

constexpr double Equal = 1000;

struct FormatCase {
  const char* name;
  const char* options;  // of the encoder
  const char* pixels;   // as kv info shows them
  const char* raw;      // what kv makes of them
  const char* fields;
  const char* path;
  double least;  // PSNR
};

class AvFormats : public testing::Test {
 protected:
  nlohmann::json Report(const std::string& arguments) const {
    const Outcome outcome = RunKv(temp_.Path(), arguments + " --json");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return nlohmann::json::parse(outcome.out);
  }
  void Run(const std::string& command) const {
    const Outcome outcome = RunShell(temp_.Path(), command + " </dev/null");
    ASSERT_EQ(outcome.status, 0) << command << outcome.err;
  }
  void Make(const std::string& name, const std::string& options) const {
    Run("ffmpeg -v error -y -f lavfi -i testsrc2=size=720x576:rate=25 -frames:v 2 " + options + " " + name);
  }
  void Check(const FormatCase& wanted) const {
    SCOPED_TRACE(wanted.name);
    ASSERT_NO_FATAL_FAILURE(Make(wanted.name, wanted.options));
    const std::string name = wanted.name;
    const nlohmann::json info = Report("info " + name)["result"];
    EXPECT_EQ(info["pixels"], wanted.pixels);
    EXPECT_EQ(info["fields"].is_null() ? "" : info["fields"].get<std::string>(), wanted.fields);
    const std::string out = std::string("kv.") + wanted.raw;
    EXPECT_EQ(Report("convert " + name + " " + out)["inputs"][0]["path"], wanted.path);
    ASSERT_NO_FATAL_FAILURE(
        Run("ffmpeg -v error -y -i " + name +
            " -fps_mode passthrough -sws_flags bilinear+accurate_rnd+full_chroma_inp -pix_fmt " +
            std::string(wanted.raw) + " -f rawvideo ffmpeg.raw"));
    const std::string kv = ReadFile(temp_.Path() / out);
    const std::string ffmpeg = ReadFile(temp_.Path() / "ffmpeg.raw");
    ASSERT_EQ(kv.size(), ffmpeg.size());
    double sum = 0;
    for (std::size_t i = 0; i < kv.size(); ++i) {
      const double d = static_cast<unsigned char>(kv[i]) - static_cast<unsigned char>(ffmpeg[i]);
      sum += d * d;
    }
    EXPECT_GE(sum == 0 ? Equal : 10 * std::log10(65025 * static_cast<double>(kv.size()) / sum), wanted.least);
  }

  const kv_test::TempFolder temp_;
};

TEST_F(AvFormats, Video) {
  // Fields and 4:1:1 have rules of kv's own, which ffmpeg's scaler does not follow.
  for (const FormatCase& wanted : {
           FormatCase{"dv.dv", "-s 720x480 -r 30000/1001 -c:v dvvideo -pix_fmt yuv411p", "yuv411p", "yuv422p",
                      "bottom", "rule", 35},
           FormatCase{"pal.dv", "-c:v dvvideo -pix_fmt yuv420p", "yuv420p", "yuv422p", "bottom", "rule", 35},
           FormatCase{"fifty.mov", "-c:v dvvideo -pix_fmt yuv422p", "yuv422p", "yuv422p", "progressive",
                      "direct", Equal},
           FormatCase{"fields.mxf",
                      "-c:v mpeg2video -flags +ildct+ilme -top 1 -field_order tt -pix_fmt yuv422p -q:v 2",
                      "yuv422p", "yuv422p", "top", "direct", Equal},
           FormatCase{"dnx.mxf", "-c:v dnxhd -profile:v dnxhr_hq -pix_fmt yuv422p", "yuv422p", "yuv422p",
                      "progressive", "direct", Equal},
           FormatCase{"raw.mkv", "-c:v rawvideo -pix_fmt uyvy422", "uyvy422", "yuv422p", "progressive",
                      "direct", Equal},
           FormatCase{"ten.mov", "-c:v v210", "yuv422p10le", "yuv422p", "progressive", "rule", 55},
           FormatCase{"hevc.mp4", "-c:v libx265 -pix_fmt yuv420p10le -x265-params log-level=none",
                      "yuv420p10le", "yuv422p", "progressive", "rule", 50},
       }) {
    Check(wanted);
  }
}

TEST_F(AvFormats, BitsAndSampling) {
  for (const FormatCase& wanted : {
           FormatCase{"a.mkv", "-c:v ffv1 -pix_fmt yuv444p", "yuv444p", "yuv422p", "progressive", "rule", 40},
           FormatCase{"b.mkv", "-c:v ffv1 -pix_fmt yuv422p9le", "yuv422p9le", "yuv422p", "progressive",
                      "rule", 55},
           FormatCase{"c.mkv", "-c:v ffv1 -pix_fmt yuv422p12le", "yuv422p12le", "yuv422p", "progressive",
                      "rule", 55},
           FormatCase{"d.mkv", "-c:v ffv1 -pix_fmt yuv444p14le", "yuv444p14le", "yuv422p", "progressive",
                      "rule", 40},
           FormatCase{"e.mkv", "-c:v ffv1 -pix_fmt yuv420p16le", "yuv420p16le", "yuv422p", "progressive",
                      "rule", 50},
           FormatCase{"f.mkv", "-c:v ffv1 -pix_fmt yuv410p", "yuv410p", "yuv422p", "progressive", "rule", 30},
           FormatCase{"g.mkv", "-c:v ffv1 -pix_fmt gray", "gray", "gray", "progressive", "direct", Equal},
           FormatCase{"h.mkv", "-c:v ffv1 -pix_fmt gray16le", "gray16le", "gray", "progressive", "rule", 45},
       }) {
    Check(wanted);
  }
}

TEST_F(AvFormats, Colours) {
  for (const FormatCase& wanted : {
           FormatCase{"rgb.mov", "-c:v qtrle -pix_fmt rgb24", "rgb24", "rgb24", "progressive", "rule", Equal},
           FormatCase{"argb.mov", "-vf format=argb,colorchannelmixer=aa=0.5 -c:v qtrle", "argb", "rgba",
                      "progressive", "rule", Equal},
           FormatCase{"palette.mov", "-c:v png -pix_fmt pal8", "pal8", "rgba", "progressive", "rule", Equal},
           FormatCase{"wide.tiff", "-frames:v 1 -c:v tiff -pix_fmt rgb48le", "rgb48le", "rgb24", "", "rule",
                      60},
           FormatCase{"lzw.tiff", "-frames:v 1 -c:v tiff -compression_algo lzw -pix_fmt rgba", "rgba", "rgba",
                      "", "rule", Equal},
           FormatCase{"planes.mkv", "-c:v ffv1 -pix_fmt gbrp10le", "gbrp10le", "rgb24", "progressive", "rule",
                      50},
           FormatCase{"float.exr", "-frames:v 1 -c:v exr -pix_fmt gbrpf32le", "gbrpf32le", "rgb24", "",
                      "swscale", 50},
           FormatCase{"few.nut", "-c:v rawvideo -pix_fmt rgb555le", "rgb555le", "rgb24", "", "swscale", 50},
       }) {
    Check(wanted);
  }
}

TEST_F(AvFormats, AlphaIsThatOfTheFile) {
  struct AlphaCase {
    const char* name;
    const char* options;
    const char* pixels;
    int most;
  };
  const std::string ramp = "geq=lum='lum(X,Y)':cb='cb(X,Y)':cr='cr(X,Y)':a=";
  for (const AlphaCase& wanted :
       {AlphaCase{"four.mov",
                  "-vf \"format=yuva444p10le,RAMP'mod(X*4,1024)'\" -c:v prores_ks -profile:v 4444",
                  "yuva444p12le", 0},
        AlphaCase{"vp9.webm",
                  "-vf \"format=yuva420p,RAMP'mod(X,256)'\" -c:v libvpx-vp9 -deadline realtime -cpu-used 8 "
                  "-auto-alt-ref 0",
                  "yuva420p", 8}}) {
    SCOPED_TRACE(wanted.name);
    std::string options = wanted.options;
    options.replace(options.find("RAMP"), 4, ramp);
    ASSERT_NO_FATAL_FAILURE(Make(wanted.name, options));
    EXPECT_EQ(Report(std::string("info ") + wanted.name)["result"]["pixels"], wanted.pixels);
    ASSERT_EQ(RunKv(temp_.Path(), std::string("convert ") + wanted.name + " kv.yuy2a").status, 0);
    const std::string kv = ReadFile(temp_.Path() / "kv.yuy2a");
    constexpr std::size_t pixels = 720U * 576;
    ASSERT_EQ(kv.size(), 2 * 3 * pixels);
    for (std::size_t x = 0; x < 720; ++x) {
      const int alpha = static_cast<unsigned char>(kv[2 * pixels + 300 * 720 + x]);
      ASSERT_NEAR(alpha, static_cast<int>(x % 256), wanted.most) << x;
    }
  }
}

}  // namespace
