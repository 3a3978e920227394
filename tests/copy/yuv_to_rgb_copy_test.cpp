#include "check/models/copy_yuv_to_rgb_model.h"
#include "tests/copy/copy_fixture.h"

namespace {

using kv_img::PixelDIB15;
using kv_img::PixelDIB16;
using kv_img::PixelDIB24;
using kv_img::PixelYUV422;
using kv_img::PixelLayout::blueFirst;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using kv_img::PixelLayout::redFirst;
using namespace kv_test;

using Yuv422ToDib15Copy = CopyFixture<PixelYUV422, PixelDIB15>;
using Yuv422ToDib16Copy = CopyFixture<PixelYUV422, PixelDIB16>;
using Yuv422ToDib24Copy = CopyFixture<PixelYUV422, PixelDIB24>;

/// Blue, green, red of eight pixels that all have these samples.
template <class Fixture>
std::vector<int> ColourOf(Fixture run, int y, int cb, int cr) {
  Yuv422 source(8, 1);
  FillRow(source.Row(0), {y, cb, y, cr});
  Dib24 destination(8, 1);
  run(source, destination);
  std::vector<int> first = BytesOf(destination.Row(0), 3);
  EXPECT_EQ(BytesOf(destination.Row(0), 24), Repeated({first[0], first[1], first[2]}, 24));
  return first;
}

TEST_P(Yuv422ToDib24Copy, WhiteStaysWhiteAndBlackIsZero) {
  const auto run = [this](const Yuv422& source, Dib24& destination) { Run(source, destination); };
  EXPECT_EQ(ColourOf(run, 235, 128, 128), (std::vector{255, 255, 255}));
  EXPECT_EQ(ColourOf(run, 16, 128, 128), (std::vector{0, 0, 0}));
}

TEST_P(Yuv422ToDib24Copy, SaturatesAbove) {
  const auto run = [this](const Yuv422& source, Dib24& destination) { Run(source, destination); };
  EXPECT_EQ(ColourOf(run, 255, 128, 255), (std::vector{255, 174, 255}));
}

TEST_P(Yuv422ToDib24Copy, LumaBelowBlackIsZero) {
  const auto run = [this](const Yuv422& source, Dib24& destination) { Run(source, destination); };
  EXPECT_EQ(ColourOf(run, 0, 128, 128), (std::vector{0, 0, 0}));
  // floor, not truncation: luma -19 and blue 105 - 19.
  EXPECT_EQ(ColourOf(run, 0, 180, 128)[0], 85);
}

TEST_P(Yuv422ToDib24Copy, WidthTwelveLeavesLastFourPixels) {
  Yuv422 source(12, 1);
  FillRow(source.Row(0), {41, 180, 41, 60});
  Dib24 destination(12, 1);
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 24), Repeated({133, 63, 0}, 24));
  EXPECT_EQ(BytesOf(destination.Row(0).subspan(24), 12), Repeated({77}, 12));
}

TEST_P(Yuv422ToDib24Copy, WidthSevenWritesNothing) {
  Yuv422 source(7, 1);
  Dib24 destination(7, 1);
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 21), Repeated({77}, 21));
}

/// Random samples in one byte order and in the other.
struct SamePicture {
  Yuv422 lumaFirstImage;
  Yuv422 chromaFirstImage;

  SamePicture(int width, int layoutOfFirst)
      : lumaFirstImage(width, 1, Options(layoutOfFirst)), chromaFirstImage(width, 1, Options(chromaFirst)) {
    Random random(0x2202);
    for (std::size_t i = 0; i + 1 < lumaFirstImage.Row(0).size(); i += 2) {
      const int luma = random.Between(0, 255);
      const int chroma = random.Between(0, 255);
      lumaFirstImage.Row(0)[i] = chromaFirstImage.Row(0)[i + 1] = static_cast<std::uint8_t>(luma);
      lumaFirstImage.Row(0)[i + 1] = chromaFirstImage.Row(0)[i] = static_cast<std::uint8_t>(chroma);
    }
  }
};

template <class Out, class Run>
void ExpectByteOrderDoesNotMatter(Run run) {
  for (const int layout : {int{lumaFirst}, otherLayout}) {
    SamePicture picture(43, layout);
    Out fromLumaFirst(43, 1);
    Out fromChromaFirst(43, 1);
    run(picture.lumaFirstImage, fromLumaFirst);
    run(picture.chromaFirstImage, fromChromaFirst);
    EXPECT_TRUE(std::ranges::equal(fromLumaFirst.Row(0), fromChromaFirst.Row(0)));
  }
}

TEST_P(Yuv422ToDib24Copy, ByteOrdersGiveTheSameAndOtherCodesAreLumaFirst) {
  ExpectByteOrderDoesNotMatter<Dib24>([this](const Yuv422& from, Dib24& to) { Run(from, to); });
}
TEST_P(Yuv422ToDib15Copy, ByteOrdersGiveTheSameAndOtherCodesAreLumaFirst) {
  ExpectByteOrderDoesNotMatter<Dib15>([this](const Yuv422& from, Dib15& to) { Run(from, to); });
}
TEST_P(Yuv422ToDib16Copy, ByteOrdersGiveTheSameAndOtherCodesAreLumaFirst) {
  ExpectByteOrderDoesNotMatter<Dib16>([this](const Yuv422& from, Dib16& to) { Run(from, to); });
}

// Samples (41, 180, 60) are green 63 and blue 133 in fixed point, but 64 and 134 in floating point.
TEST_P(Yuv422ToDib16Copy, WidthSixRewritesFirstTwoPixelsInFloatsAndLeavesLastTwo) {
  Yuv422 source(6, 1);
  FillRow(source.Row(0), {41, 180, 41, 60});
  Dib16 destination(6, 1);
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 12),
            (std::vector{0x10, 0x02, 0x10, 0x02, 0xF0, 0x01, 0xF0, 0x01, 77, 77, 77, 77}));
}

TEST_P(Yuv422ToDib15Copy, WidthSixRewritesFirstTwoPixelsInFloatsAndLeavesLastTwo) {
  Yuv422 source(6, 1);
  FillRow(source.Row(0), {41, 180, 41, 60});
  Dib15 destination(6, 1);
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 12),
            (std::vector{0x10, 0x01, 0x10, 0x01, 0xF0, 0x00, 0xF0, 0x00, 77, 77, 77, 77}));
}

TEST_P(Yuv422ToDib16Copy, WidthThreeIsConvertedInFloats) {
  Yuv422 source(3, 1, Options(chromaFirst));
  FillRow(source.Row(0), {180, 41, 60, 41, 128, 235, 128, 235});
  Dib16 destination(3, 1);
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 6), (std::vector{0x10, 0x02, 0x10, 0x02, 0xFF, 0xFF}));
}

TEST_P(Yuv422ToDib15Copy, BitFifteenIsZero) {
  Yuv422 source(4, 1);
  FillRow(source.Row(0), {255, 128, 255, 128});
  Dib15 destination(4, 1);
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 8), Repeated({0xFF, 0x7F}, 8));
}

// If the descriptor puts blue at position 2, rows begin there.
TEST_P(Yuv422ToDib15Copy, RowsOfRedFirstBitmapsBeginTwoBytesLater) {
  Yuv422 source(4, 1);
  FillRow(source.Row(0), {41, 180, 41, 60});
  Dib15 destination(4, 1);
  SelectPositions(destination, redFirst);
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 8), (std::vector{77, 77, 0xF0, 0, 0xF0, 0, 0xF0, 0}));
}

TEST_P(Yuv422ToDib15Copy, EqualsTheModelForEveryWidth) {
  CompareWithModel(0x2215, {chromaFirst, lumaFirst, otherLayout}, {blueFirst, redFirst},
                   [](const Yuv422& source, Dib15& destination, int threads) {
                     kv_model::CopyYuv422ToDibWords(source, destination, threads, kv_model::WordOf15Bits);
                   });
}
TEST_P(Yuv422ToDib16Copy, EqualsTheModelForEveryWidth) {
  CompareWithModel(0x2216, {chromaFirst, lumaFirst, otherLayout}, {blueFirst, redFirst},
                   [](const Yuv422& source, Dib16& destination, int threads) {
                     kv_model::CopyYuv422ToDibWords(source, destination, threads, kv_model::WordOf16Bits);
                   });
}
TEST_P(Yuv422ToDib24Copy, EqualsTheModelForEveryWidth) {
  CompareWithModel(0x2224, {chromaFirst, lumaFirst, otherLayout}, {blueFirst, redFirst},
                   kv_model::CopyYuv422ToDib24);
}

TEST_P(Yuv422ToDib15Copy, FieldParityShift) {
  ExpectFieldParityShift();
}
TEST_P(Yuv422ToDib15Copy, ThreadsAtOnce) {
  ExpectThreadsAtOnceAgree();
}
TEST_P(Yuv422ToDib16Copy, FieldParityShift) {
  ExpectFieldParityShift();
}
TEST_P(Yuv422ToDib16Copy, ThreadsAtOnce) {
  ExpectThreadsAtOnceAgree();
}
TEST_P(Yuv422ToDib24Copy, FieldParityShift) {
  ExpectFieldParityShift();
}
TEST_P(Yuv422ToDib24Copy, ThreadsAtOnce) {
  ExpectThreadsAtOnceAgree();
}

TEST_P(Yuv422ToDib15Copy, SizeMismatchIsRefused) {
  ExpectSizeMismatchRefused();
}
TEST_P(Yuv422ToDib16Copy, SizeMismatchIsRefused) {
  ExpectSizeMismatchRefused();
}
TEST_P(Yuv422ToDib24Copy, SizeMismatchIsRefused) {
  ExpectSizeMismatchRefused();
}

INSTANTIATE_TEST_SUITE_P(Members, Yuv422ToDib15Copy, EachMember(), MemberName);
INSTANTIATE_TEST_SUITE_P(Members, Yuv422ToDib16Copy, EachMember(), MemberName);
INSTANTIATE_TEST_SUITE_P(Members, Yuv422ToDib24Copy, EachMember(), MemberName);

}  // namespace
