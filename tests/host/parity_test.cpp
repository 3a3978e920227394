// Field order: what `kv parity` makes of interlaced clips, and what other programs see in them.

#include <gtest/gtest.h>

#include <algorithm>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_host::Interlace;
using kv_host::Raster;
using kv_host::RasterKind;
using kv_test::Outcome;

class FieldParity : public testing::Test {
 protected:
  void Done(const std::string& arguments) const {
    const Outcome outcome = kv_test::RunKv(folder_, arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  void Refused(const std::string& arguments, const std::string& message) const {
    const Outcome outcome = kv_test::RunKv(folder_, arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
  }
  std::string Shell(const std::string& command) const {
    const Outcome outcome = kv_test::RunShell(folder_, command);
    EXPECT_EQ(outcome.status, 0) << command << ": " << outcome.err;
    return outcome.err + outcome.out;
  }
  Raster Read(const std::string& name) const {
    return *kv_host::PictureReader((folder_ / name).string()).Next();
  }
  void Write(const std::string& name, const Raster& frame) const {
    kv_host::PictureWriter writer((folder_ / name).string());
    writer.Write(frame);
    writer.Commit();
  }
  /// How many frames FFmpeg's idet holds for interlaced with this field first, of a clip.
  int Detected(const std::string& name, const std::string& kind) const {
    const std::string text =
        Shell("ffmpeg -nostdin -hide_banner -i " + name + " -vf idet -f null - 2>&1 | grep 'Multi frame'");
    const std::size_t at = text.find(kind + ":");
    return at == std::string::npos ? -1 : std::stoi(text.substr(at + kind.size() + 1));
  }
  /// 24 frames of fields, in the order that `first` ("top" or "bottom") states.
  void MakeClip(const std::string& name, const std::string& first) const {
    const std::string letter = first.substr(0, 1);
    Shell(
        "ffmpeg -nostdin -loglevel error -f lavfi -i testsrc2=size=320x240:rate=50:duration=1 -frames:v 24 "
        "-vf "
        "tinterlace=mode=interleave_" +
        first + ",format=yuv422p -field_order " + letter + letter + " -y " + name);
  }

  const kv_test::TempFolder temp_;
  const std::filesystem::path folder_ = temp_.Path();
};

Raster Rows(Interlace interlace) {
  Raster frame = kv_host::MakeRaster(RasterKind::Yuv422Planar, 9, 6);
  for (kv_host::Plane& plane : frame.planes) {
    for (std::size_t i = 0; i < plane.bytes.size(); ++i)
      plane.bytes[i] = static_cast<std::uint8_t>(20 + i * 37 % 200);
  }
  frame.interlace = interlace;
  return frame;
}

TEST_F(FieldParity, ByLineEveryPlaneMovesByOneRow) {
  for (const bool isTop : {true, false}) {
    const Raster a = Rows(isTop ? Interlace::TopFieldFirst : Interlace::BottomFieldFirst);
    Write("a.y4m", a);
    Done("parity a.y4m b.y4m --threads 3");
    const Raster b = Read("b.y4m");
    EXPECT_EQ(b.interlace, isTop ? Interlace::BottomFieldFirst : Interlace::TopFieldFirst);
    for (std::size_t plane = 0; plane < 3; ++plane) {
      for (int y = 0; y < 6; ++y) {
        const int row = isTop ? std::max(y - 1, 0) : std::min(y + 1, 5);
        ASSERT_TRUE(std::ranges::equal(b.planes[plane].Row(y), a.planes[plane].Row(row)))
            << plane << ": " << y;
      }
    }
  }
}

TEST_F(FieldParity, ByFieldEveryRowIsMadeFromTheTwoBesideIt) {
  const Raster a = Rows(Interlace::TopFieldFirst);
  Write("a.y4m", a);
  Done("parity a.y4m b.y4m --method field");
  const Raster b = Read("b.y4m");
  EXPECT_EQ(b.interlace, Interlace::BottomFieldFirst);
  for (std::size_t plane = 0; plane < 3; ++plane) {
    for (int y = 0; y < 6; ++y) {
      const auto above = a.planes[plane].Row(y == 0 ? 1 : y - 1);
      const auto below = a.planes[plane].Row(y == 5 ? 4 : y + 1);
      for (std::size_t x = 0; x < above.size(); ++x) {
        ASSERT_EQ(b.planes[plane].Row(y)[x], (above[x] + below[x] + 1) / 2) << plane << ": " << y;
      }
    }
  }
}

TEST_F(FieldParity, OutsideTheRegionThePictureStays) {
  const Raster a = Rows(Interlace::TopFieldFirst);
  Write("a.y4m", a);
  Done("parity a.y4m b.y4m --region 2,1,4,3");
  Done("convert a.y4m a.uyvy");
  Done("parity a.uyvy c.y4m --size 9x6 --fields top --region 2,1,4,3");
  const Raster b = Read("b.y4m");
  EXPECT_EQ(Read("c.y4m").planes, b.planes);
  for (int y = 0; y < 6; ++y) {
    for (std::size_t x = 0; x < 9; ++x) {
      const bool isInside = x >= 2 && x < 6 && y >= 1 && y < 4;
      ASSERT_EQ(b.planes[0].Row(y)[x], a.planes[0].Row(isInside ? std::max(y - 1, 1) : y)[x])
          << x << ',' << y;
    }
    for (std::size_t x = 0; x < 5; ++x) {
      const bool isInside = (x == 1 || x == 2) && y >= 1 && y < 4;
      ASSERT_EQ(b.planes[1].Row(y)[x], a.planes[1].Row(isInside ? std::max(y - 1, 1) : y)[x])
          << x << ',' << y;
    }
  }
}

TEST_F(FieldParity, ProgressiveClipsNeedForce) {
  Write("a.y4m", Rows(Interlace::Progressive));
  for (const std::string method : {"line", "field", "blend"}) {
    Refused("parity a.y4m b.y4m --method " + method,
            "a.y4m: is progressive, it has no fields to change; --force");
    Done("parity a.y4m b.y4m --force --method " + method);
    EXPECT_EQ(Read("b.y4m").interlace, Interlace::BottomFieldFirst) << method;
  }
  Refused("parity a.y4m b.y4m --method weave", "--method");
}

TEST_F(FieldParity, FfmpegSeesTheOtherOrder) {
  KV_NEEDS_SHELL();
  for (const std::string first : {"top", "bottom"}) {
    MakeClip("a.y4m", first);
    const std::string before = first == "top" ? "TFF" : "BFF";
    const std::string after = first == "top" ? "BFF" : "TFF";
    ASSERT_GE(Detected("a.y4m", before), 20) << first;
    for (const std::string method : {"line", "field"}) {
      Done("parity a.y4m b.y4m --method " + method);
      EXPECT_GE(Detected("b.y4m", after), 20) << method;
      EXPECT_EQ(Detected("b.y4m", before), 0) << method;
    }
  }
}

TEST_F(FieldParity, ByLineIsFfmpegsFieldOrderButForTheEdge) {
  KV_NEEDS_SHELL();
  MakeClip("a.y4m", "top");
  Done("parity a.y4m b.y4m");
  Shell("ffmpeg -nostdin -loglevel error -i a.y4m -vf fieldorder=bff -y c.y4m");
  const Raster b = Read("b.y4m");
  const Raster c = Read("c.y4m");
  EXPECT_EQ(b.interlace, c.interlace);
  for (std::size_t plane = 0; plane < 3; ++plane) {
    for (int y = 1; y < b.height; ++y) {
      ASSERT_TRUE(std::ranges::equal(b.planes[plane].Row(y), c.planes[plane].Row(y))) << plane << ": " << y;
    }
  }
}

}  // namespace
