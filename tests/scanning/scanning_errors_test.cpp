// What a pan refuses, in which order, and what is written by then.

#include "image/run_region.h"
#include "tests/scanning/scanning_fixture.h"
#include "tests/support/expect_error.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using kv_img::RunRegion;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

class ScanningErrors : public ScanningFixture {};

TEST_P(ScanningErrors, ErrorsComeInOrderAndBeforeAnyWrite) {
  const ScanTestImage source(10, 6, Options(lumaFirst));
  const auto expectRefusal = [&](const RegionOfSupport& from, const RegionOfSupport& to, std::uint8_t flags,
                                 std::uint32_t code, const wchar_t* tail) {
    // The destination is larger than the source and has the other field and layout.
    ScanTestImage destination(20, 20, Options(chromaFirst, 1), 99);
    for (std::int32_t index = 0; index < 3; ++index) {
      kv_std::SpinBarrier barrier(3);
      ExpectError<AlgoMMXException>(
          [&] { scan_->Apply(*source, *destination, from, to, flags, 5, 0, barrier, index); }, code,
          Name(tail));
    }
    EXPECT_TRUE(std::ranges::all_of(destination.Bytes(), [](int byte) { return byte == 99; }));
  };
  const wchar_t* notRectangular = L"<ImageYUV422, ImageYUV422>: region of support not rectangular";
  const ImageRect whole(0, 0, 9, 5);
  const RunRegion ragged(0, {0, 1, 0}, {5, 5, 5});
  const RunRegion raggedOutside(0, {0, 1, 0}, {10, 9, 9});
  for (const std::uint8_t flags : {std::uint8_t{0}, horizontal, vertical}) {
    // Outside the source image: the source region, and the destination region although it is inside its own
    // image.
    expectRefusal(ImageRect(0, 0, 10, 5), ImageRect(0, 0, 9, 5), flags, 2, L"");
    expectRefusal(ImageRect(0, 0, 9, 6), ImageRect(0, 0, 9, 5), flags, 2, L"");
    expectRefusal(whole, ImageRect(1, 0, 10, 5), flags, 2, L"");
    expectRefusal(whole, ImageRect(0, 1, 9, 6), flags, 2, L"");
    expectRefusal(whole, ImageRect(-1, 0, 8, 5), flags, 2, L"");
    // A destination region larger than the source region.
    expectRefusal(ImageRect(0, 0, 4, 5), ImageRect(0, 0, 5, 5), flags, 2, L"");
    expectRefusal(ImageRect(0, 0, 9, 3), ImageRect(0, 0, 9, 4), flags, 2, L"");
    // Regions that are not rectangular, only after that.
    expectRefusal(raggedOutside, whole, flags, 2, L"");
    expectRefusal(ragged, whole, flags, 2, L"");
    expectRefusal(ragged, ImageRect(0, 0, 4, 1), flags, 4, notRectangular);
    expectRefusal(whole, ragged, flags, 4, notRectangular);
  }
  // Sizes along the other axis, last.
  expectRefusal(whole, ImageRect(0, 0, 9, 4), horizontal, 2, L"");
  expectRefusal(whole, ImageRect(0, 0, 8, 5), vertical, 2, L"");
  expectRefusal(whole, ImageRect(0, 0, 8, 4), 0x0A, 2, L"");
}

TEST_P(ScanningErrors, LayoutsAreRefusedOnceTheOddFirstPixelIsWritten) {
  constexpr std::int32_t otherCode = 4242;
  for (const auto& [from, to] :
       {std::pair{lumaFirst, chromaFirst}, std::pair{chromaFirst, lumaFirst}, std::pair{lumaFirst, otherCode},
        std::pair{otherCode, lumaFirst}, std::pair{otherCode, otherCode}}) {
    ScanTestImage source(12, 4, Options(from));
    source.Fill([](int x, int) { return 10 * x; }, [](int x, int) { return 100 + x; });
    // Odd and even first columns, with whole groups and without.
    for (const ImageRect& region :
         {ImageRect(1, 1, 9, 2), ImageRect(1, 1, 1, 2), ImageRect(2, 1, 9, 2), ImageRect(2, 1, 3, 2)}) {
      ScanTestImage destination(12, 4, Options(to), 99);
      ScanTestImage expected(12, 4, Options(to), 99);
      kv_std::SpinBarrier barrier(1);
      ExpectError<AlgoMMXException>(
          [&] { scan_->Apply(*source, *destination, region, region, horizontal, 1, 0, barrier, 0); }, 4,
          Name());
      if (region.GetLeft() == 1) {
        expected.Luma(1, 1) = 10;
        expected.Cb(1, 1) = 100;
        expected.Cr(1, 1) = 101;
      }
      EXPECT_EQ(destination.Bytes(), expected.Bytes());
    }
  }
}

TEST_P(ScanningErrors, BandWithoutComputedRowNeverRefusesLayouts) {
  const ScanTestImage source(12, 4, Options(lumaFirst));
  const ImageRect region(1, 1, 9, 2);
  for (const int parity : {0, 1}) {
    ScanTestImage destination(12, 4, Options(chromaFirst, parity));
    kv_std::SpinBarrier four(4);
    // Four threads share two rows: the first has none, the second one.
    EXPECT_NO_THROW(scan_->Apply(*source, *destination, region, region, horizontal, 1, 0, four, 0));
    const auto second = [&] {
      scan_->Apply(*source, *destination, region, region, horizontal, 1, 0, four, 1);
    };
    if (parity == 0) {
      ExpectError<AlgoMMXException>(second, 4, Name());
    } else {
      EXPECT_NO_THROW(second());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Members, ScanningErrors, EachMember(), MemberName);

}  // namespace
