// copy-roi: only the pixels of the region change, whatever the pictures are.

#include <gtest/gtest.h>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/random.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_host;
using kv_test::Outcome;

constexpr int width = 37;
constexpr int height = 22;

class CopyRegion : public testing::Test {
 protected:
  void Done(const std::string& arguments) const {
    const Outcome outcome = kv_test::RunKv(folder_, arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  Raster Read(const std::string& name) const {
    return *PictureReader((folder_ / name).string(), {{}, width, height, {}}).Next();
  }
  void Write(const std::string& name, const Raster& raster) const {
    PictureWriter writer((folder_ / name).string());
    writer.Write(raster);
    writer.Commit();
  }
  /// Random bytes; a picture of noise shows every change.
  Raster Noise(RasterKind kind, std::uint64_t seed) const {
    Raster noise = MakeRaster(kind, width, height, kind == RasterKind::Yuva422 ? LayoutChromaFirst : 0);
    kv_test::Random random(seed);
    for (Plane& plane : noise.planes) {
      for (std::uint8_t& value : plane.bytes) value = static_cast<std::uint8_t>(random.Next());
    }
    return noise;
  }
  /// A picture whose colours change slowly, so that shared chroma costs little.
  Raster Smooth(RasterKind kind) const {
    Raster smooth = MakeRaster(kind, width, height);
    const std::size_t step = smooth.planes[0].stride / width;
    for (int y = 0; y < height; ++y) {
      for (std::size_t x = 0; x < width; ++x) {
        const std::uint8_t pixel[] = {
            static_cast<std::uint8_t>(40 + 2 * x), static_cast<std::uint8_t>(60 + 4 * y),
            static_cast<std::uint8_t>(200 - 2 * x), static_cast<std::uint8_t>(5 * y)};
        std::copy_n(pixel, step, smooth.planes[0].Row(y).begin() + static_cast<std::ptrdiff_t>(step * x));
      }
    }
    return smooth;
  }
  static bool IsInside(int x, int y, int left, int top) {
    return x >= left && x < left + 11 && y >= top && y < top + 7;
  }

  const kv_test::TempFolder temp_;
  const std::filesystem::path folder_ = temp_.Path();
};

TEST_F(CopyRegion, PixelsOutsideKeepTheirBytes) {
  struct Target {
    const char* file;
    RasterKind kind;
  };
  const Target targets[] = {{"32.bmp", RasterKind::Dib32}, {"24.bmp", RasterKind::Dib24},
                            {"16.bmp", RasterKind::Dib16}, {"15.bmp", RasterKind::Dib15},
                            {"8.bmp", RasterKind::Grey8},  {"24.ppm", RasterKind::Dib24},
                            {"8.pgm", RasterKind::Grey8},  {"32.png", RasterKind::Dib32},
                            {"24.png", RasterKind::Dib24}, {"8.png", RasterKind::Grey8}};
  Write("colour.bmp", Smooth(RasterKind::Dib24));
  Write("clear.bmp", Smooth(RasterKind::Dib32));
  Write("video.y4m", Noise(RasterKind::Yuv422Planar, 41));
  for (const Target& target : targets) {
    const std::string file = target.file;
    Write(file, Noise(target.kind, 42));
    const Raster before = Read(file);
    const std::size_t step = before.planes[0].stride / width;
    for (const char* source : {"colour.bmp", "clear.bmp", "video.y4m"}) {
      for (const int left : {5, 26}) {
        const std::string to = std::to_string(left) + ",9";
        Done("copy-roi " + std::string(source) + " " + file + " --from 7,2,11,7 --to " + to + " -o out-" +
             file);
        const Raster after = Read("out-" + file);
        ASSERT_EQ(after.kind, before.kind);
        bool isChanged = false;
        for (int y = 0; y < height; ++y) {
          for (int x = 0; x < width; ++x) {
            const std::size_t at = step * static_cast<std::size_t>(x);
            const bool isSame = std::ranges::equal(after.planes[0].Row(y).subspan(at, step),
                                                   before.planes[0].Row(y).subspan(at, step));
            if (!IsInside(x, y, left, 9)) {
              ASSERT_TRUE(isSame) << source << " into " << file << ": " << x << "," << y;
            }
            isChanged = isChanged || !isSame;
          }
        }
        EXPECT_TRUE(isChanged);
      }
    }
  }
}

TEST_F(CopyRegion, PixelsInsideAreThoseOfTheSource) {
  const Raster source = Smooth(RasterKind::Dib32);
  Write("source.bmp", source);
  for (const RasterKind kind : {RasterKind::Dib24, RasterKind::Dib32}) {
    Write("target.bmp", Noise(kind, 43));
    for (const int left : {4, 5}) {
      Done("copy-roi source.bmp target.bmp --from 7,2,11,7 --to " + std::to_string(left) + ",9 -o out.bmp");
      const Raster out = Read("out.bmp");
      const std::size_t step = kind == RasterKind::Dib24 ? 3 : 4;
      for (int y = 9; y < 16; ++y) {
        for (int x = left; x < left + 11; ++x) {
          const auto* is = &out.planes[0].Row(y)[step * static_cast<std::size_t>(x)];
          const auto* was = &source.planes[0].Row(y - 7)[4 * static_cast<std::size_t>(x + 7 - left)];
          for (int i = 0; i < 3; ++i) ASSERT_NEAR(is[i], was[i], 8) << x << "," << y << " byte " << i;
          if (step == 4) {
            ASSERT_EQ(is[3], was[3]) << x << "," << y;
          }
        }
      }
    }
  }
}

TEST_F(CopyRegion, GreysAndAlphaAreExact) {
  const Raster source = Noise(RasterKind::Grey8, 44);
  Write("source.pgm", source);
  Write("target.pgm", Noise(RasterKind::Grey8, 45));
  Done("copy-roi source.pgm target.pgm --from 7,2,11,7 --to 4,9");
  const Raster target = Read("target.pgm");
  for (int y = 9; y < 16; ++y) {
    for (std::size_t x = 4; x < 15; ++x) {
      ASSERT_EQ(target.planes[0].Row(y)[x], source.planes[0].Row(y - 7)[x + 3]) << x << "," << y;
    }
  }

  // A source without alpha is opaque; 4:2:2 with alpha keeps its own samples.
  const Raster before = Noise(RasterKind::Yuva422, 46);
  Write("target.uyvya", before);
  Write("video.y4m", Noise(RasterKind::Yuv422Planar, 47));
  Done("copy-roi video.y4m target.uyvya --from 6,2,10,7 --to 4,9 --size 37x22");
  const Raster after = Read("target.uyvya");
  for (int y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      const bool isInside = x >= 4 && x < 14 && y >= 9 && y < 16;
      ASSERT_EQ(after.planes[1].Row(y)[x], isInside ? 255 : before.planes[1].Row(y)[x]) << x << "," << y;
      if (isInside) continue;
      for (const std::size_t byte : {2 * x, 2 * x + 1}) {
        ASSERT_EQ(after.planes[0].Row(y)[byte], before.planes[0].Row(y)[byte]) << x << "," << y;
      }
    }
  }
}

TEST_F(CopyRegion, MasksOfAnyShapeChangeTheirOwnPixels) {
  Raster mask = MakeRaster(RasterKind::Grey8, width, height);
  for (int y = 3; y < 9; ++y) {
    if (y == 5) continue;  // a row without pixels
    for (int x = y; x < 2 * y + 1; ++x) mask.planes[0].Row(y)[static_cast<std::size_t>(x)] = 1;
  }
  Write("mask.pgm", mask);
  Write("source.bmp", Smooth(RasterKind::Dib24));
  const Raster before = Noise(RasterKind::Dib24, 48);
  Write("target.bmp", before);
  Done("copy-roi source.bmp target.bmp --from-mask mask.pgm -o out.bmp");
  const Raster after = Read("out.bmp");
  for (int y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      const auto is = after.planes[0].Row(y).subspan(3 * x, 3);
      const auto was = before.planes[0].Row(y).subspan(3 * x, 3);
      if (mask.planes[0].Row(y)[x] == 0) {
        ASSERT_TRUE(std::ranges::equal(is, was)) << x << "," << y;
      }
    }
  }
}

}  // namespace
