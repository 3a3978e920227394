#include "check/models/copy_rgb_to_yuv_model.h"
#include "tests/copy/copy_fixture.h"

namespace {

using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV422;
using kv_img::PixelYUVA422;
using kv_img::PixelComponent::Alpha;
using kv_img::PixelLayout::blueFirst;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using kv_img::PixelLayout::redFirst;
using namespace kv_test;

using Dib24ToYuv422Copy = CopyFixture<PixelDIB24, PixelYUV422>;
using Dib32ToYuv422Copy = CopyFixture<PixelDIB32, PixelYUV422>;
using Dib32ToYuva422Copy = CopyFixture<PixelDIB32, PixelYUVA422>;

struct Colour {
  std::initializer_list<int> blueGreenRed;
  std::initializer_list<int> lumaFirstPair;
};
// In fixed point; the weights of Cb add up to 0, those of Cr to -1.
const Colour white = {{255, 255, 255}, {234, 128, 234, 127}};
const Colour black = {{0, 0, 0}, {16, 128, 16, 128}};
const Colour red = {{0, 0, 255}, {81, 90, 81, 239}};

TEST_P(Dib24ToYuv422Copy, WhiteBlackAndRed) {
  for (const Colour& colour : {white, black, red}) {
    Dib24 source(8, 1);
    FillRow(source.Row(0), colour.blueGreenRed);
    Yuv422 destination(8, 1);
    Run(source, destination);
    EXPECT_EQ(BytesOf(destination.Row(0), 16), Repeated(colour.lumaFirstPair, 16));
  }
}

TEST_P(Dib32ToYuv422Copy, WhiteBlackAndRedWhateverTheAlpha) {
  for (const Colour& colour : {white, black, red}) {
    for (const int alpha : {0, 1, 128, 255}) {
      const int* bgr = colour.blueGreenRed.begin();
      Dib32 source(8, 1);
      FillRow(source.Row(0), {bgr[0], bgr[1], bgr[2], alpha});
      Yuv422 destination(8, 1);
      Run(source, destination);
      EXPECT_EQ(BytesOf(destination.Row(0), 16), Repeated(colour.lumaFirstPair, 16));
    }
  }
}

TEST_P(Dib24ToYuv422Copy, ChromaFirst) {
  Dib24 source(8, 1);
  FillRow(source.Row(0), red.blueGreenRed);
  Yuv422 destination(8, 1, Options(chromaFirst));
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 16), Repeated({90, 81, 239, 81}, 16));
}

TEST_P(Dib32ToYuv422Copy, ChromaFirst) {
  Dib32 source(4, 1);
  FillRow(source.Row(0), {0, 0, 255, 9});
  Yuv422 destination(4, 1, Options(chromaFirst));
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 8), Repeated({90, 81, 239, 81}, 8));
}

// White and black: Cb sums to 0, Cr to -1, whose half is floor(-1 / 2) = -1.
TEST_P(Dib32ToYuv422Copy, ChromaOfAPairIsAveragedDownward) {
  Dib32 source(4, 1);
  FillRow(source.Row(0), {255, 255, 255, 0, 0, 0, 0, 0});
  Yuv422 destination(4, 1);
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 8), Repeated({234, 128, 16, 127}, 8));
}

TEST_P(Dib24ToYuv422Copy, WidthTenLeavesLastTwoPixels) {
  Dib24 source(10, 1);
  FillRow(source.Row(0), red.blueGreenRed);
  Yuv422 destination(10, 1);
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 16), Repeated({81, 90, 81, 239}, 16));
  EXPECT_EQ(BytesOf(destination.Row(0).subspan(16), 4), Repeated({77}, 4));
}

// Red 10, green 110, blue 10 is luma 75 in floating point, 74 in fixed point.
TEST_P(Dib32ToYuv422Copy, WidthFiveRewritesLumaOfFirstPixelAndLeavesTheLast) {
  Dib32 source(5, 1);
  FillRow(source.Row(0), {10, 110, 10, 0});
  Yuv422 destination(5, 1);
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 10), (std::vector{75, 98, 74, 91, 74, 98, 74, 91, 77, 77}));
}

// Red has Cr 240 in floating point, 239 in fixed point.
TEST_P(Dib32ToYuv422Copy, WidthSixRewritesTheFirstPairInFloats) {
  Dib32 source(6, 1);
  FillRow(source.Row(0), {0, 0, 255, 0});
  Yuv422 destination(6, 1, Options(chromaFirst));
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 12), (std::vector{90, 81, 240, 81, 90, 81, 239, 81, 77, 77, 77, 77}));
}

TEST_P(Dib32ToYuv422Copy, WidthThreeGetsThreeLumasAndTheChromaOfTheFirstPair) {
  Dib32 source(3, 1);
  FillRow(source.Row(0), {0, 0, 255, 0});
  Yuv422 destination(3, 1);
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 8), (std::vector{81, 90, 81, 240, 81, 77, 77, 77}));
}

TEST_P(Dib24ToYuv422Copy, OtherLayoutsGetNothing) {
  Dib24 source(11, 1);
  Yuv422 destination(11, 1, Options(otherLayout));
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 22), Repeated({77}, 22));
}

TEST_P(Dib32ToYuv422Copy, OtherLayoutsGetTheRemainderAlone) {
  Dib32 source(11, 1);
  FillRow(source.Row(0), {0, 0, 255, 0});
  Yuv422 destination(11, 1, Options(otherLayout));
  FillRow(destination.Row(0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 8), (std::vector{81, 90, 81, 240, 81, 77, 77, 77}));
  EXPECT_EQ(BytesOf(destination.Row(0).subspan(8), 14), Repeated({77}, 14));
}

// Kernels read from the blue byte onward as blue, green, red; of a red-first bitmap that is red, fourth byte,
// next blue. Remainders take every component from its own position.
TEST_P(Dib32ToYuv422Copy, GroupsOfRedFirstBitmapsAreReadFromTheBlueByteOnward) {
  Dib32 source(5, 1, Options(redFirst));
  FillRow(source.Row(0), {255, 0, 0, 0});
  Yuv422 destination(5, 1);
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 4), (std::vector{81, 90, 81, 239}));
}

TEST_P(Dib32ToYuva422Copy, AlphaFollowsAndItsLastBytesStay) {
  for (const int layout : {int{lumaFirst}, int{chromaFirst}}) {
    Dib32 source(7, 2);
    Yuva422 destination(7, 2, Options(layout));
    for (int row = 0; row < 2; ++row) {
      std::uint8_t alpha = row == 0 ? 1 : 11;
      for (std::size_t x = 0; x < 7; ++x) source.Row(row)[4 * x + 3] = alpha++;
      FillRow(destination.PlaneRow(Alpha, row), {77});
    }
    Run(source, destination);
    EXPECT_EQ(BytesOf(destination.PlaneRow(Alpha, 0), 7), (std::vector{1, 2, 3, 4, 77, 77, 77}));
    EXPECT_EQ(BytesOf(destination.PlaneRow(Alpha, 1), 7), (std::vector{11, 12, 13, 14, 77, 77, 77}));
  }
}

TEST_P(Dib32ToYuva422Copy, OtherLayoutsGetTheRemainderAlone) {
  Dib32 source(7, 1);
  FillRow(source.Row(0), {0, 0, 255, 50});
  Yuva422 destination(7, 1, Options(otherLayout));
  FillRow(destination.Row(0), {77});
  FillRow(destination.PlaneRow(Alpha, 0), {77});
  Run(source, destination);
  EXPECT_EQ(BytesOf(destination.Row(0), 14),
            (std::vector{81, 90, 81, 240, 81, 77, 77, 77, 77, 77, 77, 77, 77, 77}));
  EXPECT_EQ(BytesOf(destination.PlaneRow(Alpha, 0), 7), (std::vector{50, 50, 50, 77, 77, 77, 77}));
}

TEST_P(Dib24ToYuv422Copy, EqualsTheModelForEveryWidth) {
  CompareWithModel(0x2324, {blueFirst, redFirst}, {chromaFirst, lumaFirst, otherLayout},
                   kv_model::CopyDib24ToYuv422);
}
TEST_P(Dib32ToYuv422Copy, EqualsTheModelForEveryWidth) {
  CompareWithModel(0x2332, {blueFirst, redFirst}, {chromaFirst, lumaFirst, otherLayout},
                   kv_model::CopyDib32ToYuv422);
}
TEST_P(Dib32ToYuva422Copy, EqualsTheModelForEveryWidth) {
  CompareWithModel(0x2333, {blueFirst, redFirst}, {chromaFirst, lumaFirst, otherLayout},
                   kv_model::CopyDib32ToYuva422);
}

TEST_P(Dib24ToYuv422Copy, FieldParityShift) {
  ExpectFieldParityShift();
}
TEST_P(Dib24ToYuv422Copy, ThreadsAtOnce) {
  ExpectThreadsAtOnceAgree();
}
TEST_P(Dib32ToYuv422Copy, FieldParityShift) {
  ExpectFieldParityShift();
}
TEST_P(Dib32ToYuv422Copy, ThreadsAtOnce) {
  ExpectThreadsAtOnceAgree();
}
TEST_P(Dib32ToYuva422Copy, FieldParityShift) {
  ExpectFieldParityShift();
}
TEST_P(Dib32ToYuva422Copy, ThreadsAtOnce) {
  ExpectThreadsAtOnceAgree();
}

TEST_P(Dib24ToYuv422Copy, SizeMismatchIsRefused) {
  ExpectSizeMismatchRefused();
}
TEST_P(Dib32ToYuv422Copy, SizeMismatchIsRefused) {
  ExpectSizeMismatchRefused();
}
TEST_P(Dib32ToYuva422Copy, SizeMismatchIsRefused) {
  ExpectSizeMismatchRefused();
}

INSTANTIATE_TEST_SUITE_P(Members, Dib24ToYuv422Copy, EachMember(), MemberName);
INSTANTIATE_TEST_SUITE_P(Members, Dib32ToYuv422Copy, EachMember(), MemberName);
INSTANTIATE_TEST_SUITE_P(Members, Dib32ToYuva422Copy, EachMember(), MemberName);

}  // namespace
