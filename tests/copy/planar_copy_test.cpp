#include "check/models/copy_planar_model.h"
#include "tests/copy/copy_fixture.h"

namespace {

using kv_img::PixelYUV411P;
using kv_img::PixelYUV422;
using kv_img::PixelComponent::Cb;
using kv_img::PixelComponent::Cr;
using kv_img::PixelComponent::Luma;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using kv_img::PixelLayout::planar;
using namespace kv_test;

class PlanarCopy : public CopyFixture<PixelYUV411P, PixelYUV422> {
 protected:
  /// Copies a row whose lumas are 0, 1, 2 …, whose Cb are 100, 101 … and whose Cr are 200, 201 …
  std::vector<int> Convert(int width, int layout) {
    Yuv411P source(width, 1);
    std::iota(source.PlaneRow(Luma, 0).begin(), source.PlaneRow(Luma, 0).end(), std::uint8_t{0});
    std::iota(source.PlaneRow(Cb, 0).begin(), source.PlaneRow(Cb, 0).end(), std::uint8_t{100});
    std::iota(source.PlaneRow(Cr, 0).begin(), source.PlaneRow(Cr, 0).end(), std::uint8_t{200});
    Yuv422 destination(width, 1, Options(layout));
    FillRow(destination.Row(0), {77});
    Run(source, destination);
    return BytesOf(destination.Row(0), 2 * static_cast<std::size_t>(width));
  }

  /// What such a row becomes: `pixels` converted, the others left as they were.
  static std::vector<int> Expected(int width, int pixels, bool isLumaFirst) {
    std::vector<int> bytes;
    bytes.reserve(2 * static_cast<std::size_t>(width));
    for (int x = 0; x < pixels; ++x) {
      const int chroma = (x % 2 == 0 ? 100 : 200) + x / 2;
      bytes.push_back(isLumaFirst ? x : chroma);
      bytes.push_back(isLumaFirst ? chroma : x);
    }
    bytes.resize(2 * static_cast<std::size_t>(width), 77);
    return bytes;
  }
};

TEST_P(PlanarCopy, WidthSixteenLumaFirst) {
  EXPECT_EQ(Convert(16, lumaFirst), Expected(16, 16, true));
}

TEST_P(PlanarCopy, WidthTwelveLumaFirstLeavesLastFourPixels) {
  EXPECT_EQ(Convert(12, lumaFirst), Expected(12, 8, true));
}

TEST_P(PlanarCopy, WidthSixteenChromaFirstIsNotWrittenAtAll) {
  EXPECT_EQ(Convert(16, chromaFirst), Expected(16, 0, false));
}

TEST_P(PlanarCopy, WidthThirteenChromaFirstGetsEightPixels) {
  EXPECT_EQ(Convert(13, chromaFirst), Expected(13, 8, false));
}

TEST_P(PlanarCopy, WidthTwelveChromaFirstGetsFourPixels) {
  EXPECT_EQ(Convert(12, chromaFirst), Expected(12, 4, false));
}

// A remainder is written in passes of four pixels, whatever its width.
TEST_P(PlanarCopy, NarrowRowsAreWrittenBeyondTheirWidth) {
  Random random(0x2401);
  TestImage<PixelYUV411P> source(random, 1, 1, {});
  TestImage<PixelYUV422> destination(random, 1, 1, {}, Options(lumaFirst));
  const TestImage before = destination;
  Run(*source, *destination);
  const std::uint8_t* y = source->GetPixelBuffer().rows[0];
  const std::uint8_t* cb = source->GetPixelBuffer().rows[1];
  const std::uint8_t* cr = source->GetPixelBuffer().rows[2];
  const std::uint8_t* to = destination->GetPixelBuffer().rows[0];
  EXPECT_EQ(std::vector<int>(to, to + 8),
            (std::vector<int>{y[0], cb[0], y[1], cr[0], y[2], cb[1], y[3], cr[1]}));
  EXPECT_EQ(to[8], before->GetPixelBuffer().rows[0][8]);
}

TEST_P(PlanarCopy, OtherLayoutsAreRefusedByEveryThreadThatHasRows) {
  const Yuv411P source(8, 2);
  Yuv422 destination(8, 2, Options(planar));
  for (int row = 0; row < 2; ++row) FillRow(destination.Row(row), {77});
  kv_std::SpinBarrier barrier(3);
  // Two rows among three threads: the first has none.
  EXPECT_NO_THROW(copy_->Apply(source, destination, barrier, 0));
  for (const std::uint32_t index : {1U, 2U}) {
    ExpectError<kv_img::AlgoMMXException>([&] { copy_->Apply(source, destination, barrier, index); }, 4,
                                          L"Copy YUV411P -> YUV422: color model");
  }
  for (int row = 0; row < 2; ++row) EXPECT_EQ(BytesOf(destination.Row(row), 16), Repeated({77}, 16));
}

TEST_P(PlanarCopy, SizesAreComparedBeforeLayouts) {
  const Yuv411P source(8, 2);
  Yuv422 destination(9, 2, Options(planar));
  kv_std::SpinBarrier barrier(1);
  ExpectError<kv_img::AlgoMMXException>([&] { copy_->Apply(source, destination, barrier, 0); }, 1,
                                        L"Copy" + member_.Suffix());
}

TEST_P(PlanarCopy, EqualsTheModelForEveryWidth) {
  CompareWithModel(0x2402, {planar}, {chromaFirst, lumaFirst}, kv_model::CopyPlanarToYuv422);
}

TEST_P(PlanarCopy, FieldParityShift) {
  ExpectFieldParityShift();
}
TEST_P(PlanarCopy, ThreadsAtOnce) {
  ExpectThreadsAtOnceAgree();
}

TEST_P(PlanarCopy, SizeMismatchIsRefused) {
  ExpectSizeMismatchRefused();
}

INSTANTIATE_TEST_SUITE_P(Members, PlanarCopy, EachMember(), MemberName);

}  // namespace
