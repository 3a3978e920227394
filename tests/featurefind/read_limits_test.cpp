#include <memory>

#include "tests/featurefind/search_test.h"
#include "tests/kernel_check/guarded_pages.h"

namespace {

using namespace kv_test;

class FeatureFindReadLimits : public FeatureFindTest {};

/// An image whose rows each end with their last pixel at a page that nobody may read.
template <class PixelClass>
struct GuardedImage {
  std::vector<std::unique_ptr<kv_check::GuardedPages>> pages;
  std::unique_ptr<kv_img::Image<PixelClass>> image;

  GuardedImage(int width, int height, const kv_img::ImageOptions& options) {
    const std::size_t rowBytes = static_cast<std::size_t>(width) * PixelClass::NbrOfBitsPerPixel / 8;
    std::vector<std::uint8_t*> rows;
    for (int row = 0; row < height; ++row) {
      pages.push_back(std::make_unique<kv_check::GuardedPages>(rowBytes));
      rows.push_back(pages.back()->End() - rowBytes);
    }
    image = std::make_unique<kv_img::Image<PixelClass>>(width, height, kv_img::WrappedRows::Separate(rows),
                                                        options);
  }
};

TEST_P(FeatureFindReadLimits, NothingIsReadBehindTheLastPixelOfARow) {
  using namespace kv_img::PixelLayout;
  ForEachFormat([&]<class P>() {
    const bool isYuv = std::is_same_v<P, kv_img::PixelYUV422>;
    for (const int layout : {isYuv ? chromaFirst : blueFirst, isYuv ? lumaFirst : redFirst}) {
      for (int width = 1; width <= 20; ++width) {
        // The whole of image 1 is the template, and all of image 2 is searched.
        const GuardedImage<P> image1(width, 3, Options(layout));
        const GuardedImage<P> image2(width + 3, 6, Options(layout));
        const Point centre = {width, 3};
        EXPECT_EQ(Locate(*image1.image, *image2.image, {0, 0}, centre, width, 3, 99, 99), (Point{0, 0}));
        EXPECT_EQ(LocateSubPixel(*image1.image, *image2.image, {0, 0}, {centre[0] + 0.0, centre[1] + 0.0},
                                 width, 3, {99, 99, 0.25, 0.25}),
                  (DoublePoint{0, 0}));
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Members, FeatureFindReadLimits, EachMember(), MemberName);

}  // namespace
