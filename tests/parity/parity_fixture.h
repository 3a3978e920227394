#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "frame/interfaces/parity_change.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"

namespace kv_test {

using Bytes = std::vector<std::uint8_t>;

/// The first bytes of a line, all different.
inline const Bytes tens = {10, 20, 30, 40, 50, 60, 70, 80};

inline kv_img::ImageOptions FieldOptions(int fieldOrder, int fieldParity,
                                         std::int32_t layout = kv_img::PixelLayout::lumaFirst) {
  kv_img::ImageOptions options = Options(layout, fieldParity);
  options.properties.fieldOrder = static_cast<std::uint8_t>(fieldOrder);
  return options;
}

/// Lines of one value, slack included.
struct LineImage {
  std::vector<std::uint8_t> bytes;
  Yuv422 image;

  LineImage(int width, int height, const kv_img::ImageOptions& options, int value)
      : bytes(static_cast<std::size_t>((2 * width + slack) * height), static_cast<std::uint8_t>(value)),
        image(width, height, kv_img::WrappedRows::Strided(bytes.data(), 2 * width + slack), options) {}
  std::vector<std::uint8_t> Line(int y, int count) const {
    const std::uint8_t* row = image.GetPixelBuffer().rows[y];
    return {row, row + count};
  }
  static constexpr int slack = 8;
};

class ParityFixture : public testing::TestWithParam<int> {
 protected:
  using Operation = kv_img::ParityChangeAlgorithmInterface<Yuv422, Yuv422>;

  // What the host calls: two operations without barrier or thread index.
  static_assert(std::is_same_v<decltype(std::declval<const Operation&>().Apply(
                                   std::declval<const Yuv422&>(), std::declval<Yuv422&>(),
                                   std::declval<const kv_img::RegionOfSupport&>())),
                               Yuv422&>);
  static_assert(std::is_same_v<decltype(std::declval<const Operation&>().Apply(std::declval<const Yuv422&>(),
                                                                               std::declval<Yuv422&>())),
                               Yuv422&>);

  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Operation* change_ =
      member_.Get<Operation>("ParityChange", {kv_img::PixelYUV422::ClassID, kv_img::PixelYUV422::ClassID});

  void SetUp() override { ASSERT_NE(change_, nullptr); }

  std::wstring Name(const wchar_t* tail = L"") const { return L"ParityChange" + member_.Suffix() + tail; }

  void Run(const Yuv422& source, Yuv422& destination) {
    EXPECT_EQ(&change_->Apply(source, destination), &destination);
  }
  void Run(const Yuv422& source, Yuv422& destination, const kv_img::RegionOfSupport& region) {
    EXPECT_EQ(&change_->Apply(source, destination, region), &destination);
  }

  /// First bytes of every line when lines of the values 0, 10, 20, … change their parity, in the whole image
  /// or a region of it.
  std::vector<int> Lines(int height, int fieldOrder, int fieldParity,
                         const kv_img::RegionOfSupport* region = nullptr) {
    Yuv422 source(8, height, FieldOptions(fieldOrder, fieldParity));
    Yuv422 destination(8, height);
    for (int y = 0; y < height; ++y) {
      std::ranges::fill(source.Row(y), static_cast<std::uint8_t>(10 * y));
      std::ranges::fill(destination.Row(y), 99);
    }
    if (region == nullptr) {
      Run(source, destination);
    } else {
      Run(source, destination, *region);
    }
    std::vector<int> lines;
    for (int y = 0; y < height; ++y) lines.push_back(destination.Row(y)[0]);
    return lines;
  }
};

}  // namespace kv_test
