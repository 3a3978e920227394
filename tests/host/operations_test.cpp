// Every command on the photograph, its result compared with what plain loops make of the same samples.

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "host/formats/packing.h"
#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/random.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_host;
using kv_test::Outcome;

class Operations : public testing::Test {
 protected:
  const kv_test::TempFolder temp_;
  const std::filesystem::path folder_ = temp_.Path();

  void Done(const std::string& arguments) const {
    const Outcome outcome = kv_test::RunKv(folder_, arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  void Refused(const std::string& arguments, const std::string& words) const {
    const Outcome outcome = kv_test::RunKv(folder_, arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_NE(outcome.err.find(words), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.ErrorLines(), 1);
  }
  std::string Path(const std::string& name) const { return (folder_ / name).string(); }
  Raster Read(const std::string& name) const { return *PictureReader(Path(name)).Next(); }
  std::vector<Raster> ReadAll(const std::string& name) const {
    PictureReader reader(Path(name));
    std::vector<Raster> frames;
    while (auto frame = reader.Next()) frames.push_back(*std::move(frame));
    return frames;
  }
  void Write(const std::string& name, const Raster& raster) const {
    PictureWriter writer(Path(name));
    writer.Write(raster);
    writer.Commit();
  }
  /// The part of the photograph from x, y on, as planar 4:2:2; x is even.
  static Raster Part(int x, int y, int width, int height) {
    const Raster whole = *PictureReader(kv_test::Photograph().string()).Next();
    Raster part = MakeRaster(RasterKind::Yuv422Planar, width, height);
    for (std::size_t plane = 0; plane < 3; ++plane) {
      for (int row = 0; row < height; ++row) {
        const auto from = whole.planes[plane].Row(y + row);
        const auto to = part.planes[plane].Row(row);
        std::ranges::copy(from.subspan(static_cast<std::size_t>(plane == 0 ? x : x / 2), to.size()),
                          to.begin());
      }
    }
    return part;
  }
  static Raster Grey(int width, int height, std::uint64_t seed) {
    Raster grey = MakeRaster(RasterKind::Grey8, width, height);
    kv_test::Random random(seed);
    for (std::uint8_t& value : grey.planes[0].bytes) value = static_cast<std::uint8_t>(random.Next());
    return grey;
  }
};

TEST_F(Operations, DiffIsTheDifferenceOfLuma) {
  const Raster a = Part(0, 0, 101, 57);
  const Raster b = Part(40, 30, 101, 57);
  Write("a.y4m", a);
  Write("b.y4m", b);
  Done("diff a.y4m b.y4m d.pgm --threads 3");
  const Raster d = Read("d.pgm");
  for (std::size_t i = 0; i < d.planes[0].bytes.size(); ++i) {
    ASSERT_EQ(d.planes[0].bytes[i], std::abs(a.planes[0].bytes[i] - b.planes[0].bytes[i])) << i;
  }
  Done("diff a.y4m b.y4m part.pgm --region 10,5,21,9");
  const Raster part = Read("part.pgm");
  for (int y = 0; y < 57; ++y) {
    for (int x = 0; x < 101; ++x) {
      const bool inside = x >= 10 && x < 31 && y >= 5 && y < 14;
      const auto at = static_cast<std::size_t>(x);
      ASSERT_EQ(part.planes[0].Row(y)[at], inside ? d.planes[0].Row(y)[at] : 0);
    }
  }
  Write("c.y4m", Part(0, 0, 100, 57));
  Refused("diff a.y4m c.y4m d.pgm", "a.y4m is 101x57, c.y4m is 100x57");
  Write("lower.y4m", Part(0, 0, 101, 56));
  Refused("diff a.y4m lower.y4m d.pgm", "a.y4m is 101x57, lower.y4m is 101x56");
  Refused("diff a.y4m b.y4m d.pgm --region 90,0,20,5", "reaches outside the picture of 101x57");
  Refused("diff a.y4m b.y4m d.pgm --region 1,2,3", "--region: '1,2,3'");
}

TEST_F(Operations, AverageMergesTwoRegions) {
  const Raster a = Grey(50, 20, 1);
  const Raster b = Grey(50, 20, 2);
  Write("a.pgm", a);
  Write("b.pgm", b);
  Done("average a.pgm b.pgm m.pgm --region-a 0,0,30,20 --region-b 20,0,24,20");
  const Raster m = Read("m.pgm");
  for (int y = 0; y < 20; ++y) {
    for (std::size_t x = 0; x < 50; ++x) {
      const int p = a.planes[0].Row(y)[x];
      const int q = b.planes[0].Row(y)[x];
      // The overlap has ten columns: eight by halves, two by the sum.
      const int mean = x < 28 ? p / 2 + q / 2 : (p + q) / 2;
      const int expected = x < 20 ? p : x < 30 ? mean : x < 44 ? q : 0;
      ASSERT_EQ(m.planes[0].Row(y)[x], expected) << x << "," << y;
    }
  }
}

TEST_F(Operations, FilterIsTheMeanOfABox) {
  const Raster a = Grey(40, 30, 3);
  Write("a.pgm", a);
  Done("filter a.pgm same.pgm --window 1");
  EXPECT_EQ(Read("same.pgm").planes, a.planes);
  Done("filter a.pgm soft.pgm --window 5 --threads 4");
  const Raster soft = Read("soft.pgm");
  for (int y = 2; y < 28; ++y) {
    for (int x = 2; x < 38; ++x) {
      int sum = 0;
      for (int row = y - 2; row <= y + 2; ++row) {
        for (int column = x - 2; column <= x + 2; ++column) {
          sum += a.planes[0].Row(row)[static_cast<std::size_t>(column)];
        }
      }
      ASSERT_EQ(soft.planes[0].Row(y)[static_cast<std::size_t>(x)], sum / 25);
    }
  }
  Refused("filter a.pgm b.pgm --window 0", "--window");
  Refused("filter a.pgm b.pgm --window 256", "--window");
}

TEST_F(Operations, MasksGiveTheRegion) {
  const Raster a = Grey(12, 6, 4);
  Raster mask = MakeRaster(RasterKind::Grey8, 12, 6);
  for (std::size_t x = 3; x < 8; ++x) mask.planes[0].Row(2)[x] = 255;
  for (std::size_t x = 5; x < 6; ++x) mask.planes[0].Row(4)[x] = 1;
  Write("a.pgm", a);
  Write("mask.pgm", mask);
  Done("filter a.pgm out.pgm --window 3 --region-mask mask.pgm");
  const Raster out = Read("out.pgm");
  for (int y = 0; y < 6; ++y) {
    for (std::size_t x = 0; x < 12; ++x) {
      if (mask.planes[0].Row(y)[x] != 0) continue;
      ASSERT_EQ(out.planes[0].Row(y)[x], a.planes[0].Row(y)[x]);
    }
  }
  mask.planes[0].Row(2)[10] = 9;
  Write("two.pgm", mask);
  Refused("filter a.pgm out.pgm --window 3 --region-mask two.pgm", "two.pgm: row 2 has a second run");
  Write("small.pgm", Grey(11, 6, 5));
  Refused("filter a.pgm out.pgm --window 3 --region-mask small.pgm", "small.pgm is 11x6, a.pgm is 12x6");
}

TEST_F(Operations, BlendFollowsTheMask) {
  const Raster a = Part(0, 0, 45, 20);
  Raster mask = MakeRaster(RasterKind::Grey8, 45, 20);
  Write("a.y4m", a);
  Write("b.y4m", Part(300, 200, 45, 20));
  Write("dark.pgm", mask);
  // Equal pictures, any mask: nothing changes.
  Write("noise.pgm", Grey(45, 20, 6));
  Done("blend a.y4m a.y4m noise.pgm same.y4m");
  EXPECT_EQ(Read("same.y4m").planes, a.planes);
  Refused("blend a.y4m b.y4m noise.pgm out.y4m --region 0,0,10,5", "row 0 is 10 pixels wide");
  Done("blend b.y4m a.y4m dark.pgm out.y4m --region 40,0,4,20");
  const Raster out = Read("out.y4m");
  for (int y = 0; y < 20; ++y) {
    for (std::size_t x = 0; x < 40; ++x) ASSERT_EQ(out.planes[0].Row(y)[x], a.planes[0].Row(y)[x]);
  }
}

TEST_F(Operations, AlphaMasks) {
  const Raster a = Part(0, 0, 64, 32);
  Write("a.y4m", a);
  Done("alpha-color a.y4m a.y4m mask.pgm --window 5 --threads 4");
  const Raster opaque = Read("mask.pgm");
  for (const int value : opaque.planes[0].bytes) ASSERT_EQ(value, 255) << "equal colours are opaque";
  Write("p.pgm", Grey(33, 9, 7));
  Done("alpha-prob p.pgm p.pgm mask.pgm --window 3 --gain 5");
  const Raster even = Read("mask.pgm");
  for (const int value : even.planes[0].bytes) ASSERT_EQ(value, 128);
  Write("q.pgm", Grey(33, 9, 8));
  Done("alpha-prob p.pgm q.pgm raw.pgm --window 1");
  const Raster p = Read("p.pgm");
  const Raster q = Read("q.pgm");
  const Raster raw = Read("raw.pgm");
  for (std::size_t i = 0; i < raw.planes[0].bytes.size(); ++i) {
    ASSERT_EQ(raw.planes[0].bytes[i], std::clamp(p.planes[0].bytes[i] - q.planes[0].bytes[i] + 128, 0, 255));
  }
}

TEST_F(Operations, CopyRoiMovesARegion) {
  const Raster a = Pack(Part(0, 0, 60, 40), LayoutLumaFirst);
  const Raster b = Pack(Part(400, 300, 50, 44), LayoutLumaFirst);
  Write("a.y4m", a);
  Write("b.y4m", b);
  Done("copy-roi a.y4m b.y4m --from 10,4,21,13 --to 6,8 --output out.y4m --threads 3");
  const Raster out = Pack(Read("out.y4m"), LayoutLumaFirst);
  for (int y = 0; y < 44; ++y) {
    for (int x = 0; x < 50; ++x) {
      const bool inside = x >= 6 && x < 27 && y >= 8 && y < 21;
      for (int byte = 0; byte < 2; ++byte) {
        // The last column is a lone even one: its pair's second chroma sample stays that of the picture
        // below.
        const auto at = static_cast<std::size_t>(2 * x + byte);
        const auto from = static_cast<std::size_t>(2 * (x + 4) + byte);
        ASSERT_EQ(out.planes[0].Row(y)[at], inside ? a.planes[0].Row(y - 4)[from] : b.planes[0].Row(y)[at])
            << x << "," << y;
      }
    }
  }
  EXPECT_EQ(Pack(Read("b.y4m"), LayoutLumaFirst).planes, b.planes) << "DST stays when --output is given";
  Done("copy-roi a.y4m b.y4m --from 10,4,21,13 --to 6,8");
  EXPECT_EQ(Pack(Read("b.y4m"), LayoutLumaFirst).planes, out.planes);
  Refused("copy-roi a.y4m b.y4m --from 0,0,60,40 --to 0,0", "reaches outside b.y4m, which is 50x44");
}

TEST_F(Operations, ParityChangesTheFieldOrder) {
  Raster a = Part(0, 0, 64, 20);
  a.interlace = Interlace::TopFieldFirst;
  Write("a.y4m", a);
  Done("parity a.y4m b.y4m --method blend");
  const Raster b = Read("b.y4m");
  EXPECT_EQ(b.interlace, Interlace::BottomFieldFirst);
  for (std::size_t x = 0; x < 64; ++x) {
    ASSERT_EQ(b.planes[0].Row(0)[x], a.planes[0].Row(0)[x]);
    for (int y = 1; y < 20; ++y) {
      ASSERT_EQ(b.planes[0].Row(y)[x], a.planes[0].Row(y - 1)[x] / 2 + a.planes[0].Row(y)[x] / 2);
    }
  }
  Done("parity b.y4m c.y4m --method blend");
  EXPECT_EQ(Read("c.y4m").interlace, Interlace::TopFieldFirst);
  Done("parity a.y4m part.y4m --method blend --region 8,4,20,8");
  const Raster part = Read("part.y4m");
  EXPECT_EQ(part.planes[0].Row(3)[10], a.planes[0].Row(3)[10]);
  EXPECT_EQ(part.planes[0].Row(6)[30], a.planes[0].Row(6)[30]);
}

/// Columns by which `b` is moved against `a`, to the nearest whole one, by the least difference of luma.
int ColumnShift(const Raster& a, const Raster& b, int most) {
  int best = 0;
  long least = -1;
  for (int shift = -most; shift <= most; ++shift) {
    long sum = 0;
    for (int y = 0; y < a.height; ++y) {
      for (int x = most; x < a.width - most; ++x) {
        sum += std::abs(a.planes[0].Row(y)[static_cast<std::size_t>(x + shift)] -
                        b.planes[0].Row(y)[static_cast<std::size_t>(x)]);
      }
    }
    if (least < 0 || sum < least) {
      least = sum;
      best = shift;
    }
  }
  return best;
}

TEST_F(Operations, PanPlaysInFfmpegFrameByFrame) {
  KV_NEEDS_SHELL();
  const std::string photo = "'" + kv_test::Photograph().string() + "'";
  for (const char* direction : {"left", "right", "up", "down"}) {
    Done("pan " + photo + " pan.y4m --size 321x240 --frames 6 --direction " + direction);
    const auto frames = ReadAll("pan.y4m");
    ASSERT_EQ(frames.size(), 6U);
    EXPECT_EQ(frames[0].interlace, Interlace::Progressive);
    const Outcome decoded = kv_test::RunShell(
        folder_, "ffmpeg -nostdin -loglevel error -i pan.y4m -f rawvideo -pix_fmt yuv422p -y decoded.yuv");
    ASSERT_EQ(decoded.status, 0) << decoded.err;
    std::string expected;
    for (const Raster& frame : frames) {
      for (const Plane& plane : frame.planes) expected.append(plane.bytes.begin(), plane.bytes.end());
    }
    EXPECT_TRUE(kv_test::ReadFile(folder_ / "decoded.yuv") == expected);
  }
}

TEST_F(Operations, PanMovesEvenlyAndEndsAtTheEdges) {
  const std::string photo = "'" + kv_test::Photograph().string() + "'";
  // 720 - 400 = 320 columns in 65 frames: 5 columns from frame to frame.
  Done("pan " + photo + " pan.y4m --size 400x64 --frames 65 --direction right");
  const auto frames = ReadAll("pan.y4m");
  const Raster first = Part(0, (576 - 64) / 2, 400, 64);
  EXPECT_EQ(ColumnShift(first, frames[0], 12), 0);
  for (std::size_t i = 1; i < frames.size(); i += 7)
    EXPECT_EQ(ColumnShift(frames[i - 1], frames[i], 12), 5) << i;
  EXPECT_EQ(ColumnShift(Part(320, (576 - 64) / 2, 400, 64), frames[64], 12), 0);
}

TEST_F(Operations, InterlacedPanMovesEvenlyFromFieldToField) {
  KV_NEEDS_SHELL();
  const std::string photo = "'" + kv_test::Photograph().string() + "'";
  // 24 frames are 48 fields: 47 steps over 720 - 438 = 282 columns, six columns a field.
  Done("pan " + photo + " pan.y4m --size 438x64 --frames 24 --direction right --interlaced");
  EXPECT_EQ(ReadAll("pan.y4m").at(0).interlace, Interlace::TopFieldFirst);
  const Outcome split = kv_test::RunShell(
      folder_, "ffmpeg -nostdin -loglevel error -i pan.y4m -vf separatefields -f yuv4mpegpipe -y fields.y4m");
  ASSERT_EQ(split.status, 0) << split.err;
  const auto fields = ReadAll("fields.y4m");
  ASSERT_EQ(fields.size(), 48U);
  for (std::size_t i = 1; i < fields.size(); i += 5)
    EXPECT_EQ(ColumnShift(fields[i - 1], fields[i], 14), 6) << i;
}

TEST_F(Operations, PanRefusesWhatDoesNotFit) {
  const std::string photo = "'" + kv_test::Photograph().string() + "'";
  Refused("pan " + photo + " p.y4m --size 800x100 --frames 2 --direction up", "which is 720x576");
  Refused("pan " + photo + " p.y4m --size 80x100 --frames 2 --direction sideways", "--direction");
  Refused("pan " + photo + " p.y4m --size 80x100 --frames 0 --direction up", "--frames");
}

TEST_F(Operations, FindReportsAShiftedNoisyPatch) {
  Raster moved = Part(22, 31, 240, 200);
  kv_test::Random random(9);
  for (std::uint8_t& value : moved.planes[0].bytes) {
    value = static_cast<std::uint8_t>(std::clamp(value + random.Between(-6, 6), 0, 255));
  }
  Write("a.y4m", Part(0, 0, 300, 260));
  Write("b.y4m", moved);
  const Outcome outcome = kv_test::RunKv(
      folder_,
      "find a.y4m b.y4m --at 150,130 --half 16x12 --range 40x40 --map map.csv --annotate found.bmp --json");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const auto found = nlohmann::json::parse(outcome.out)["result"];
  EXPECT_EQ(found["x"], 128);
  EXPECT_EQ(found["y"], 99);
  EXPECT_LT(found["score"], 4.0);
  EXPECT_EQ(Read("found.bmp").width, 300 + 8 + 240);
  EXPECT_EQ(kv_test::ReadFile(folder_ / "map.csv").substr(0, 10), "x,y,score\n");
  Done("find a.y4m b.y4m --at 150,130 --half 16x12 --range 40x40 --map map.pgm");
  EXPECT_EQ(Read("map.pgm").width, 81);
  EXPECT_EQ(Read("map.pgm").height, 81);
}

TEST_F(Operations, FindReportsPartsOfPixels) {
  // A soft part of the photograph: interpolation blurs, and of a sharp texture that would outweigh a part of
  // a pixel.
  const Raster a = Part(320, 310, 200, 160);
  // The picture a quarter of a column to the right of where it was, and half a row down, by bilinear
  // interpolation.
  Raster moved = a;
  const auto sample = [&](int x, int y) {
    return static_cast<double>(
        a.planes[0].Row(std::clamp(y, 0, 159))[static_cast<std::size_t>(std::clamp(x, 0, 199))]);
  };
  for (int y = 0; y < 160; ++y) {
    for (int x = 0; x < 200; ++x) {
      const double upper = 0.75 * sample(x, y - 1) + 0.25 * sample(x - 1, y - 1);
      const double lower = 0.75 * sample(x, y) + 0.25 * sample(x - 1, y);
      moved.planes[0].Row(y)[static_cast<std::size_t>(x)] =
          static_cast<std::uint8_t>(std::lround((upper + lower) / 2));
    }
  }
  Write("a.y4m", a);
  Write("b.y4m", moved);
  const Outcome outcome = kv_test::RunKv(
      folder_, "find a.y4m b.y4m --at 100,80 --half 20x20 --range 4x4 --subpixel 0.5 --levels 3 --json");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const auto found = nlohmann::json::parse(outcome.out)["result"];
  EXPECT_NEAR(found["x"], 100.25, 0.13);
  EXPECT_NEAR(found["y"], 80.5, 0.13);
}

TEST_F(Operations, FindSaysWhenNothingIsThere) {
  Write("a.y4m", Part(0, 0, 100, 80));
  const Outcome outcome =
      kv_test::RunKv(folder_, "find a.y4m a.y4m --at 50,40 --half 4x4 --range 2x2 --around 5000,5000");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.ErrorLines(), 1);
  Refused("find a.y4m a.y4m --at 50,90 --half 4x4 --range 2x2", "--at: 50,90 is outside a.y4m");
  Refused("find a.y4m a.y4m --at 50,40 --half 400x400 --range 2x2", "Incompatible image sizes");
  Refused("find a.y4m a.y4m --at 50,40 --half 4x4 --range 2x2 --subpixel 0", "--subpixel");
}

}  // namespace
