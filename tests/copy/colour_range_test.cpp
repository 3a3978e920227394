// The fixed-point conversions over their whole range, against the plain integer formulas.

#include <array>
#include <cstdlib>

#include "check/models/copy_rgb_to_yuv_model.h"
#include "check/models/copy_yuv_to_rgb_model.h"
#include "tests/copy/copy_fixture.h"

namespace {

using kv_img::PixelDIB15;
using kv_img::PixelDIB16;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV422;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using kv_model::RgbValue;
using kv_model::YuvValue;
using namespace kv_test;

using Yuv422ToDib15Range = CopyFixture<PixelYUV422, PixelDIB15>;
using Yuv422ToDib16Range = CopyFixture<PixelYUV422, PixelDIB16>;
using Yuv422ToDib24Range = CopyFixture<PixelYUV422, PixelDIB24>;
using Dib24ToYuv422Range = CopyFixture<PixelDIB24, PixelYUV422>;
using Dib32ToYuv422Range = CopyFixture<PixelDIB32, PixelYUV422>;

std::size_t At(int index) {
  return static_cast<std::size_t>(index);
}
std::uint8_t Byte(int value) {
  return static_cast<std::uint8_t>(value);
}

/// Every luma and Cr at one Cb: row = Cr, column = luma.
void FillEveryLumaAndCr(Yuv422& image, int cb) {
  for (int cr = 0; cr < 256; ++cr) {
    const auto row = image.Row(cr);
    for (int x = 0; x < 256; x += 2) {
      row[At(2 * x)] = Byte(x);
      row[At(2 * x + 1)] = Byte(cb);
      row[At(2 * x + 2)] = Byte(x + 1);
      row[At(2 * x + 3)] = Byte(cr);
    }
  }
}

TEST_P(Yuv422ToDib24Range, EveryYuvValue) {
  Yuv422 source(256, 256);
  Dib24 destination(256, 256);
  for (int cb = 0; cb < 256; ++cb) {
    FillEveryLumaAndCr(source, cb);
    Run(source, destination);
    for (int cr = 0; cr < 256; ++cr) {
      const auto row = destination.Row(cr);
      for (int y = 0; y < 256; ++y) {
        const RgbValue c = kv_model::YuvToRgbInIntegers(y, cb, cr);
        const bool isRight = row[At(3 * y)] == c.b && row[At(3 * y + 1)] == c.g && row[At(3 * y + 2)] == c.r;
        ASSERT_TRUE(isRight) << "Y " << y << " Cb " << cb << " Cr " << cr << " gives " << int{row[At(3 * y)]}
                             << ' ' << int{row[At(3 * y + 1)]} << ' ' << int{row[At(3 * y + 2)]};
      }
    }
  }
}

/// Boundaries of ranges and signs, and coarse steps between them.
std::vector<int> CoarseAndBoundaryValues() {
  std::vector<int> values;
  for (int value = 0; value < 256; ++value) {
    const bool isBoundary = value < 3 || value > 252 || std::abs(value - 16) < 2 ||
                            std::abs(value - 128) < 3 || std::abs(value - 238) < 4;
    if (isBoundary || value % 7 == 0) values.push_back(value);
  }
  return values;
}

template <class Out, class Run, class WordOf>
void CompareWords(Run run, WordOf wordOf) {
  const std::vector<int> chroma = CoarseAndBoundaryValues();
  Yuv422 source(256, 256);
  Out destination(256, 256);
  for (const int cb : chroma) {
    FillEveryLumaAndCr(source, cb);
    run(source, destination);
    for (const int cr : chroma) {
      const auto row = destination.Row(cr);
      for (int y = 0; y < 256; ++y) {
        ASSERT_EQ(row[At(2 * y)] + 256 * row[At(2 * y + 1)], wordOf(kv_model::YuvToRgbInIntegers(y, cb, cr)))
            << "Y " << y << " Cb " << cb << " Cr " << cr;
      }
    }
  }
}

TEST_P(Yuv422ToDib15Range, FixedPoint) {
  CompareWords<Dib15>([this](const Yuv422& from, Dib15& to) { Run(from, to); }, kv_model::WordOf15Bits);
}
TEST_P(Yuv422ToDib16Range, FixedPoint) {
  CompareWords<Dib16>([this](const Yuv422& from, Dib16& to) { Run(from, to); }, kv_model::WordOf16Bits);
}

/// Rows of one pixel are remainder alone: every combination of coarse and boundary values.
template <class Out, class Run, class WordOf>
void CompareFloatWords(Run run, WordOf wordOf) {
  const std::vector<int> values = CoarseAndBoundaryValues();
  const int count = static_cast<int>(values.size());
  for (const int cb : values) {
    Yuv422 source(1, count * count);
    Out destination(1, count * count);
    for (int i = 0; i < count * count; ++i) {
      FillRow(source.Row(i), {values[At(i / count)], cb, 0, values[At(i % count)]});
    }
    run(source, destination);
    for (int i = 0; i < count * count; ++i) {
      const int y = values[At(i / count)];
      const int cr = values[At(i % count)];
      const auto row = destination.Row(i);
      ASSERT_EQ(row[0] + 256 * row[1], wordOf(kv_model::YuvToRgbInFloats(y, cb, cr)))
          << "Y " << y << " Cb " << cb << " Cr " << cr;
    }
  }
}

TEST_P(Yuv422ToDib15Range, FloatingPoint) {
  CompareFloatWords<Dib15>([this](const Yuv422& from, Dib15& to) { Run(from, to); }, kv_model::WordOf15Bits);
}
TEST_P(Yuv422ToDib16Range, FloatingPoint) {
  CompareFloatWords<Dib16>([this](const Yuv422& from, Dib16& to) { Run(from, to); }, kv_model::WordOf16Bits);
}

/// Every green and blue at one red, in pairs of equal pixels: row = green, pair = blue.
template <class In>
void FillEveryGreenAndBlue(In& image, std::size_t pixelBytes, int red) {
  for (int green = 0; green < 256; ++green) {
    const auto row = image.Row(green);
    for (std::size_t x = 0; x < 512; ++x) {
      row[pixelBytes * x] = static_cast<std::uint8_t>(x / 2);
      row[pixelBytes * x + 1] = Byte(green);
      row[pixelBytes * x + 2] = Byte(red);
    }
  }
}

template <class In, class Run>
void CompareEveryRgbValue(std::size_t pixelBytes, Run run) {
  In source(512, 256);
  Yuv422 destination(512, 256, Options(chromaFirst));
  for (int red = 0; red < 256; ++red) {
    FillEveryGreenAndBlue(source, pixelBytes, red);
    run(source, destination);
    for (int green = 0; green < 256; ++green) {
      const auto row = destination.Row(green);
      for (int blue = 0; blue < 256; ++blue) {
        const YuvValue c = kv_model::RgbToYuvInIntegers(red, green, blue);
        const auto pair = row.subspan(At(4 * blue), 4);
        const bool isRight = pair[0] == kv_model::PairChroma(c.cb, c.cb) && pair[1] == c.y &&
                             pair[2] == kv_model::PairChroma(c.cr, c.cr) && pair[3] == c.y;
        ASSERT_TRUE(isRight) << "red " << red << " green " << green << " blue " << blue << " gives "
                             << int{pair[0]} << ' ' << int{pair[1]} << ' ' << int{pair[2]};
      }
    }
  }
}

TEST_P(Dib24ToYuv422Range, EveryRgbValue) {
  CompareEveryRgbValue<Dib24>(3, [this](const Dib24& from, Yuv422& to) { Run(from, to); });
}
TEST_P(Dib32ToYuv422Range, EveryRgbValue) {
  CompareEveryRgbValue<Dib32>(4, [this](const Dib32& from, Yuv422& to) { Run(from, to); });
}

/// Pairs of unlike pixels: all combinations of a few values of the six components.
template <class In, class Run>
void CompareUnlikePairs(std::size_t pixelBytes, Run run) {
  constexpr std::array values = {0, 1, 77, 128, 200, 254, 255};
  constexpr int count = static_cast<int>(values.size());
  constexpr int colours = count * count * count;
  const auto colour = [&](int index) {
    return std::array{values[At(index / count / count)], values[At(index / count % count)],
                      values[At(index % count)]};
  };
  constexpr int pairs = (colours + 3) / 4 * 4;
  In source(2 * pairs, colours);
  Yuv422 destination(2 * pairs, colours, Options(lumaFirst));
  for (int first = 0; first < colours; ++first) {
    const auto row = source.Row(first);
    for (int second = 0; second < colours; ++second) {
      for (std::size_t i = 0; i < 3; ++i) {
        row[At(2 * second) * pixelBytes + i] = Byte(colour(first)[i]);
        row[At(2 * second + 1) * pixelBytes + i] = Byte(colour(second)[i]);
      }
    }
  }
  run(source, destination);
  for (int first = 0; first < colours; ++first) {
    const auto [b0, g0, r0] = colour(first);
    const YuvValue left = kv_model::RgbToYuvInIntegers(r0, g0, b0);
    for (int second = 0; second < colours; ++second) {
      const auto [b1, g1, r1] = colour(second);
      const YuvValue right = kv_model::RgbToYuvInIntegers(r1, g1, b1);
      const auto pair = destination.Row(first).subspan(At(4 * second), 4);
      const bool isRight = pair[0] == left.y && pair[1] == kv_model::PairChroma(left.cb, right.cb) &&
                           pair[2] == right.y && pair[3] == kv_model::PairChroma(left.cr, right.cr);
      ASSERT_TRUE(isRight) << "pair " << first << ", " << second;
    }
  }
}

TEST_P(Dib24ToYuv422Range, UnlikePairs) {
  CompareUnlikePairs<Dib24>(3, [this](const Dib24& from, Yuv422& to) { Run(from, to); });
}
TEST_P(Dib32ToYuv422Range, UnlikePairs) {
  CompareUnlikePairs<Dib32>(4, [this](const Dib32& from, Yuv422& to) { Run(from, to); });
}

/// Rows of three pixels are remainder alone: a pair of two colours and half a pair.
TEST_P(Dib32ToYuv422Range, FloatingPoint) {
  const std::vector<int> values = CoarseAndBoundaryValues();
  const int count = static_cast<int>(values.size());
  for (const int red : values) {
    Dib32 source(3, count * count);
    Yuv422 destination(3, count * count);
    for (int i = 0; i < count * count; ++i) {
      const int green = values[At(i / count)];
      const int blue = values[At(i % count)];
      FillRow(source.Row(i), {blue, green, red, 0, green, red, blue, 0, red, blue, green, 0});
    }
    Run(source, destination);
    for (int i = 0; i < count * count; ++i) {
      const int green = values[At(i / count)];
      const int blue = values[At(i % count)];
      const YuvValue a = kv_model::RgbToYuvInFloats(red, green, blue);
      const YuvValue b = kv_model::RgbToYuvInFloats(blue, red, green);
      const YuvValue c = kv_model::RgbToYuvInFloats(green, blue, red);
      const auto row = destination.Row(i);
      const bool isRight = row[0] == a.y && row[1] == (a.cb + b.cb) / 2 && row[2] == b.y &&
                           row[3] == (a.cr + b.cr) / 2 && row[4] == c.y;
      ASSERT_TRUE(isRight) << "red " << red << " green " << green << " blue " << blue;
    }
  }
}

/// Largest error of blue, green and red after a way to 4:2:2 and back, over pairs of every colour.
TEST_P(Dib24ToYuv422Range, RoundTripOfFlatPairs) {
  using Back = kv_img::CopyAlgorithmInterface<Yuv422, Dib24>;
  const Back* back = member_.Get<Back>("Copy", {PixelYUV422::ClassID, PixelDIB24::ClassID});
  ASSERT_NE(back, nullptr);
  Dib24 source(512, 256);
  Yuv422 packed(512, 256);
  Dib24 destination(512, 256);
  kv_std::SpinBarrier barrier(1);
  std::array<int, 3> peak{};
  for (int red = 0; red < 256; ++red) {
    FillEveryGreenAndBlue(source, 3, red);
    Run(source, packed);
    back->Apply(packed, destination, barrier, 0);
    for (int green = 0; green < 256; ++green) {
      const auto before = source.Row(green);
      const auto after = destination.Row(green);
      for (std::size_t component = 0; component < 3; ++component) {
        int& largest = peak[component];
        for (std::size_t i = component; i < before.size(); i += 3) {
          largest = std::max(largest, std::abs(before[i] - after[i]));
        }
      }
    }
  }
  EXPECT_EQ(peak, (std::array{5, 3, 4}));
}

INSTANTIATE_TEST_SUITE_P(Members, Yuv422ToDib15Range, EachMember(), MemberName);
INSTANTIATE_TEST_SUITE_P(Members, Yuv422ToDib16Range, EachMember(), MemberName);
INSTANTIATE_TEST_SUITE_P(Members, Yuv422ToDib24Range, EachMember(), MemberName);
INSTANTIATE_TEST_SUITE_P(Members, Dib24ToYuv422Range, EachMember(), MemberName);
INSTANTIATE_TEST_SUITE_P(Members, Dib32ToYuv422Range, EachMember(), MemberName);

}  // namespace
