#include <numeric>

#include "check/models/copy_model.h"
#include "tests/copy/copy_fixture.h"

namespace {

using kv_img::ImageOptions;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

using Yuv422Copy = CopyFixture<kv_img::PixelYUV422, kv_img::PixelYUV422>;
using Operation = kv_img::CopyAlgorithmInterface<Yuv422, Yuv422>;

/// An image whose pixel memory is one block: byte i holds (first + i) mod 256.
struct BlockImage {
  std::vector<std::uint8_t> bytes;
  Yuv422 image;

  BlockImage(int width, int height, std::uint8_t first, const ImageOptions& options = {})
      : bytes(static_cast<std::size_t>(2 * width * height + 8)),
        image(width, height, kv_img::WrappedRows::Strided(bytes.data(), 2 * width), options) {
    std::iota(bytes.begin(), bytes.end(), first);
  }
};

TEST_P(Yuv422Copy, WidthSixLeavesLastTwoPixels) {
  BlockImage source(6, 1, 0, Options(lumaFirst));
  BlockImage destination(6, 1, 100, Options(chromaFirst));
  Run(source.image, destination.image);
  const std::vector<std::uint8_t> expected = {1, 0, 3, 2, 5, 4, 7, 6, 108, 109, 110, 111};
  EXPECT_EQ(std::vector<std::uint8_t>(destination.bytes.begin(), destination.bytes.begin() + 12), expected);
}

TEST_P(Yuv422Copy, WidthThreeWritesTheWholeSecondPair) {
  BlockImage source(3, 1, 0, Options(chromaFirst));
  BlockImage destination(3, 1, 100, Options(lumaFirst));
  Run(source.image, destination.image);
  const std::vector<std::uint8_t> expected = {1, 0, 3, 2, 5, 4, 7, 6, 108, 109};
  EXPECT_EQ(std::vector<std::uint8_t>(destination.bytes.begin(), destination.bytes.begin() + 10), expected);
}

/// Rows of one value each, so that a row shows where it came from.
std::vector<int> RowOrigins(const Operation& copy, int height, int threads, int sourceParity,
                            int destinationParity, bool sameLayout) {
  Yuv422 source(8, height, Options(lumaFirst, sourceParity));
  Yuv422 destination(8, height, Options(sameLayout ? lumaFirst : chromaFirst, destinationParity));
  for (int row = 0; row < height; ++row) std::ranges::fill(source.Row(row), static_cast<std::uint8_t>(row));
  CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    copy.Apply(source, destination, barrier, index);
  });
  std::vector<int> origins;
  origins.reserve(static_cast<std::size_t>(height));
  for (int row = 0; row < height; ++row) origins.push_back(destination.Row(row)[0]);
  return origins;
}

TEST_P(Yuv422Copy, SourceParitySetTakesTheRowBelow) {
  for (const bool sameLayout : {false, true}) {
    EXPECT_EQ(RowOrigins(*copy_, 5, 1, 1, 0, sameLayout), (std::vector{1, 2, 3, 4, 4}));
  }
}

TEST_P(Yuv422Copy, SourceParityZeroTakesTheRowAbove) {
  for (const bool sameLayout : {false, true}) {
    EXPECT_EQ(RowOrigins(*copy_, 5, 1, 0, 1, sameLayout), (std::vector{0, 0, 1, 2, 3}));
  }
}

TEST_P(Yuv422Copy, UnequalNonZeroParitiesTakeTheRowBelow) {
  EXPECT_EQ(RowOrigins(*copy_, 4, 1, 1, 2, false), (std::vector{1, 2, 3, 3}));
  EXPECT_EQ(RowOrigins(*copy_, 4, 1, 2, 2, false), (std::vector{0, 1, 2, 3}));
}

TEST_P(Yuv422Copy, ShiftIsClampedToTheBandOfTheThread) {
  for (const bool sameLayout : {false, true}) {
    EXPECT_EQ(RowOrigins(*copy_, 5, 2, 1, 0, sameLayout), (std::vector{1, 1, 3, 4, 4}));
    EXPECT_EQ(RowOrigins(*copy_, 5, 2, 0, 1, sameLayout), (std::vector{0, 0, 2, 2, 3}));
  }
}

TEST_P(Yuv422Copy, MoreThreadsThanRows) {
  EXPECT_EQ(RowOrigins(*copy_, 3, 9, 0, 0, false), (std::vector{0, 1, 2}));
}

TEST_P(Yuv422Copy, BlockCopyLeavesTheGapBetweenPieces) {
  BlockImage source(5, 1, 0);
  BlockImage destination(5, 1, 100);
  ASSERT_EQ(destination.image.GetPixelBuffer().totalBytes, 10U);
  Run(source.image, destination.image, 3);
  const std::vector<std::uint8_t> expected = {0, 1, 2, 3, 4, 5, 6, 7, 8, 109};
  EXPECT_EQ(std::vector<std::uint8_t>(destination.bytes.begin(), destination.bytes.begin() + 10), expected);
}

TEST_P(Yuv422Copy, BlockPathNeedsEqualPropertiesFlagOrModeAndStorage) {
  const auto isBlock = [&](ImageOptions source, ImageOptions destination) {
    BlockImage from(4, 2, 0, source);
    BlockImage to(4, 2, 100, destination);
    // Three threads leave bytes of a block of 16 unwritten, but none of two rows.
    Run(from.image, to.image, 3);
    return to.bytes[15] == 115;
  };
  const auto options = [](int flag, int mode, int storage, int order = 0) {
    ImageOptions result;
    result.properties.propertyFlag = static_cast<std::uint8_t>(flag);
    result.properties.propertyMode = mode;
    result.properties.fieldOrder = static_cast<std::uint8_t>(order);
    result.storageFlag = static_cast<std::uint8_t>(storage);
    return result;
  };
  EXPECT_TRUE(isBlock(options(0, 0, 7), options(0, 0, 7)));
  EXPECT_TRUE(isBlock(options(1, 2, 7), options(1, 2, 7)));
  EXPECT_FALSE(isBlock(options(1, 0, 7), options(1, 0, 7)));
  EXPECT_FALSE(isBlock(options(0, 0, 7), options(0, 0, 8)));
  EXPECT_FALSE(isBlock(options(0, 0, 7, 1), options(0, 0, 7, 0)));
  EXPECT_FALSE(isBlock(options(0, 1, 7), options(0, 0, 7)));
}

TEST_P(Yuv422Copy, RowsAreCopiedWithTheSlackOfTheDestination) {
  ImageOptions options;
  options.properties.propertyFlag = 1;
  const Yuv422 source(4, 2, options);
  Yuv422 destination(4, 2, options);
  const auto& from = source.GetPixelBuffer();
  const auto& to = destination.GetPixelBuffer();
  ASSERT_GT(to.bytesPerRow, 8) << "no slack to tell of";
  const auto rowBytes = static_cast<std::size_t>(to.bytesPerRow);
  for (int row = 0; row < 2; ++row) std::iota(from.rows[row], from.rows[row] + rowBytes, std::uint8_t{7});
  Run(source, destination);
  for (int row = 0; row < 2; ++row) {
    EXPECT_TRUE(std::equal(to.rows[row], to.rows[row] + rowBytes, from.rows[row])) << row;
  }
}

TEST_P(Yuv422Copy, SizeMismatchIsRefusedByEveryThread) {
  ExpectSizeMismatchRefused();
}

TEST_P(Yuv422Copy, EqualsTheModelForEveryWidth) {
  Random random(0x2101);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 12; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const int height = random.Between(1, 9);
      const auto anyOptions = [&] {
        ImageOptions options = Options(random.Pick({chromaFirst, lumaFirst}), random.Between(0, 2));
        options.properties.propertyFlag = 1;
        return options;
      };
      // Same-layout rows are copied in the destination's length, which wrapped images keep to their pixels.
      TestImage<kv_img::PixelYUV422> source(random, width, height, Placement::Any(random), anyOptions());
      TestImage<kv_img::PixelYUV422> destination(random, width, height, Placement::Any(random), anyOptions());
      TestImage modelSource = source;
      TestImage model = destination;
      const int threads = random.Between(1, 9);
      Run(*source, *destination, threads);
      kv_model::CopyYuv422(*modelSource, *model, threads);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      ASSERT_EQ(source.DifferenceFrom(modelSource), "");
    }
  }
}

TEST_P(Yuv422Copy, ThreadsAtOnceGiveTheSameBytes) {
  Random random(0x2102);
  for (int round = 0; round < 20; ++round) {
    const int width = random.Between(1, 130);
    const int height = random.Between(1, 40);
    TestImage<kv_img::PixelYUV422> source(random, width, height, Placement::Any(random),
                                          Options(chromaFirst, 1));
    TestImage<kv_img::PixelYUV422> destination(random, width, height, Placement::Any(random),
                                               Options(lumaFirst));
    TestImage model = destination;
    const int threads = random.Between(1, 9);
    for (const auto& thrown : CallOnThreads(threads, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
           copy_->Apply(*source, *destination, barrier, index);
         })) {
      ASSERT_EQ(thrown, nullptr);
    }
    kv_model::CopyYuv422(*source, *model, threads);
    ASSERT_EQ(destination.DifferenceFrom(model), "");
  }
}

INSTANTIATE_TEST_SUITE_P(Members, Yuv422Copy, EachMember(), MemberName);

}  // namespace
