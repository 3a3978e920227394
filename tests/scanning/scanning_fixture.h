#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "frame/interfaces/scanning.h"
#include "image/image_rect.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace kv_test {

inline constexpr std::uint8_t horizontal = 0x01;
inline constexpr std::uint8_t horizontalReverse = 0x02;
inline constexpr std::uint8_t vertical = 0x04;
inline constexpr std::uint8_t verticalReverse = 0x08;

/// An image over rows of one value, 8 bytes of slack after each; `set` gives the samples their values.
class ScanTestImage {
 public:
  ScanTestImage(int width, int height, const kv_img::ImageOptions& options, std::uint8_t value = 0)
      : stride_(2 * width + 8),
        bytes_(static_cast<std::size_t>(stride_ * height), value),
        isChromaFirst_(options.layout == kv_img::PixelLayout::chromaFirst),
        image_(std::make_unique<Yuv422>(width, height, kv_img::WrappedRows::Strided(bytes_.data(), stride_),
                                        options)) {}

  Yuv422& operator*() { return *image_; }
  const Yuv422& operator*() const { return *image_; }
  Yuv422* operator->() { return image_.get(); }
  const std::vector<std::uint8_t>& Bytes() const { return bytes_; }

  std::uint8_t& Luma(int x, int y) { return At(2 * x + (isChromaFirst_ ? 1 : 0), y); }
  std::uint8_t& Cb(int x, int y) { return At(4 * (x / 2) + (isChromaFirst_ ? 0 : 1), y); }
  std::uint8_t& Cr(int x, int y) { return At(4 * (x / 2) + (isChromaFirst_ ? 2 : 3), y); }

  /// Luma, and by pairs both kinds of chroma, as functions of column (of the pair's first pixel) and row;
  /// slack too.
  template <class LumaOf, class ChromaOf>
  void Fill(LumaOf luma, ChromaOf chroma) {
    for (int y = 0; y < image_->GetPixelBuffer().height; ++y) {
      for (int x = 0; x < stride_ / 2; ++x) Luma(x, y) = static_cast<std::uint8_t>(luma(x, y));
      for (int x = 0; x + 1 < stride_ / 2; x += 2) {
        Cb(x, y) = static_cast<std::uint8_t>(chroma(x, y));
        Cr(x, y) = static_cast<std::uint8_t>(chroma(x, y) + 1);
      }
    }
  }
  std::vector<int> LumaRow(int y, int left, int right) {
    std::vector<int> row;
    for (int x = left; x <= right; ++x) row.push_back(Luma(x, y));
    return row;
  }

 private:
  std::uint8_t& At(int byte, int y) { return bytes_[static_cast<std::size_t>(stride_ * y + byte)]; }

  int stride_;
  std::vector<std::uint8_t> bytes_;
  bool isChromaFirst_;
  std::unique_ptr<Yuv422> image_;
};

class ScanningFixture : public testing::TestWithParam<int> {
 public:
  using Operation = kv_img::ScanningAlgorithmInterface<Yuv422, Yuv422>;

 protected:
  // What the host calls, the types of steps, frame number and thread index included.
  static_assert(
      std::is_same_v<decltype(&Operation::Apply),
                     Yuv422& (Operation::*)(const Yuv422&, Yuv422&, const kv_img::RegionOfSupport&,
                                            const kv_img::RegionOfSupport&, unsigned char, std::int32_t,
                                            std::uint32_t, kv_std::SpinBarrier&, std::int32_t) const>);

  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Operation* scan_ =
      member_.Get<Operation>("Scanning", {kv_img::PixelYUV422::ClassID, kv_img::PixelYUV422::ClassID});

  void SetUp() override { ASSERT_NE(scan_, nullptr); }

  std::wstring Name(const wchar_t* tail = L"") const { return L"Scanning" + member_.Suffix() + tail; }

  void Run(const Yuv422& source, Yuv422& destination, const kv_img::RegionOfSupport& sourceRegion,
           const kv_img::RegionOfSupport& destinationRegion, std::uint8_t flags, std::int32_t steps,
           std::uint32_t step, int threads = 1) {
    CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      EXPECT_EQ(&scan_->Apply(source, destination, sourceRegion, destinationRegion, flags, steps, step,
                              barrier, static_cast<std::int32_t>(index)),
                &destination);
    });
  }
};

}  // namespace kv_test
