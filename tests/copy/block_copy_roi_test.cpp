#include "check/models/copy_roi_model.h"
#include "tests/copy/copy_roi_fixture.h"

// The block path of packed 4:2:2: regions of full width, equal layouts and properties.

namespace {

using kv_img::ImageOptions;
using kv_img::ImageRect;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

class BlockCopyRoi : public CopyRoiFixture<kv_img::PixelYUV422> {};

ImageOptions Properties(int flag, int mode, int storage = 7, int order = 0) {
  ImageOptions options;
  options.properties.propertyFlag = static_cast<std::uint8_t>(flag);
  options.properties.propertyMode = mode;
  options.properties.fieldOrder = static_cast<std::uint8_t>(order);
  options.storageFlag = static_cast<std::uint8_t>(storage);
  return options;
}

/// An image whose rows are contiguous, with as many spare bytes after the last one: byte i is (first + i)
/// mod 256.
struct BlockImage {
  Bytes bytes;
  Yuv422 image;

  BlockImage(int width, int height, int first, const ImageOptions& options = Properties(0, 0))
      : bytes(static_cast<std::size_t>(4 * width * height)),
        image(width, height, kv_img::WrappedRows::Strided(bytes.data(), 2 * width), options) {
    std::iota(bytes.begin(), bytes.end(), static_cast<std::uint8_t>(first));
  }
  Bytes Range(int begin, int end) const { return {bytes.begin() + begin, bytes.begin() + end}; }
};

TEST_P(BlockCopyRoi, OneThreadCopiesTheRegionsRows) {
  const BlockImage source(4, 5, 0);
  BlockImage destination(4, 5, 100);
  Run(source.image, destination.image, ImageRect(0, 1, 3, 2), ImageRect(0, 3, 3, 4));
  EXPECT_EQ(destination.Range(24, 40), source.Range(8, 24));
  EXPECT_EQ(destination.Range(0, 24), BlockImage(4, 5, 100).Range(0, 24));
  EXPECT_EQ(destination.Range(40, 80), BlockImage(4, 5, 100).Range(40, 80));
}

TEST_P(BlockCopyRoi, EveryThreadCopiesTheSizeOfTheWholeRegion) {
  const BlockImage source(4, 5, 0);
  BlockImage destination(4, 5, 100);
  // Two rows of 8 bytes: the second thread starts 8 bytes further on and ends 8 bytes past the region.
  Run(source.image, destination.image, ImageRect(0, 1, 3, 2), ImageRect(0, 0, 3, 1), 2);
  EXPECT_EQ(destination.Range(0, 24), source.Range(8, 32));
  EXPECT_EQ(destination.Range(24, 80), BlockImage(4, 5, 100).Range(24, 80));
}

TEST_P(BlockCopyRoi, StartsOfThreadsAreShareOfTheRegionsBytesNotRows) {
  // Two rows of 10 bytes among three threads: thread 1 starts at byte 6, thread 2 at byte 13.
  const BlockImage source(5, 2, 0);
  BlockImage destination(5, 2, 100);
  const ImageRect rows(0, 0, 4, 1);
  kv_std::SpinBarrier barrier(3);
  copy_->Apply(source.image, destination.image, rows, rows, barrier, 1);
  EXPECT_EQ(destination.Range(0, 6), BlockImage(5, 2, 100).Range(0, 6));
  EXPECT_EQ(destination.Range(6, 26), source.Range(6, 26));
  EXPECT_EQ(destination.Range(26, 40), BlockImage(5, 2, 100).Range(26, 40));
  copy_->Apply(source.image, destination.image, rows, rows, barrier, 2);
  EXPECT_EQ(destination.Range(26, 33), source.Range(26, 33));
  EXPECT_EQ(destination.Range(33, 40), BlockImage(5, 2, 100).Range(33, 40));
}

TEST_P(BlockCopyRoi, SpareBytesOfAnOwnedImageHoldWhatThreadsWriteBehindTheLastRow) {
  ImageOptions options;
  options.spareBytes = 64 * 4;
  Yuv422 source(8, 4, options);
  Yuv422 destination(8, 4, options);
  const int stride = source.GetPixelBuffer().bytesPerRow;
  ASSERT_LE(stride, 64);
  for (int row = 0; row < 4; ++row) std::ranges::fill(source.Row(row), static_cast<std::uint8_t>(row + 1));
  const ImageRect whole(source);
  Run(source, destination, whole, whole, 4);
  for (int row = 0; row < 4; ++row) {
    EXPECT_TRUE(std::ranges::equal(destination.Row(row), source.Row(row))) << row;
  }
}

TEST_P(BlockCopyRoi, DestinationRegionNeedNotBeRectangular) {
  const BlockImage source(4, 2, 0);
  BlockImage destination(6, 2, 100);
  // The runs would go to columns 0 to 3 and 2 to 5; the block goes to the start of the row.
  Run(source.image, destination.image, ImageRect(0, 0, 3, 1), Runs(0, {{0, 3}, {2, 5}}));
  EXPECT_EQ(destination.Range(0, 16), source.Range(0, 16));
  EXPECT_EQ(destination.Range(16, 48), BlockImage(6, 2, 100).Range(16, 48));

  // Its threads start at shares of the destination's own, longer rows.
  BlockImage other(6, 2, 100);
  Run(source.image, other.image, ImageRect(0, 0, 3, 1), Runs(0, {{0, 3}, {2, 5}}), 2);
  EXPECT_EQ(other.Range(0, 12), source.Range(0, 12));
  EXPECT_EQ(other.Range(12, 28), source.Range(8, 24));
  EXPECT_EQ(other.Range(28, 48), BlockImage(6, 2, 100).Range(28, 48));
}

TEST_P(BlockCopyRoi, SourceRegionMustBeRectangular) {
  // Runs 0 to 3 and 0 to 2 have the image's width as their box; taken as a block column 3 would be written.
  const BlockImage source(4, 2, 0);
  BlockImage destination(4, 2, 100);
  Run(source.image, destination.image, Runs(0, {{0, 3}, {0, 2}}), Runs(0, {{0, 3}, {0, 2}}));
  EXPECT_EQ(destination.Range(0, 14), source.Range(0, 14));
  EXPECT_EQ(destination.Range(14, 16), (Bytes{114, 115}));
}

TEST_P(BlockCopyRoi, BothRegionsMustTakeTheFullWidth) {
  const auto expectRows = [&](int sourceWidth, int sourceLeft, int destinationWidth, int destinationLeft) {
    SCOPED_TRACE(testing::Message() << sourceLeft << " of " << sourceWidth << " to " << destinationLeft
                                    << " of " << destinationWidth);
    const BlockImage source(sourceWidth, 2, 0);
    BlockImage destination(destinationWidth, 2, 100);
    Run(source.image, destination.image, ImageRect(sourceLeft, 0, sourceLeft + 3, 1),
        ImageRect(destinationLeft, 0, destinationLeft + 3, 1));
    Bytes expected = BlockImage(destinationWidth, 2, 100).bytes;
    for (int row = 0; row < 2; ++row) {
      const int from = 2 * (row * sourceWidth + sourceLeft);
      std::ranges::copy(source.Range(from, from + 8),
                        expected.begin() + 2 * (row * destinationWidth + destinationLeft));
    }
    EXPECT_EQ(destination.bytes, expected);
  };
  expectRows(6, 0, 4, 0);
  expectRows(6, 2, 4, 0);
  expectRows(4, 0, 6, 0);
  expectRows(4, 0, 6, 2);
}

TEST_P(BlockCopyRoi, NeedsFullWidthEqualPropertiesFlagOrModeAndStorage) {
  const auto isBlock = [&](const ImageOptions& from, const ImageOptions& to,
                           const ImageRect& region = ImageRect(0, 0, 3, 1), int width = 4) {
    BlockImage source(width, 2, 0, from);
    BlockImage destination(width, 2, 100, to);
    // The second thread runs past the region's end on the block path only.
    Run(source.image, destination.image, region, region, 2);
    return destination.Range(4 * width, 4 * width + 1).front() != (100 + 4 * width) % 256;
  };
  EXPECT_TRUE(isBlock(Properties(0, 0), Properties(0, 0)));
  EXPECT_TRUE(isBlock(Properties(0, 1), Properties(0, 1)));
  EXPECT_TRUE(isBlock(Properties(1, 2), Properties(1, 2)));
  EXPECT_FALSE(isBlock(Properties(1, 0), Properties(1, 0)));
  EXPECT_FALSE(isBlock(Properties(0, 0, 7), Properties(0, 0, 8)));
  EXPECT_FALSE(isBlock(Properties(0, 0, 7, 1), Properties(0, 0, 7, 0)));
  EXPECT_FALSE(isBlock(Properties(0, 1), Properties(0, 0)));
  EXPECT_FALSE(isBlock(Properties(0, 0), Properties(0, 0), ImageRect(1, 0, 4, 1), 5));
  EXPECT_FALSE(isBlock(Properties(0, 0), Properties(0, 0), ImageRect(0, 0, 3, 1), 5));
  ImageOptions otherLayout = Properties(0, 0);
  otherLayout.layout = chromaFirst;
  EXPECT_FALSE(isBlock(Properties(0, 0), otherLayout));
  EXPECT_TRUE(isBlock(otherLayout, otherLayout));
}

TEST_P(BlockCopyRoi, RegionWithoutRowsCopiesNothing) {
  const BlockImage source(4, 3, 0);
  BlockImage destination(4, 3, 100);
  for (const int top : {0, 2, 3, 1000000000}) {
    // Full width, but the bottom is above the top; rows[top] need not exist.
    Run(source.image, destination.image, ImageRect(0, top, 3, top - 1), ImageRect(0, 1, 3, 0), 2);
    Run(source.image, destination.image, ImageRect(0, 1, 3, 0), ImageRect(0, top, 3, -top - 1), 2);
  }
  EXPECT_EQ(destination.bytes, BlockImage(4, 3, 100).bytes);
}

TEST_P(BlockCopyRoi, EqualsTheModel) {
  Random random(0x2511);
  for (int round = 0; round < 600; ++round) {
    const Size size{random.Between(1, 40), random.Between(1, 9)};
    const int wider = size.width + (random.OneIn(3) ? random.Between(1, 9) : 0);
    ImageOptions options = Properties(random.Between(0, 1), random.Between(0, 2));
    options.layout = random.Pick({chromaFirst, lumaFirst});
    const BlockImage source(size.width, size.height, random.Between(0, 255), options);
    const int first = random.Between(0, 255);
    BlockImage destination(wider, size.height, first, options);
    BlockImage model(wider, size.height, first, options);

    const int rows = random.Between(1, size.height);
    const int fromTop = random.Between(0, size.height - rows);
    const int toTop = random.Between(0, size.height - rows);
    std::vector<std::pair<int, int>> runs;
    for (int row = 0; row < rows; ++row) {
      const int left = row == 0 ? 0 : row == 1 ? wider - size.width : random.Between(0, wider - size.width);
      runs.emplace_back(left, left + size.width - 1);
    }
    const ImageRect from(0, fromTop, size.width - 1, fromTop + rows - 1);
    const auto to = Runs(toTop, runs);
    const int threads = random.Between(1, 9);
    Run(source.image, destination.image, from, to, threads);
    kv_model::CopyRoiYuv422(source.image, model.image, from, to, threads);
    ASSERT_EQ(destination.bytes, model.bytes) << round;
  }
}

INSTANTIATE_TEST_SUITE_P(Members, BlockCopyRoi, EachMember(), MemberName);

}  // namespace
