#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace kv_test {

struct Target {
  const char* file;
  const char* codec;  ///< Empty: the format's own.
};

inline std::string CodecOption(const Target& target) {
  return *target.codec == '\0' ? "" : std::string(" --codec ") + target.codec;
}

/// In decibels; 0 for frames that are not of one size.
inline double Psnr(const std::string& a, const std::string& b) {
  if (a.size() != b.size() || a.empty()) return 0;
  double sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const double d = static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i]);
    sum += d * d;
  }
  return sum == 0 ? 1000 : 10 * std::log10(65025 * static_cast<double>(a.size()) / sum);
}

/// Clips of ffmpeg that kv writes anew, and what others see in them.
class WrittenFiles : public testing::Test {
 protected:
  /// A clip of FFV1 by these filters and options of ffmpeg.
  void Make(const std::string& name, const std::string& filters, const std::string& options = "",
            int frames = 6) const {
    const Outcome made =
        RunShell(temp_.Path(), "ffmpeg -v error -y -f lavfi -i \"testsrc2=size=320x240:rate=25," + filters +
                                   "\" -c:v ffv1 -frames:v " + std::to_string(frames) + " " + options + " " +
                                   name + " </dev/null");
    ASSERT_EQ(made.status, 0) << made.err;
  }
  void Convert(const std::string& arguments) const {
    const Outcome converted = RunKv(temp_.Path(), "convert " + arguments);
    ASSERT_EQ(converted.status, 0) << converted.err;
  }
  std::string ByFfmpeg(const std::string& name, const std::string& pixels) const {
    const Outcome read =
        RunShell(temp_.Path(), "ffmpeg -v error -y -i " + name + " -fps_mode passthrough -pix_fmt " + pixels +
                                   " -f rawvideo decoded.raw </dev/null");
    EXPECT_EQ(read.status, 0) << read.err;
    return ReadFile(temp_.Path() / "decoded.raw");
  }
  /// What ffprobe says of a file's stream, one key=value a line.
  std::string Probe(const std::string& name) const {
    const Outcome probed = RunShell(
        temp_.Path(),
        "ffprobe -v error -count_frames -show_entries "
        "stream=codec_name,width,height,pix_fmt,color_range,color_space,"
        "color_primaries,color_transfer,chroma_location,field_order,sample_aspect_ratio,r_frame_rate,nb_read_"
        "frames -of default=noprint_wrappers=1 " +
            name);
    EXPECT_EQ(probed.status, 0) << probed.err;
    return probed.out;
  }
  /// The files of the folder, hidden ones too.
  std::string Files() const { return RunShell(temp_.Path(), "ls -A").out; }

  const TempFolder temp_;
};

}  // namespace kv_test
