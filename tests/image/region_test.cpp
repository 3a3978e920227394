#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "image/double_rect.h"
#include "image/errors/exceptions.h"
#include "image/image_rect.h"
#include "image/run_region.h"
#include "tests/support/expect_error.h"

namespace {

using kv_img::DoubleRect;
using kv_img::ImageRect;
using kv_img::RunRegion;
using kv_test::ExpectError;

TEST(ImageRect, SidesAreInclusive) {
  const ImageRect rect(2, 3, 10, 5);
  EXPECT_EQ(rect.GetWidth(), 9U);
  EXPECT_EQ(rect.GetHeight(), 3U);
  EXPECT_EQ(rect.GetLeft(4), 2);
  EXPECT_EQ(rect.GetRight(4), 10);
  EXPECT_TRUE(rect.IsRectangular());
  EXPECT_TRUE(rect.IsValid());
  EXPECT_NE(rect.GetRegionType(), RunRegion::regionType);
  EXPECT_EQ(rect.GetClassID(), ImageRect::ClassID);
}

TEST(ImageRect, DefaultIsNotValid) {
  const ImageRect rect;
  EXPECT_FALSE(rect.IsValid());
  EXPECT_EQ(rect.GetWidth(), 0U);
  EXPECT_EQ(rect.GetHeight(), 0U);
}

TEST(ImageRect, WholeImage) {
  const kv_img::Image<kv_img::PixelDIB24> image(7, 5);
  EXPECT_EQ(ImageRect(image), ImageRect(0, 0, 6, 4));
}

TEST(ImageRect, IntersectionAndUnMirror) {
  EXPECT_EQ(ImageRect(0, 0, 9, 9) & ImageRect(5, -3, 20, 4), ImageRect(5, 0, 9, 4));
  EXPECT_FALSE((ImageRect(0, 0, 3, 3) & ImageRect(4, 0, 9, 3)).IsValid());
  EXPECT_EQ(ImageRect(9, 8, 1, 2).UnMirror(), ImageRect(1, 2, 9, 8));
  EXPECT_EQ(RunRegion(1, {4, 2}, {5, 9}) ^ ImageRect(3, 0, 6, 1), ImageRect(3, 1, 6, 1));
}

TEST(Region, BottomAboveTopHasNoRows) {
  const ImageRect rect(0, 5, 9, 4);
  EXPECT_EQ(rect.GetHeight(), 0U);
  EXPECT_EQ(rect.GetWidth(), 0U);
  EXPECT_TRUE(rect.IsInside(ImageRect(100, 100, 101, 101)));
  EXPECT_TRUE(rect.IsRectangular());
  const RunRegion runs(5, {}, {});
  EXPECT_EQ(runs.GetHeight(), 0U);
  EXPECT_EQ(runs.GetWidth(), 0U);
  EXPECT_EQ(runs.GetBottom(), 4);
  EXPECT_TRUE(runs.IsRectangular());
  EXPECT_TRUE(runs.IsInside(ImageRect()));
}

TEST(Region, IsInside) {
  const ImageRect bounds(0, 0, 9, 9);
  EXPECT_TRUE(bounds.IsInside(bounds));
  for (const ImageRect& outside :
       {ImageRect(-1, 0, 9, 9), ImageRect(0, -1, 9, 9), ImageRect(0, 0, 10, 9), ImageRect(0, 0, 9, 10)}) {
    EXPECT_FALSE(outside.IsInside(bounds));
    EXPECT_FALSE(RunRegion(outside).IsInside(bounds));
  }
  EXPECT_TRUE(RunRegion(bounds).IsInside(bounds));
  EXPECT_TRUE(RunRegion(0, {0, 90}, {9, 89}).IsInside(bounds)) << "an empty run has no pixel outside";
}

TEST(RunRegion, BoundingBoxCoversTheRuns) {
  const RunRegion region(4, {5, 2, 8}, {6, 3, 12});
  EXPECT_EQ(region.GetRegionType(), 3);
  EXPECT_EQ(region.GetTop(), 4);
  EXPECT_EQ(region.GetBottom(), 6);
  EXPECT_EQ(region.GetLeft(), 2);
  EXPECT_EQ(region.GetRight(), 12);
  EXPECT_EQ(region.GetWidth(), 11U);
  EXPECT_EQ(region.GetLeft(5), 2);
  EXPECT_EQ(region.GetRight(6), 12);
  EXPECT_FALSE(region.IsRectangular());
  EXPECT_TRUE(RunRegion(ImageRect(1, 2, 3, 4)).IsRectangular());
}

TEST(RunRegion, ArraysOfUnequalLengthAreRefused) {
  ExpectError<kv_img::AlgoException>(
      [] {
        RunRegion(0, {1, 2}, {3});
      },
      2, L"lastColumns (1 rows, firstColumns has 2)", L"RunRegion::RunRegion");
}

TEST(RunRegion, GetNumberOf4Pixels) {
  const RunRegion region(2, {0, 0, 4, 4, 9}, {7, 5, 3, 1, 4});
  EXPECT_EQ(region.GetNumberOf4Pixels(2), 2);
  EXPECT_EQ(region.GetNumberOf4Pixels(4), 0);
  for (const int row : {3, 5, 6}) {
    ExpectError<kv_img::AlgoMotionException>([&] { (void)region.GetNumberOf4Pixels(row); }, 4,
                                             L"GetNumberOf4Pixels");
  }
}

TEST(DoubleRect, UnMirrorAndValidity) {
  const DoubleRect rect = DoubleRect(3.5, 8, 1, 2).UnMirror();
  EXPECT_TRUE(rect.IsValid());
  EXPECT_EQ(rect.GetLeft(), 1);
  EXPECT_EQ(rect.GetTop(), 2);
  EXPECT_EQ(rect.GetWidth(), 2.5);
  EXPECT_EQ(rect.GetHeight(), 6);
  EXPECT_FALSE(DoubleRect().IsValid());
  EXPECT_FALSE(DoubleRect(std::numeric_limits<double>::quiet_NaN(), 0, 1, 1).IsValid());
}

}  // namespace
