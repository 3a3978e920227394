#pragma once

#include <gtest/gtest.h>

#include <numeric>
#include <utility>
#include <vector>

#include "frame/interfaces/copy_roi.h"
#include "tests/copy/roi_regions.h"
#include "tests/support/expect_error.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace kv_test {

using Bytes = std::vector<std::uint8_t>;

/// The "CopyROI" of a pixel class to packed 4:2:2, on each member.
template <class PixelIn>
class CopyRoiFixture : public testing::TestWithParam<int> {
 protected:
  using In = kv_img::Image<PixelIn>;
  using Operation = kv_img::CopyROIAlgorithmInterface<In, Yuv422>;

  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Operation* copy_ =
      member_.Get<Operation>("CopyROI", {PixelIn::ClassID, kv_img::PixelYUV422::ClassID});

  void SetUp() override { ASSERT_NE(copy_, nullptr); }

  void Run(const In& source, Yuv422& destination, const kv_img::RegionOfSupport& from,
           const kv_img::RegionOfSupport& to, int threads = 1) {
    CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      EXPECT_EQ(&copy_->Apply(source, destination, from, to, barrier, index), &destination);
    });
  }

  /// Every one of three threads refuses the regions.
  void ExpectRegionsRefused(const In& source, Yuv422& destination, const kv_img::RegionOfSupport& from,
                            const kv_img::RegionOfSupport& to) {
    kv_std::SpinBarrier barrier(3);
    for (std::uint32_t index = 0; index < 3; ++index) {
      ExpectError<kv_img::AlgoMMXException>(
          [&] { copy_->Apply(source, destination, from, to, barrier, index); }, 2,
          L"CopyROI" + member_.Suffix());
    }
  }
};

/// A picture whose byte b of row y is `first` + 40 * y + b, mod 256: up to 20 columns that tell where they
/// came from. Rows do not take the block path.
struct Picture {
  Yuv422 image;

  Picture(int width, int height, int first, std::int32_t layout, int parity = 0)
      : image(width, height, [&] {
          kv_img::ImageOptions options = Options(layout, parity);
          options.properties.propertyFlag = 1;
          return options;
        }()) {
    for (int row = 0; row < height; ++row) {
      std::iota(image.Row(row).begin(), image.Row(row).end(), static_cast<std::uint8_t>(first + 40 * row));
    }
  }
  /// The bytes of columns `first` to `last`.
  Bytes Columns(int row, int first, int last) const {
    return {image.Row(row).begin() + 2 * first, image.Row(row).begin() + 2 * last + 2};
  }
};

inline Bytes Swapped(Bytes bytes) {
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) std::swap(bytes[at], bytes[at + 1]);
  return bytes;
}

}  // namespace kv_test
