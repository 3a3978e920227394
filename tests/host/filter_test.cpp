// filter: each component and field by itself, against the rule computed sample by sample.

#include <gtest/gtest.h>

#include <algorithm>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/random.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_host;
using kv_test::Outcome;

constexpr int filterWidth = 21;
constexpr int filterHeight = 14;

struct Box {
  int left;
  int top;
  int right;
  int bottom;
};
constexpr Box wholePicture = {0, 0, filterWidth - 1, filterHeight - 1};

/// One component: the rows of a picture whose samples are `step` bytes apart.
struct Samples {
  std::size_t plane;
  std::size_t first;
  std::size_t step;
};

/// The rule for a box of `window`: rows repeat at the region's top and bottom, columns end at its sides. Rows
/// `first`, `first + step`, … are the picture.
void FilterByRule(const Raster& from, Raster& to, const Samples& samples, Box where, int window, int firstRow,
                  int rowStep) {
  const int before = window / 2;
  const int after = window - before - 1;
  const auto at = [&](int x) { return samples.first + samples.step * static_cast<std::size_t>(x); };
  int top = where.top;
  int bottom = where.bottom;
  while ((top + rowStep - firstRow) % rowStep != 0) ++top;
  while ((bottom + rowStep - firstRow) % rowStep != 0) --bottom;
  for (int y = top; y <= bottom; y += rowStep) {
    for (int x = where.left; x <= where.right; ++x) {
      int sum = 0;
      int count = 0;
      for (int i = -before; i <= after; ++i) {
        const auto row = from.planes[samples.plane].Row(std::clamp(y + i * rowStep, top, bottom));
        for (int c = std::max(x - before, where.left); c <= std::min(x + after, where.right); ++c) {
          sum += row[at(c)];
          ++count;
        }
      }
      to.planes[samples.plane].Row(y)[at(x)] = static_cast<std::uint8_t>(sum / count);
    }
  }
}

class BoxFilter : public testing::Test {
 protected:
  Outcome Kv(const std::string& arguments) const { return kv_test::RunKv(folder_, arguments); }
  void Done(const std::string& arguments) const {
    const Outcome outcome = Kv(arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  Raster Read(const std::string& name, int width = filterWidth, int height = filterHeight) const {
    return *PictureReader((folder_ / name).string(), {{}, width, height, {}}).Next();
  }
  void Write(const std::string& name, const Raster& raster) const {
    PictureWriter writer((folder_ / name).string());
    writer.Write(raster);
    writer.Commit();
  }
  static Raster Noise(RasterKind kind, std::uint64_t seed) {
    const int layout = kind == RasterKind::Yuv422 || kind == RasterKind::Yuva422 ? LayoutChromaFirst : 0;
    Raster noise = MakeRaster(kind, filterWidth, filterHeight, layout);
    kv_test::Random random(seed);
    for (Plane& plane : noise.planes) {
      for (std::uint8_t& value : plane.bytes) value = static_cast<std::uint8_t>(random.Next());
    }
    return noise;
  }

  const kv_test::TempFolder temp_;
  const std::filesystem::path folder_ = temp_.Path();
};

TEST_F(BoxFilter, EveryPlaneIsFilteredByItself) {
  const Raster noise = Noise(RasterKind::Yuv422Planar, 1);
  Write("in.y4m", noise);
  for (const int window : {1, 2, 5, 9, 31}) {
    Done("filter in.y4m out.y4m --threads 3 --window " + std::to_string(window));
    Raster expected = noise;
    const Box pairs = {0, 0, filterWidth / 2, filterHeight - 1};
    FilterByRule(noise, expected, {0, 0, 1}, wholePicture, window, 0, 1);
    FilterByRule(noise, expected, {1, 0, 1}, pairs, window, 0, 1);
    FilterByRule(noise, expected, {2, 0, 1}, pairs, window, 0, 1);
    EXPECT_EQ(Read("out.y4m", 0, 0).planes, expected.planes) << window;
  }
}

TEST_F(BoxFilter, FieldsAreFilteredByThemselves) {
  for (const Interlace order : {Interlace::TopFieldFirst, Interlace::BottomFieldFirst}) {
    Raster noise = Noise(RasterKind::Yuv422Planar, 2);
    noise.interlace = order;
    Write("in.y4m", noise);
    Done("filter in.y4m out.y4m --window 5");
    Raster expected = noise;
    for (const int field : {0, 1}) {
      FilterByRule(noise, expected, {0, 0, 1}, wholePicture, 5, field, 2);
      for (const std::size_t plane : {1, 2}) {
        FilterByRule(noise, expected, {plane, 0, 1}, {0, 0, filterWidth / 2, filterHeight - 1}, 5, field, 2);
      }
    }
    const Raster out = Read("out.y4m", 0, 0);
    EXPECT_EQ(out.planes, expected.planes);
    EXPECT_EQ(out.interlace, order);
    // The luma that a grey file gets too.
    Done("filter in.y4m out.pgm --window 5");
    EXPECT_EQ(Read("out.pgm").planes[0], expected.planes[0]);
  }
}

TEST_F(BoxFilter, RegionsOfAnInterlacedPictureMayHaveASingleRow) {
  Raster noise = Noise(RasterKind::Yuv422Planar, 3);
  noise.interlace = Interlace::TopFieldFirst;
  Write("in.y4m", noise);
  Done("filter in.y4m out.y4m --window 3 --region 3,7,6,1");
  Raster expected = noise;
  FilterByRule(noise, expected, {0, 0, 1}, {3, 7, 8, 7}, 3, 1, 2);
  // A chroma sample belongs to the region when one of its two pixels does.
  FilterByRule(noise, expected, {1, 0, 1}, {1, 7, 4, 7}, 3, 1, 2);
  FilterByRule(noise, expected, {2, 0, 1}, {1, 7, 4, 7}, 3, 1, 2);
  EXPECT_EQ(Read("out.y4m", 0, 0).planes, expected.planes);
}

TEST_F(BoxFilter, LumaAloneKeepsEveryByteOfChroma) {
  const Raster noise = Noise(RasterKind::Yuv422Planar, 4);
  Write("in.y4m", noise);
  Done("filter in.y4m out.y4m --window 7 --planes y --region 2,3,12,8");
  Raster expected = noise;
  FilterByRule(noise, expected, {0, 0, 1}, {2, 3, 13, 10}, 7, 0, 1);
  EXPECT_EQ(Read("out.y4m", 0, 0).planes, expected.planes);
}

TEST_F(BoxFilter, PackedPairsAndAlpha) {
  const std::string size = " --size 21x14 --window 4";
  Raster noise = Noise(RasterKind::Yuva422, 5);
  Write("in.uyvya", noise);
  // What the file holds in place of the pixel that an odd width lacks.
  Raster expected = Read("in.uyvya");
  const Raster from = expected;
  const Box pairs = {0, 0, filterWidth / 2, filterHeight - 1};
  FilterByRule(from, expected, {0, 1, 2}, wholePicture, 4, 0, 1);
  const Raster lumaAlone = expected;
  FilterByRule(from, expected, {0, 0, 4}, pairs, 4, 0, 1);
  FilterByRule(from, expected, {0, 2, 4}, pairs, 4, 0, 1);
  FilterByRule(from, expected, {1, 0, 1}, wholePicture, 4, 0, 1);
  const auto repeatLast = [](Raster raster) {
    for (int y = 0; y < filterHeight; ++y) {
      const auto row = raster.planes[0].Row(y);
      row[2 * filterWidth + 1] = row[2 * filterWidth - 1];
    }
    return raster;
  };
  Done("filter in.uyvya out.uyvya" + size);
  EXPECT_EQ(Read("out.uyvya").planes, repeatLast(expected).planes);
  Done("filter in.uyvya luma.uyvya --planes y" + size);
  EXPECT_EQ(Read("luma.uyvya").planes, repeatLast(lumaAlone).planes);
  Done("convert in.uyvya in.yuy2 --size 21x14");
  Done("filter in.yuy2 out.yuy2" + size);
  Done("convert out.yuy2 planes.yuv422p --size 21x14");
  Done("convert out.uyvya expected.yuv422p --size 21x14");
  EXPECT_EQ(Read("planes.yuv422p").planes, Read("expected.yuv422p").planes);
}

TEST_F(BoxFilter, ColoursStayColours) {
  for (const auto& [kind, name] :
       {std::pair{RasterKind::Dib24, std::string("bgr24")}, {RasterKind::Dib32, "bgra"}}) {
    const Raster noise = Noise(kind, 6);
    Write("in." + name, noise);
    Done("filter --size 21x14 --window 3 --region 1,2,15,9 in." + name + " out." + name);
    Raster expected = noise;
    const std::size_t step = kind == RasterKind::Dib32 ? 4 : 3;
    for (std::size_t i = 0; i < step; ++i) {
      FilterByRule(noise, expected, {0, i, step}, {1, 2, 15, 10}, 3, 0, 1);
    }
    EXPECT_EQ(Read("out." + name).planes, expected.planes) << name;
  }
}

TEST_F(BoxFilter, LumaOfRgbIsRefusedButForGreyFiles) {
  Write("in.ppm", Noise(RasterKind::Dib24, 7));
  const Outcome refused = Kv("filter in.ppm out.ppm --window 3 --planes y");
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.err.find("--planes y: in.ppm is RGB"), std::string::npos) << refused.err;
  Done("filter in.ppm y.pgm --window 3 --planes y");
  Done("filter in.ppm all.pgm --window 3");
  Done("convert in.ppm in.pgm");
  Done("filter in.pgm expected.pgm --window 3");
  EXPECT_EQ(Read("y.pgm").planes, Read("expected.pgm").planes);
  EXPECT_EQ(Read("all.pgm").planes, Read("expected.pgm").planes);
}

}  // namespace
