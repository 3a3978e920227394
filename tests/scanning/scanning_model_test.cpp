// Random pans against the plain model, and frames whose bytes are the same from every compiler.

#include "check/models/scanning_model.h"

#include <memory>

#include "image/run_region.h"
#include "tests/scanning/scanning_fixture.h"
#include "tests/support/random.h"

namespace {

using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using kv_img::RunRegion;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

/// A pan that fits its images.
struct Frame {
  int sourceWidth;
  int sourceHeight;
  int destinationWidth;
  int destinationHeight;
  ImageRect sourceRegion;
  ImageRect region;
  std::uint8_t flags;
  std::int32_t steps;
  std::uint32_t step;
  std::int32_t sourceLayout;
  std::int32_t layout;
  int parity;

  /// A pan into `width` columns.
  Frame(Random& random, int width) {
    const int height = random.Between(1, 9);
    flags = random.Pick<std::uint8_t>({0x01, 0x02, 0x03, 0x04, 0x08, 0x0C, 0x0F, 0x0A, 0x00});
    const bool isHorizontal = (flags & 3) != 0;
    const bool isVertical = !isHorizontal && (flags & 12) != 0;
    const int roomAcross = isVertical ? 0 : random.Between(0, 20);
    const int roomDown = isHorizontal ? 0 : random.Between(0, 6);
    const int sourceLeft = random.Between(0, 5);
    const int sourceTop = random.Between(0, 3);
    sourceRegion = ImageRect(sourceLeft, sourceTop, sourceLeft + width + roomAcross - 1,
                             sourceTop + height + roomDown - 1);
    // The destination region, too, is inside the source image.
    const int left = random.Between(0, 5);
    const int top = random.Between(0, 3);
    region = ImageRect(left, top, left + width - 1, top + height - 1);
    sourceWidth = std::max(sourceRegion.GetRight(), region.GetRight()) + 1 + random.Between(0, 2);
    sourceHeight = std::max(sourceRegion.GetBottom(), region.GetBottom()) + 1 + random.Between(0, 2);
    destinationWidth = region.GetRight() + 1 + random.Between(0, 2);
    destinationHeight = region.GetBottom() + 1 + random.Between(0, 2);
    steps = random.Between(0, 60);
    step = static_cast<std::uint32_t>(random.Between(0, std::max(steps - 1, 0)));
    layout = random.Pick({chromaFirst, lumaFirst});
    sourceLayout = isHorizontal ? layout : random.Pick({chromaFirst, lumaFirst});
    parity = random.Between(0, 2);
  }
};

class ScanningModel : public ScanningFixture {};

TEST_P(ScanningModel, EqualsTheModelForEveryWidth) {
  Random random(0x7101);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 60; ++round) {
      const Frame frame(random, width);
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round << " flags "
                                      << int{frame.flags} << " step " << frame.step << " of " << frame.steps);
      TestImage<kv_img::PixelYUV422> source(random, frame.sourceWidth, frame.sourceHeight,
                                            Placement::Any(random), Options(frame.sourceLayout));
      TestImage<kv_img::PixelYUV422> destination(random, frame.destinationWidth, frame.destinationHeight,
                                                 Placement::Any(random), Options(frame.layout, frame.parity));
      TestImage modelSource = source;
      TestImage model = destination;
      const int threads = random.Between(1, 5);
      const RunRegion runs(frame.region);
      Run(*source, *destination, frame.sourceRegion,
          random.OneIn(4) ? static_cast<const RegionOfSupport&>(runs) : frame.region, frame.flags,
          frame.steps, frame.step, threads);
      kv_model::Scan(*modelSource, *model, frame.sourceRegion, frame.region, frame.flags, frame.steps,
                     frame.step, threads);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      ASSERT_EQ(source.DifferenceFrom(modelSource), "");
    }
  }
}

TEST_P(ScanningModel, ThreadsAtOnceGiveTheSameBytes) {
  Random random(0x7102);
  for (int round = 0; round < 60; ++round) {
    const Frame frame(random, random.Between(1, 130));
    // Bands of two rows and more: a band of one row repeats a row of another thread.
    const int threads = random.Between(1, std::max(1, static_cast<int>(frame.region.GetHeight()) / 2));
    TestImage<kv_img::PixelYUV422> source(random, frame.sourceWidth, frame.sourceHeight,
                                          Placement::Any(random), Options(frame.sourceLayout));
    TestImage<kv_img::PixelYUV422> destination(random, frame.destinationWidth, frame.destinationHeight,
                                               Placement::Any(random), Options(frame.layout, frame.parity));
    TestImage model = destination;
    for (const auto& thrown : CallOnThreads(threads, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
           scan_->Apply(*source, *destination, frame.sourceRegion, frame.region, frame.flags, frame.steps,
                        frame.step, barrier, static_cast<std::int32_t>(index));
         })) {
      ASSERT_EQ(thrown, nullptr);
    }
    kv_model::Scan(*source, *model, frame.sourceRegion, frame.region, frame.flags, frame.steps, frame.step,
                   threads);
    ASSERT_EQ(destination.DifferenceFrom(model), "");
  }
}

/// Rows that are allocations of their own, so that a memory checker sees the first byte beyond the slack.
struct SeparateRows {
  std::vector<std::unique_ptr<std::uint8_t[]>> memory;
  std::unique_ptr<Yuv422> image;

  SeparateRows(int width, int height, const kv_img::ImageOptions& options) {
    std::vector<std::uint8_t*> rows;
    for (int y = 0; y < height; ++y) {
      const auto bytes = static_cast<std::size_t>(2 * width + 8);
      memory.push_back(std::make_unique<std::uint8_t[]>(bytes));
      std::fill_n(memory.back().get(), bytes, static_cast<std::uint8_t>(y));
      rows.push_back(memory.back().get());
    }
    image = std::make_unique<Yuv422>(width, height, kv_img::WrappedRows::Separate(rows), options);
  }
};

TEST_P(ScanningModel, EightBytesOfSlackCoverEveryAccess) {
  Random random(0x7103);
  for (int round = 0; round < 3000; ++round) {
    const Frame frame(random, random.Between(1, 12));
    // Images that end with their regions.
    const SeparateRows source(std::max(frame.sourceRegion.GetRight(), frame.region.GetRight()) + 1,
                              std::max(frame.sourceRegion.GetBottom(), frame.region.GetBottom()) + 1,
                              Options(frame.sourceLayout));
    const auto destinationOf = [&] {
      return SeparateRows(frame.region.GetRight() + 1, frame.region.GetBottom() + 1,
                          Options(frame.layout, frame.parity));
    };
    SeparateRows destination = destinationOf();
    SeparateRows model = destinationOf();
    Run(*source.image, *destination.image, frame.sourceRegion, frame.region, frame.flags, frame.steps,
        frame.step);
    kv_model::Scan(*source.image, *model.image, frame.sourceRegion, frame.region, frame.flags, frame.steps,
                   frame.step, 1);
    for (int y = 0; y <= frame.region.GetBottom(); ++y) {
      ASSERT_TRUE(
          std::equal(model.memory[static_cast<std::size_t>(y)].get(),
                     model.memory[static_cast<std::size_t>(y)].get() + 2 * frame.region.GetRight() + 10,
                     destination.memory[static_cast<std::size_t>(y)].get()));
    }
  }
}

/// FNV-1a of the frames of four pans in both byte orders.
template <class Scan>
std::uint64_t HashOfFrames(Scan scan) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const std::int32_t layout : {chromaFirst, lumaFirst}) {
    ScanTestImage source(150, 60, Options(layout));
    std::uint32_t state = 1;
    const auto noise = [&state](int, int) {
      state = state * 1664525U + 1013904223U;
      return static_cast<int>(state >> 24);
    };
    source.Fill(noise, noise);
    for (const std::uint8_t flags : {horizontal, horizontalReverse, vertical, verticalReverse}) {
      const bool isHorizontal = flags == horizontal || flags == horizontalReverse;
      for (std::uint32_t step = 0; step < 23; ++step) {
        // First columns of either parity, fields of either.
        const int left = static_cast<int>(step / 2 % 2);
        ScanTestImage destination(110, 50, Options(layout, static_cast<int>(step / 4 % 2)));
        scan(*source, *destination, isHorizontal ? ImageRect(3, 5, 138, 44) : ImageRect(3, 5, 103, 54),
             ImageRect(left, 2, left + 100, 41), flags, 23, step);
        for (const std::uint8_t byte : destination.Bytes()) hash = (hash ^ byte) * 0x100000001B3U;
      }
    }
  }
  return hash;
}

TEST_P(ScanningModel, FramesAreTheSameFromEveryCompiler) {
  constexpr std::uint64_t pinned = 0x4185D48A868AB8D9U;
  EXPECT_EQ(HashOfFrames([&](auto&&... arguments) { Run(arguments...); }), pinned);
  EXPECT_EQ(HashOfFrames([](auto&&... arguments) { kv_model::Scan(arguments..., 1); }), pinned);
}

INSTANTIATE_TEST_SUITE_P(Members, ScanningModel, EachMember(), MemberName);

}  // namespace
