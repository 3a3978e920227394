#include "tests/copy/copy_roi_fixture.h"

namespace {

using kv_img::AlgoMMXException;
using kv_img::ImageOptions;
using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using enum kv_img::PixelComponent::COMPONENT;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

class PlanarCopyRoi : public CopyRoiFixture<kv_img::PixelYUV411P> {};

/// A planar picture of up to 64 columns: luma is 0 and on by column, Cb 100 and on, Cr 150 and on, each plus
/// 10 times the row. Samples continue past the rows, so that over-runs show.
struct Planar {
  Yuv411P image;

  Planar(int width, int height, int parity = 0)
      : image(width, height, [&] {
          ImageOptions options = Options(kv_img::PixelLayout::planar, parity);
          options.rowSlack = 64;
          return options;
        }()) {
    for (int row = 0; row < height; ++row) {
      std::uint8_t* luma = image.PlaneRow(Luma, row).data();
      std::uint8_t* cb = image.PlaneRow(Cb, row).data();
      std::uint8_t* cr = image.PlaneRow(Cr, row).data();
      std::iota(luma, luma + 64, static_cast<std::uint8_t>(10 * row));
      std::iota(cb, cb + 40, static_cast<std::uint8_t>(100 + 10 * row));
      std::iota(cr, cr + 40, static_cast<std::uint8_t>(150 + 10 * row));
    }
  }
  /// `pixels` pixels of a row as packed 4:2:2, luma from column `first` on, chroma from sample `first` / 2
  /// on.
  Bytes Packed(std::int32_t layout, int row, int first, int pixels) const {
    Bytes packed;
    for (int pixel = 0; pixel < pixels; ++pixel) {
      const auto luma = static_cast<std::uint8_t>(10 * row + first + pixel);
      const auto chroma =
          static_cast<std::uint8_t>((pixel % 2 == 0 ? 100 : 150) + 10 * row + first / 2 + pixel / 2);
      packed.push_back(layout == lumaFirst ? luma : chroma);
      packed.push_back(layout == lumaFirst ? chroma : luma);
    }
    return packed;
  }
};

/// A packed picture with 64 columns of slack after each row, all bytes 255.
struct Packed {
  Yuv422 image;

  Packed(int width, int height, std::int32_t layout = lumaFirst, int parity = 0)
      : image(width, height, [&] {
          ImageOptions options = Options(layout, parity);
          options.rowSlack = 128;
          return options;
        }()) {
    for (int row = 0; row < height; ++row) std::fill_n(image.Row(row).data(), 2 * width + 128, 255);
  }
  /// Expects `pixels` at column `first` of a row, and nothing else in the row or after it.
  void ExpectOnly(int row, int first, const Bytes& pixels) const {
    const std::uint8_t* start = image.Row(row).data();
    Bytes expected(2 * image.GetWidth() + 128, 255);
    std::ranges::copy(pixels, expected.begin() + 2 * first);
    EXPECT_EQ(Bytes(start, start + expected.size()), expected) << "row " << row;
  }
  void ExpectUntouched(int row) const { ExpectOnly(row, 0, {}); }
};

TEST_P(PlanarCopyRoi, RectanglesOfEqualSizeInBothByteOrders) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    const Planar source(16, 4);
    Packed destination(24, 5, layout);
    Run(source.image, destination.image, ImageRect(0, 1, 15, 2), ImageRect(4, 2, 19, 3));
    destination.ExpectUntouched(1);
    destination.ExpectOnly(2, 4, source.Packed(layout, 1, 0, 16));
    destination.ExpectOnly(3, 4, source.Packed(layout, 2, 0, 16));
    destination.ExpectUntouched(4);
  }
}

TEST_P(PlanarCopyRoi, ConvertsAsManyGroupsAsTheSourceImageIsWide) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    // Four columns wanted, three groups of eight written: ten pixels beyond the row.
    const Planar source(24, 1);
    Packed destination(20, 1, layout);
    Run(source.image, destination.image, ImageRect(4, 0, 7, 0), ImageRect(6, 0, 9, 0));
    destination.ExpectOnly(0, 6, source.Packed(layout, 0, 4, 24));
  }
}

TEST_P(PlanarCopyRoi, SourceIsReadBehindItsRowToo) {
  const Planar source(16, 1);
  Packed destination(16, 1);
  Run(source.image, destination.image, ImageRect(14, 0, 15, 0), ImageRect(0, 0, 1, 0));
  destination.ExpectOnly(0, 0, source.Packed(lumaFirst, 0, 14, 16));
}

TEST_P(PlanarCopyRoi, RemainderComparesTheLastColumnWithThePixelsDone) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    const auto expectPixels = [&](int width, int left, int right, int pixels) {
      SCOPED_TRACE(testing::Message() << width << " wide, columns " << left << " to " << right);
      const Planar source(width, 1);
      Packed destination(width, 1, layout);
      Run(source.image, destination.image, ImageRect(left, 0, right, 0), ImageRect(left, 0, right, 0));
      destination.ExpectOnly(0, left, source.Packed(layout, 0, left, pixels));
    };
    // The last column is below the 8 pixels of the groups, or on the ninth: no pass.
    expectPixels(14, 0, 7, 8);
    expectPixels(9, 0, 7, 8);
    // Columns 9 to 12 take one pass, 13 takes two, wherever the run began.
    expectPixels(14, 0, 9, 12);
    expectPixels(14, 0, 11, 12);
    expectPixels(14, 0, 13, 16);
    expectPixels(14, 8, 9, 12);
    expectPixels(14, 12, 13, 16);
    // No whole group in the image.
    expectPixels(6, 0, 1, 4);
    expectPixels(6, 0, 3, 4);
    expectPixels(6, 0, 5, 8);
    expectPixels(6, 4, 5, 8);
    expectPixels(2, 0, 1, 4);
  }
}

TEST_P(PlanarCopyRoi, RunThatEndsInColumnZeroOfANarrowImageWritesNothing) {
  const Planar source(6, 2);
  Packed destination(6, 2);
  const auto runs = Runs(0, {{0, 0}, {0, 1}});
  Run(source.image, destination.image, runs, runs);
  destination.ExpectUntouched(0);
  destination.ExpectOnly(1, 0, source.Packed(lumaFirst, 1, 0, 4));
}

TEST_P(PlanarCopyRoi, RunThatStartsOddIsTakenFromItsOwnStart) {
  for (const std::int32_t layout : {lumaFirst, chromaFirst}) {
    // Both boxes begin even and are four columns wide. Chroma of column 3 is sample 1, and goes to the run's
    // first pixel though that is an odd one.
    const Planar source(8, 2);
    Packed destination(8, 2, layout);
    Run(source.image, destination.image, Runs(0, {{3, 4}, {2, 5}}), Runs(0, {{1, 2}, {0, 3}}));
    destination.ExpectOnly(0, 1, source.Packed(layout, 0, 3, 8));
    destination.ExpectOnly(1, 0, source.Packed(layout, 1, 2, 8));
  }
}

TEST_P(PlanarCopyRoi, EmptyRunInTheImagesWritesItsGroupsAllTheSame) {
  const Planar source(8, 2);
  Packed destination(8, 2);
  Run(source.image, destination.image, Runs(0, {{2, 1}, {0, 3}}), Runs(0, {{4, 3}, {0, 3}}));
  destination.ExpectOnly(0, 4, source.Packed(lumaFirst, 0, 2, 8));
  destination.ExpectOnly(1, 0, source.Packed(lumaFirst, 1, 0, 8));
}

TEST_P(PlanarCopyRoi, AlwaysReadsTheShiftedRow) {
  const auto from = Runs(0, {{0, 3}, {1, 3}, {0, 3}, {0, 3}});
  const auto to = Runs(0, {{0, 3}, {0, 2}, {0, 3}, {0, 3}});
  const auto expectRows = [&](int sourceParity, int destinationParity, int threads,
                              const std::vector<int>& rows) {
    const Planar source(8, 4, sourceParity);
    Packed destination(8, 4, lumaFirst, destinationParity);
    Run(source.image, destination.image, from, to, threads);
    for (int row = 0; row < 4; ++row) {
      const int first = row == 1 ? 1 : 0;
      destination.ExpectOnly(row, 0, source.Packed(lumaFirst, rows[static_cast<std::size_t>(row)], first, 8));
    }
  };
  expectRows(1, 1, 1, {0, 1, 2, 3});
  expectRows(1, 0, 1, {1, 2, 3, 3});
  expectRows(0, 1, 1, {0, 0, 1, 2});
  expectRows(1, 0, 2, {1, 1, 3, 3});
  expectRows(0, 1, 2, {0, 0, 2, 2});
}

TEST_P(PlanarCopyRoi, OddLeftColumnOrWidthIsRefused) {
  const Planar source(16, 4);
  Packed destination(16, 4);
  const auto refused = [&](const RegionOfSupport& from, const RegionOfSupport& to) {
    ExpectRegionsRefused(source.image, destination.image, from, to);
    for (int row = 0; row < 4; ++row) destination.ExpectUntouched(row);
  };
  refused(ImageRect(1, 0, 4, 0), ImageRect(2, 0, 5, 0));
  refused(ImageRect(2, 0, 5, 0), ImageRect(1, 0, 4, 0));
  refused(ImageRect(2, 0, 4, 0), ImageRect(2, 0, 4, 0));
  // Runs of equal lengths in boxes of which one is odd.
  refused(Runs(0, {{0, 1}, {1, 2}}), Runs(0, {{0, 1}, {2, 3}}));
  refused(Runs(0, {{0, 1}, {2, 3}}), Runs(0, {{0, 1}, {1, 2}}));
  refused(Runs(0, {{0, 1}, {2, 3}}), Runs(0, {{1, 2}, {3, 4}}));
}

TEST_P(PlanarCopyRoi, RegionsThatDoNotFitAreRefused) {
  const Planar source(16, 4);
  Packed destination(16, 4);
  const auto refused = [&](const RegionOfSupport& from, const RegionOfSupport& to) {
    ExpectRegionsRefused(source.image, destination.image, from, to);
    for (int row = 0; row < 4; ++row) destination.ExpectUntouched(row);
  };
  refused(ImageRect(0, 0, 3, 1), ImageRect(0, 0, 5, 1));
  refused(ImageRect(0, 0, 3, 1), ImageRect(0, 0, 3, 2));
  refused(ImageRect(14, 0, 17, 1), ImageRect(0, 0, 3, 1));
  refused(ImageRect(0, 0, 3, 1), ImageRect(0, 3, 3, 4));
  refused(Runs(0, {{0, 1}, {2, 3}}), Runs(0, {{0, 1}, {0, 3}}));
}

TEST_P(PlanarCopyRoi, OtherLayoutIsRefusedAtTheFirstRowThatIsReached) {
  const std::wstring text = L"Copy YUV411P -> YUV422: color model";
  const Planar source(16, 4);
  Packed destination(16, 4, 4099);
  const ImageRect region(0, 1, 3, 2);
  kv_std::SpinBarrier barrier(3);
  // Two rows among three threads: the first has none.
  copy_->Apply(source.image, destination.image, region, region, barrier, 0);
  for (const std::uint32_t index : {1U, 2U}) {
    ExpectError<AlgoMMXException>(
        [&] { copy_->Apply(source.image, destination.image, region, region, barrier, index); }, 4, text);
  }
  // Rows that are skipped do not reach it; regions are checked before.
  const auto outside = Runs(0, {{18, 17}, {-1, -2}});
  Run(source.image, destination.image, outside, outside);
  ExpectError<AlgoMMXException>(
      [&] { Run(source.image, destination.image, ImageRect(1, 0, 4, 0), ImageRect(1, 0, 4, 0)); }, 2,
      L"CopyROI" + member_.Suffix());
  for (int row = 0; row < 4; ++row) destination.ExpectUntouched(row);
}

INSTANTIATE_TEST_SUITE_P(Members, PlanarCopyRoi, EachMember(), MemberName);

}  // namespace
