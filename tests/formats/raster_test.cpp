#include "host/formats/raster.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/formats/allocation_watch.h"

namespace kv_host {
namespace {

TEST(Raster, RowsOfOddWidthsHoldWholePairs) {
  const Raster packed = MakeRaster(RasterKind::Yuv422, 5, 3, LayoutLumaFirst);
  ASSERT_EQ(packed.planes.size(), 1U);
  EXPECT_EQ(packed.planes[0].stride, 12U);
  EXPECT_EQ(packed.planes[0].bytes.size(), 36U);

  const Raster alpha = MakeRaster(RasterKind::Yuva422, 5, 3, LayoutChromaFirst);
  ASSERT_EQ(alpha.planes.size(), 2U);
  EXPECT_EQ(alpha.planes[1].stride, 5U);

  const Raster planar = MakeRaster(RasterKind::Yuv422Planar, 5, 3);
  ASSERT_EQ(planar.planes.size(), 3U);
  EXPECT_EQ(planar.planes[0].stride, 5U);
  EXPECT_EQ(planar.planes[1].stride, 3U);
  EXPECT_EQ(planar.planes[2].rows, 3);
  EXPECT_EQ(planar.ByteCount(), 33U);
}

TEST(Raster, BitmapRowsAreTight) {
  EXPECT_EQ(MakeRaster(RasterKind::Dib15, 3, 2).planes[0].stride, 6U);
  EXPECT_EQ(MakeRaster(RasterKind::Dib16, 3, 2).planes[0].stride, 6U);
  EXPECT_EQ(MakeRaster(RasterKind::Dib24, 3, 2).planes[0].stride, 9U);
  EXPECT_EQ(MakeRaster(RasterKind::Dib32, 3, 2).planes[0].stride, 12U);
  EXPECT_EQ(MakeRaster(RasterKind::Grey8, 3, 2).planes[0].stride, 3U);
}

TEST(Raster, AbsurdSizesAreRefusedBeforeAnythingIsAllocated) {
  const AllocationWatch watch;
  EXPECT_THROW(MakeRaster(RasterKind::Dib24, 0, 5), std::invalid_argument);
  EXPECT_THROW(MakeRaster(RasterKind::Dib24, 5, 0), std::invalid_argument);
  EXPECT_THROW(MakeRaster(RasterKind::Dib24, -5, 5), std::invalid_argument);
  EXPECT_THROW(MakeRaster(RasterKind::Dib24, 32769, 1), std::invalid_argument);
  EXPECT_THROW(MakeRaster(RasterKind::Dib24, 1, 32769), std::invalid_argument);
  EXPECT_THROW(MakeRaster(RasterKind::Dib24, 16385, 16384), std::invalid_argument);
  EXPECT_LT(watch.LargestBlock(), 4096U);
}

TEST(Raster, LargestSizesAreAllowed) {
  EXPECT_EQ(SizeProblem(32768, 8192), "");
  EXPECT_EQ(SizeProblem(16384, 16384), "");
  EXPECT_EQ(SizeProblem(1, 32768), "");
  EXPECT_NE(SizeProblem(32768, 8193), "");
}

TEST(Raster, LayoutBelongsToThePackedKindsOnly) {
  EXPECT_THROW(MakeRaster(RasterKind::Yuv422, 4, 4), std::invalid_argument);
  EXPECT_THROW(MakeRaster(RasterKind::Yuva422, 4, 4, 4099), std::invalid_argument);
  EXPECT_THROW(MakeRaster(RasterKind::Yuv422Planar, 4, 4, LayoutLumaFirst), std::invalid_argument);
}

}  // namespace
}  // namespace kv_host
