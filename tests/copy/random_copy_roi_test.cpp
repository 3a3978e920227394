#include "check/models/copy_roi_model.h"
#include "tests/copy/copy_roi_fixture.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::ImageOptions;
using kv_img::ImageRect;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

class RandomYuv422Roi : public CopyRoiFixture<kv_img::PixelYUV422> {};
class RandomPlanarRoi : public CopyRoiFixture<kv_img::PixelYUV411P> {};

TEST_P(RandomYuv422Roi, EqualsTheModelForEveryWidth) {
  Random random(0x2501);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 16; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const Size from{width, random.Between(1, 9)};
      const Size to{random.OneIn(2) ? width : random.Between(1, 130), random.Between(1, 9)};
      const auto anyOptions = [&] {
        ImageOptions options =
            Options(random.Pick({chromaFirst, lumaFirst, lumaFirst + 1}), random.Between(0, 2));
        // Scattered rows are no block.
        options.properties.propertyFlag = 1;
        return options;
      };
      TestImage<kv_img::PixelYUV422> source(random, from.width, from.height, Placement::Any(random),
                                            anyOptions());
      TestImage<kv_img::PixelYUV422> destination(random, to.width, to.height, Placement::Any(random),
                                                 anyOptions());
      TestImage modelSource = source;
      TestImage model = destination;
      const RegionPair regions = RandomRegionPair(random, from, to);
      ASSERT_FALSE(kv_model::RoiIsRefused(*source, *destination, *regions.source, *regions.destination));
      const int threads = random.Between(1, 9);
      Run(*source, *destination, *regions.source, *regions.destination, threads);
      kv_model::CopyRoiYuv422(*modelSource, *model, *regions.source, *regions.destination, threads);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      ASSERT_EQ(source.DifferenceFrom(modelSource), "");
    }
  }
}

TEST_P(RandomYuv422Roi, EveryCombinationOfStartParitiesAndLengthsEqualsTheModel) {
  Random random(0x2502);
  for (int start = 0; start < 4; ++start) {
    for (int length = 1; length <= 40; ++length) {
      for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
        for (const std::int32_t otherLayout : {chromaFirst, lumaFirst}) {
          const auto options = [&](std::int32_t code) {
            ImageOptions result = Options(code, random.Between(0, 1));
            result.properties.propertyFlag = 1;
            return result;
          };
          TestImage<kv_img::PixelYUV422> source(random, 44, 3, Placement::Any(random), options(layout));
          TestImage<kv_img::PixelYUV422> destination(random, 44, 3, Placement::Any(random),
                                                     options(otherLayout));
          TestImage model = destination;
          const int from = start % 2 + 2 * random.Between(0, 1);
          const int to = start / 2 + 2 * random.Between(0, 1);
          const ImageRect fromRect(from, 0, from + length - 1, 2);
          const ImageRect toRect(to, 0, to + length - 1, 2);
          Run(*source, *destination, fromRect, toRect);
          kv_model::CopyRoiYuv422(*source, *model, fromRect, toRect, 1);
          ASSERT_EQ(destination.DifferenceFrom(model), "") << start << " " << length;
        }
      }
    }
  }
}

TEST_P(RandomYuv422Roi, RefusesWhatTheModelRefuses) {
  Random random(0x2503);
  int refusals = 0;
  for (int round = 0; round < 3000; ++round) {
    const Size size{random.Between(1, 12), random.Between(1, 5)};
    TestImage<kv_img::PixelYUV422> source(random, size.width, size.height, {}, Options(chromaFirst));
    TestImage<kv_img::PixelYUV422> destination(random, random.Between(1, 12), random.Between(1, 5), {});
    TestImage model = destination;
    RegionPair regions = RandomRegionPair(random, size, size);
    if (random.OneIn(3)) regions.source = std::move(RandomRegionPair(random, size, size).source);
    const bool refused = kv_model::RoiIsRefused(*source, *destination, *regions.source, *regions.destination);
    if (refused) {
      ++refusals;
      ExpectError<AlgoMMXException>(
          [&] { Run(*source, *destination, *regions.source, *regions.destination); }, 2,
          L"CopyROI" + member_.Suffix());
    } else {
      Run(*source, *destination, *regions.source, *regions.destination);
      kv_model::CopyRoiYuv422(*source, *model, *regions.source, *regions.destination, 1);
    }
    ASSERT_EQ(destination.DifferenceFrom(model), "") << round;
  }
  EXPECT_GT(refusals, 500);
  EXPECT_LT(refusals, 2500);
}

TEST_P(RandomYuv422Roi, ThreadsAtOnceGiveTheSameBytes) {
  Random random(0x2504);
  for (int round = 0; round < 20; ++round) {
    const Size size{random.Between(1, 130), random.Between(1, 40)};
    TestImage<kv_img::PixelYUV422> source(random, size.width, size.height, Placement::Any(random),
                                          Options(chromaFirst, 1));
    TestImage<kv_img::PixelYUV422> destination(random, size.width, size.height, Placement::Any(random),
                                               Options(lumaFirst));
    TestImage model = destination;
    const RegionPair regions = RandomRegionPair(random, size, size);
    const int threads = random.Between(1, 9);
    for (const auto& thrown : CallOnThreads(threads, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
           copy_->Apply(*source, *destination, *regions.source, *regions.destination, barrier, index);
         })) {
      ASSERT_EQ(thrown, nullptr);
    }
    kv_model::CopyRoiYuv422(*source, *model, *regions.source, *regions.destination, threads);
    ASSERT_EQ(destination.DifferenceFrom(model), "");
  }
}

/// The bytes past its rows that a picture of this size is read or written at.
std::size_t Slack(Size source) {
  return std::size_t{2} * static_cast<std::size_t>(source.width) + 16;
}

/// Two images and regions that the operation takes, over-runs inside the rows' slack.
struct RandomCase {
  TestImage<kv_img::PixelYUV411P> source;
  TestImage<kv_img::PixelYUV422> destination;
  RegionPair regions;
  int threads;

  RandomCase(Random& random, Size from, Size to)
      : source(random, from.width, from.height, Placement::Any(random, Slack(from)),
               Options(kv_img::PixelLayout::planar, random.Between(0, 2))),
        destination(random, to.width, to.height, Placement::Any(random, Slack(from)),
                    Options(random.Pick({chromaFirst, lumaFirst}), random.Between(0, 2))),
        threads(random.Between(1, 9)) {
    do {
      regions = RandomRegionPair(random, from, to);
    } while (kv_model::RoiIsUnevenlyPlaced(*regions.source, *regions.destination));
  }
};

TEST_P(RandomPlanarRoi, EqualsTheModelForEveryWidth) {
  Random random(0x2521);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 16; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const Size from{width, random.Between(1, 9)};
      const Size to{random.OneIn(2) ? width : random.Between(1, 130), random.Between(1, 9)};
      RandomCase it(random, from, to);
      TestImage modelSource = it.source;
      TestImage model = it.destination;
      Run(*it.source, *it.destination, *it.regions.source, *it.regions.destination, it.threads);
      kv_model::CopyRoiPlanar(*modelSource, *model, *it.regions.source, *it.regions.destination, it.threads);
      ASSERT_EQ(it.destination.DifferenceFrom(model), "");
      ASSERT_EQ(it.source.DifferenceFrom(modelSource), "");
    }
  }
}

TEST_P(RandomPlanarRoi, RefusesWhatTheModelRefuses) {
  Random random(0x2522);
  int refusals = 0;
  for (int round = 0; round < 2000; ++round) {
    const Size size{random.Between(1, 12), random.Between(1, 5)};
    RandomCase it(random, size, size);
    TestImage model = it.destination;
    it.regions = RandomRegionPair(random, size, size);
    if (random.OneIn(3)) it.regions.source = std::move(RandomRegionPair(random, size, size).source);
    const auto& [from, to] = it.regions;
    if (kv_model::RoiIsRefused(*it.source, *it.destination, *from, *to) ||
        kv_model::RoiIsUnevenlyPlaced(*from, *to)) {
      ++refusals;
      ExpectError<AlgoMMXException>(
          [&] { Run(*it.source, *it.destination, *it.regions.source, *it.regions.destination); }, 2,
          L"CopyROI" + member_.Suffix());
    } else {
      Run(*it.source, *it.destination, *from, *to);
      kv_model::CopyRoiPlanar(*it.source, *model, *from, *to, 1);
    }
    ASSERT_EQ(it.destination.DifferenceFrom(model), "") << round;
  }
  EXPECT_GT(refusals, 500);
  EXPECT_LT(refusals, 1900);
}

TEST_P(RandomPlanarRoi, ThreadsAtOnceGiveTheSameBytes) {
  Random random(0x2523);
  for (int round = 0; round < 20; ++round) {
    const Size size{random.Between(2, 130), random.Between(1, 40)};
    RandomCase it(random, size, size);
    TestImage model = it.destination;
    for (const auto& thrown :
         CallOnThreads(it.threads, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
           copy_->Apply(*it.source, *it.destination, *it.regions.source, *it.regions.destination, barrier,
                        index);
         })) {
      ASSERT_EQ(thrown, nullptr);
    }
    kv_model::CopyRoiPlanar(*it.source, *model, *it.regions.source, *it.regions.destination, it.threads);
    ASSERT_EQ(it.destination.DifferenceFrom(model), "");
  }
}
INSTANTIATE_TEST_SUITE_P(Members, RandomYuv422Roi, EachMember(), MemberName);
INSTANTIATE_TEST_SUITE_P(Members, RandomPlanarRoi, EachMember(), MemberName);

}  // namespace
