#pragma once

#include <gtest/gtest.h>

#include "frame/interfaces/copy.h"
#include "image/image.h"
#include "tests/support/expect_error.h"
#include "tests/support/member.h"
#include "tests/support/random.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace kv_test {

/// A layout that is none of those with a name.
inline constexpr int otherLayout = 4242;

/// Selects the component positions of a bitmap layout, also where the image library would not: 15- and 16-bit
/// images have one layout there.
template <class Image>
void SelectPositions(Image& image, int layout) {
  if constexpr (std::is_same_v<typename Image::Descriptor, kv_img::PixelDescriptorDIB>) {
    image.GetPixelBuffer().descriptor.layoutFlags = static_cast<std::uint32_t>(layout) & 0xFFU;
  }
}

/// The "Copy" of one pair of pixel classes, on each member.
template <class PixelIn, class PixelOut>
class CopyFixture : public testing::TestWithParam<int> {
 protected:
  using In = kv_img::Image<PixelIn>;
  using Out = kv_img::Image<PixelOut>;
  using Operation = kv_img::CopyAlgorithmInterface<In, Out>;

  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Operation* copy_ = member_.Get<Operation>("Copy", {PixelIn::ClassID, PixelOut::ClassID});

  void SetUp() override { ASSERT_NE(copy_, nullptr); }

  void Run(const In& source, Out& destination, int threads = 1) {
    CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      EXPECT_EQ(&copy_->Apply(source, destination, barrier, index), &destination);
    });
  }

  /// Random images of every width from 1 to 130: every byte of the arenas equals what
  /// `model(source, destination, threads)` makes of clones. The layouts are drawn from the lists.
  template <class Model>
  void CompareWithModel(std::uint64_t seed, std::initializer_list<int> sourceLayouts,
                        std::initializer_list<int> destinationLayouts, Model model) {
    Random random(seed);
    for (int width = 1; width <= 130; ++width) {
      for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
        const int height = random.Between(1, 9);
        TestImage<PixelIn> source(random, width, height, Placement::Any(random),
                                  Options(random.Pick(sourceLayouts), random.Between(0, 2)));
        const int layout = random.Pick(destinationLayouts);
        TestImage<PixelOut> destination(random, width, height, Placement::Any(random),
                                        Options(layout, random.Between(0, 2)));
        TestImage untouched = source;
        TestImage expected = destination;
        SelectPositions(*destination, layout);
        SelectPositions(*expected, layout);
        const int threads = random.Between(1, 9);
        Run(*source, *destination, threads);
        model(*untouched, *expected, threads);
        ASSERT_EQ(destination.DifferenceFrom(expected), "");
        ASSERT_EQ(source.DifferenceFrom(untouched), "");
      }
    }
  }

  /// Every thread that calls refuses images of different widths or heights, and writes nothing.
  void ExpectSizeMismatchRefused() {
    const In source(8, 4);
    for (const auto& [width, height] : {std::pair{9, 4}, std::pair{8, 5}}) {
      Out destination(width, height);
      for (int row = 0; row < height; ++row) std::ranges::fill(destination.Row(row), std::uint8_t{77});
      kv_std::SpinBarrier barrier(3);
      for (std::uint32_t index = 0; index < 3; ++index) {
        ExpectError<kv_img::AlgoMMXException>([&] { copy_->Apply(source, destination, barrier, index); }, 1,
                                              L"Copy" + member_.Suffix());
      }
      for (int row = 0; row < height; ++row) {
        EXPECT_TRUE(std::ranges::all_of(destination.Row(row), [](int byte) { return byte == 77; }));
      }
    }
  }

  /// Threads that run at once write what they write one after the other.
  void ExpectThreadsAtOnceAgree() {
    Random random(0x2103);
    for (int round = 0; round < 20; ++round) {
      const int width = random.Between(1, 130);
      const int height = random.Between(1, 40);
      const auto options = [&] {
        kv_img::ImageOptions result;
        result.properties.fieldParity = static_cast<std::uint8_t>(random.Between(0, 1));
        return result;
      };
      const TestImage<PixelIn> source(random, width, height, Placement::Any(random), options());
      TestImage<PixelOut> destination(random, width, height, Placement::Any(random), options());
      TestImage expected = destination;
      const int threads = random.Between(1, 9);
      const auto thrown = CallOnThreads(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
        copy_->Apply(*source, *destination, barrier, index);
      });
      for (const auto& exception : thrown) ASSERT_EQ(exception, nullptr);
      Run(*source, *expected, threads);
      ASSERT_EQ(destination.DifferenceFrom(expected), "");
    }
  }

  /// Row of the source that each destination row was made from. Rows of zeros and of 255 tell them apart.
  std::vector<int> OriginsOfRows(int height, int threads, int sourceParity, int destinationParity) {
    std::vector<int> origins(static_cast<std::size_t>(height), -1);
    for (int origin = 0; origin < height; ++origin) {
      kv_img::ImageOptions sourceOptions;
      sourceOptions.properties.fieldParity = static_cast<std::uint8_t>(sourceParity);
      kv_img::ImageOptions destinationOptions;
      destinationOptions.properties.fieldParity = static_cast<std::uint8_t>(destinationParity);
      In source(8, height, sourceOptions);
      std::ranges::fill(source.Row(origin), std::uint8_t{255});
      Out destination(8, height, destinationOptions);
      In blank(8, height, sourceOptions);
      Out unmarked(8, height, destinationOptions);
      Run(source, destination, threads);
      Run(blank, unmarked, threads);
      for (int row = 0; row < height; ++row) {
        if (!std::ranges::equal(destination.Row(row), unmarked.Row(row))) {
          origins[static_cast<std::size_t>(row)] = origin;
        }
      }
    }
    return origins;
  }

  /// The field-parity shift, clamped to the band of each thread.
  void ExpectFieldParityShift() {
    EXPECT_EQ(OriginsOfRows(5, 1, 1, 1), (std::vector{0, 1, 2, 3, 4}));
    EXPECT_EQ(OriginsOfRows(5, 1, 1, 0), (std::vector{1, 2, 3, 4, 4}));
    EXPECT_EQ(OriginsOfRows(5, 1, 0, 1), (std::vector{0, 0, 1, 2, 3}));
    EXPECT_EQ(OriginsOfRows(5, 2, 1, 0), (std::vector{1, 1, 3, 4, 4}));
    EXPECT_EQ(OriginsOfRows(3, 9, 0, 1), (std::vector{0, 1, 2}));
  }
};

/// Fills a row with a pattern of bytes, repeated.
inline void FillRow(std::span<std::uint8_t> row, std::initializer_list<int> pattern) {
  for (std::size_t i = 0; i < row.size(); ++i) {
    row[i] = static_cast<std::uint8_t>(pattern.begin()[i % pattern.size()]);
  }
}

/// The first `count` bytes of a row.
inline std::vector<int> BytesOf(std::span<const std::uint8_t> row, std::size_t count) {
  return {row.begin(), row.begin() + static_cast<std::ptrdiff_t>(count)};
}

/// `count` values of a pattern, repeated.
inline std::vector<int> Repeated(std::initializer_list<int> pattern, std::size_t count) {
  std::vector<int> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = pattern.begin()[i % pattern.size()];
  return values;
}

}  // namespace kv_test
