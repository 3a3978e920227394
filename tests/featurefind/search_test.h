#pragma once

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <vector>

#include "frame/interfaces/feature_find.h"
#include "image/image.h"
#include "tests/support/expect_error.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace kv_test {

template <class PixelClass>
using FeatureFindOf = kv_img::FeatureFindAlgorithmInterface<kv_img::Image<PixelClass>>;

using Point = std::array<int, 2>;
using DoublePoint = std::array<double, 2>;

/// Sets the compared sample of a pixel: luma or green.
template <class PixelClass>
void SetSample(kv_img::Image<PixelClass>& image, int x, int y, int value) {
  const int pixelBytes = static_cast<int>(PixelClass::NbrOfBitsPerPixel / 8);
  const bool isSecondByte = pixelBytes != 2 || image.GetPixelLayout() == kv_img::PixelLayout::chromaFirst;
  image.GetPixelBuffer().rows[y][pixelBytes * x + (isSecondByte ? 1 : 0)] = static_cast<std::uint8_t>(value);
}

/// An image whose samples `valueAt(x, y)` gives; all its other bytes are random.
template <class PixelClass, class ValueAt>
std::unique_ptr<kv_img::Image<PixelClass>> MakeImage(int width, int height, ValueAt valueAt,
                                                     const kv_img::ImageOptions& options = {}) {
  auto image = std::make_unique<kv_img::Image<PixelClass>>(width, height, options);
  Random random(static_cast<std::uint64_t>(width) * 1000 + static_cast<std::uint64_t>(height));
  for (int y = 0; y < height; ++y) {
    for (std::uint8_t& byte : image->Row(y)) byte = static_cast<std::uint8_t>(random.Next());
    for (int x = 0; x < width; ++x) SetSample(*image, x, y, valueAt(x, y));
  }
  return image;
}

/// A texture without two equal places.
inline int Texture(int x, int y) {
  return (x * 37 + y * 101 + x * x * 11 + x * y * 29 + y * y * 7) & 0xFF;
}

inline int Nothing(int /*x*/, int /*y*/) {
  return 0;
}

/// Tests of the feature search, on every member; `ForEachFormat` repeats a test for every pixel class.
class FeatureFindTest : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];

  template <class PixelClass>
  const FeatureFindOf<PixelClass>& Find() const {
    const auto* find = member_.Get<FeatureFindOf<PixelClass>>("FeatureFind", {PixelClass::ClassID});
    if (find == nullptr) throw std::runtime_error("the member has no FeatureFind for this format");
    return *find;
  }

  /// Calls `test` with a value of every pixel class's tag.
  template <class Test>
  static void ForEachFormat(Test test) {
    const auto run = [&]<class PixelClass>(const char* name) {
      SCOPED_TRACE(name);
      test.template operator()<PixelClass>();
    };
    run.template operator()<kv_img::PixelYUV422>("YUV422");
    run.template operator()<kv_img::PixelDIB24>("DIB24");
    run.template operator()<kv_img::PixelDIB32>("DIB32");
  }

  template <class PixelClass>
  Point Locate(const kv_img::Image<PixelClass>& image1, const kv_img::Image<PixelClass>& image2, Point point1,
               Point point2, int hw, int hh, int rangeX, int rangeY, kv_img::MatchScoreMap* map = nullptr,
               Point result = {-1000, -1000}) const {
    kv_std::SpinBarrier barrier(1);
    Find<PixelClass>().LocateFeature(image1, image2, point1.data(), point2.data(), result.data(), hw, hh,
                                     rangeX, rangeY, map, barrier, 0);
    return result;
  }

  struct Steps {
    double rangeX;
    double rangeY;
    double stepX;
    double stepY;
    int levels = 1;
  };

  template <class PixelClass>
  DoublePoint LocateSubPixel(const kv_img::Image<PixelClass>& image1, const kv_img::Image<PixelClass>& image2,
                             DoublePoint point1, DoublePoint point2, int hw, int hh, Steps steps,
                             kv_img::SubPixelScoreMap* map = nullptr,
                             DoublePoint result = {-1000, -1000}) const {
    kv_std::SpinBarrier barrier(1);
    Find<PixelClass>().LocateFeatureSubPixel(image1, image2, point1.data(), point2.data(), result.data(), hw,
                                             hh, steps.rangeX, steps.rangeY, steps.stepX, steps.stepY,
                                             steps.levels, map, barrier, 0);
    return result;
  }

  template <class Call>
  void ExpectRefused(Call call) const {
    ExpectError<kv_img::AlgoMMXException>(call, 1, L"FeatureFind" + member_.Suffix());
  }
};

template <class Map>
std::vector<double> ScoresOf(const Map& map) {
  return {map.Scores().begin(), map.Scores().end()};
}

}  // namespace kv_test
