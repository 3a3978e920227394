// What a region writes at its edges, and what it leaves.

#include "image/image_rect.h"
#include "image/run_region.h"
#include "tests/parity/parity_fixture.h"

namespace {

using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using kv_img::RunRegion;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

class ParityChangeRegion : public ParityFixture {};

TEST_P(ParityChangeRegion, BetweenLayoutsTheCopiedLineOfARegionIsConverted) {
  for (const auto& [from, to] : {std::pair{chromaFirst, lumaFirst}, std::pair{lumaFirst, chromaFirst}}) {
    for (const int parity : {0, 1}) {
      LineImage source(4, 2, FieldOptions(0, parity, from), 0);
      for (const int y : {0, 1}) std::ranges::copy(tens, source.image.GetPixelBuffer().rows[y]);
      LineImage destination(4, 2, FieldOptions(0, 0, to), 99);
      Run(source.image, destination.image, ImageRect(0, 0, 3, 1));
      for (const int y : {0, 1}) {
        EXPECT_EQ(destination.Line(y, 10), (Bytes{20, 10, 40, 30, 60, 50, 80, 70, 99, 99}));
      }
    }
  }
}

TEST_P(ParityChangeRegion, OddFirstColumnKeepsTheLumaLeftOfTheRegion) {
  LineImage source(4, 2, FieldOptions(0, 0), 20);
  for (const auto& [layout, expected] : {std::pair{lumaFirst, Bytes{99, 20, 20, 20, 20, 20, 20, 20, 99}},
                                         std::pair{chromaFirst, Bytes{20, 99, 20, 20, 20, 20, 20, 20, 99}}}) {
    LineImage destination(4, 2, FieldOptions(0, 0, layout), 99);
    Run(source.image, destination.image, ImageRect(1, 0, 3, 1));
    for (const int y : {0, 1}) EXPECT_EQ(destination.Line(y, 9), expected);
  }
}

TEST_P(ParityChangeRegion, EvenLastColumnKeepsTheLumaRightOfTheRegion) {
  LineImage source(4, 2, FieldOptions(0, 0), 20);
  for (const auto& [layout, expected] : {std::pair{lumaFirst, Bytes{20, 20, 20, 20, 20, 20, 99, 20, 99}},
                                         std::pair{chromaFirst, Bytes{20, 20, 20, 20, 20, 20, 20, 99, 99}}}) {
    LineImage destination(4, 2, FieldOptions(0, 0, layout), 99);
    Run(source.image, destination.image, ImageRect(0, 0, 2, 1));
    for (const int y : {0, 1}) EXPECT_EQ(destination.Line(y, 9), expected);
  }
}

TEST_P(ParityChangeRegion, OddWidthWritesThePairsSecondChromaSampleBehindTheRow) {
  for (const auto& [layout, expected] :
       {std::pair{lumaFirst, Bytes{20, 20, 20, 20, 20, 20, 99, 20, 99, 99}},
        std::pair{chromaFirst, Bytes{20, 20, 20, 20, 20, 20, 20, 99, 99, 99}}}) {
    LineImage source(3, 2, FieldOptions(0, 0, layout), 20);
    LineImage destination(3, 2, FieldOptions(0, 0, layout), 99);
    Run(source.image, destination.image, ImageRect(0, 0, 2, 1));
    for (const int y : {0, 1}) EXPECT_EQ(destination.Line(y, 10), expected);
  }
}

TEST_P(ParityChangeRegion, RegionMayLieInImagesOfDifferentSizes) {
  LineImage source(9, 3, FieldOptions(0, 0), 20);
  LineImage destination(6, 5, FieldOptions(0, 0), 99);
  Run(source.image, destination.image, ImageRect(2, 1, 5, 2));
  for (const int y : {1, 2}) {
    EXPECT_EQ(destination.Line(y, 13), (Bytes{99, 99, 99, 99, 20, 20, 20, 20, 20, 20, 20, 20, 99}));
  }
  for (const int y : {0, 3, 4}) EXPECT_EQ(destination.Line(y, 20), Bytes(20, 99));
}

TEST_P(ParityChangeRegion, RegionWithoutPixelsChangesTheFieldOrderOnly) {
  const LineImage source(4, 3, FieldOptions(0, 0), 20);
  const ImageRect noRows(1, 2, 3, 1);
  const ImageRect noColumns(3, 0, 2, 2);
  const RunRegion emptyRuns(0, {1, 1, 1}, {0, 0, 0});
  const RunRegion emptyRunsElsewhere(-70000, {1, 1, 1}, {0, 0, 0});
  for (const RegionOfSupport* region :
       std::initializer_list<const RegionOfSupport*>{&noRows, &noColumns, &emptyRuns, &emptyRunsElsewhere}) {
    LineImage destination(4, 3, FieldOptions(0, 0), 99);
    Run(source.image, destination.image, *region);
    EXPECT_EQ(destination.image.GetProperties().fieldOrder, 1);
    EXPECT_EQ(destination.bytes, Bytes(destination.bytes.size(), 99));
  }
}

INSTANTIATE_TEST_SUITE_P(Members, ParityChangeRegion, EachMember(), MemberName);

}  // namespace
