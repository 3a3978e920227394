#include "host/formats/packing.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/formats/support.h"

namespace kv_host {
namespace {

Raster ThreePixels() {
  Raster planar = MakeRaster(RasterKind::Yuv422Planar, 3, 1);
  planar.planes[0].bytes = {10, 20, 30};
  planar.planes[1].bytes = {1, 2};
  planar.planes[2].bytes = {3, 4};
  return planar;
}

TEST(Packing, ChromaFirstIsUyvy) {
  EXPECT_EQ(Pack(ThreePixels(), LayoutChromaFirst).planes[0].bytes, (Bytes{1, 10, 3, 20, 2, 30, 4, 30}));
}

TEST(Packing, LumaFirstIsYuy2) {
  EXPECT_EQ(Pack(ThreePixels(), LayoutLumaFirst).planes[0].bytes, (Bytes{10, 1, 20, 3, 30, 2, 30, 4}));
}

TEST(Packing, UnpackingGivesThePlanesBackForAllWidths) {
  for (int width = 1; width <= 33; ++width) {
    for (const int layout : {LayoutChromaFirst, LayoutLumaFirst}) {
      Raster planar = RandomRaster(RasterKind::Yuv422Planar, width, 3);
      planar.interlace = Interlace::BottomFieldFirst;
      planar.frameRate = {30000, 1001};
      EXPECT_EQ(Unpack(Pack(planar, layout)), planar) << width << " " << layout;
    }
  }
}

TEST(Packing, OtherLayoutSwapsBytesAndLeavesAlpha) {
  const Raster luma = RandomRaster(RasterKind::Yuva422, 3, 2, LayoutLumaFirst);
  const Raster chroma = WithLayout(luma, LayoutChromaFirst);
  EXPECT_EQ(chroma.layout, LayoutChromaFirst);
  EXPECT_EQ(chroma.planes[1], luma.planes[1]);
  EXPECT_EQ(chroma.planes[0].bytes[0], luma.planes[0].bytes[1]);
  EXPECT_EQ(chroma.planes[0].bytes[15], luma.planes[0].bytes[14]);
  EXPECT_EQ(WithLayout(chroma, LayoutLumaFirst), luma);
  EXPECT_EQ(WithLayout(luma, LayoutLumaFirst), luma);
}

TEST(Packing, WrongKindsAndLayoutsAreRefused) {
  EXPECT_THROW(Pack(MakeRaster(RasterKind::Dib24, 2, 2), LayoutLumaFirst), std::invalid_argument);
  EXPECT_THROW(Pack(ThreePixels(), 0), std::invalid_argument);
  EXPECT_THROW(Unpack(ThreePixels()), std::invalid_argument);
  EXPECT_THROW(WithLayout(ThreePixels(), LayoutLumaFirst), std::invalid_argument);
  EXPECT_THROW(WithLayout(Pack(ThreePixels(), LayoutLumaFirst), 4099), std::invalid_argument);
}

}  // namespace
}  // namespace kv_host
