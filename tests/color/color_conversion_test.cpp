#include "tests/color/color_fixture.h"
#include "tests/kernel_check/guarded_pages.h"
#include "tests/support/expect_error.h"

namespace {

using kv_img::Image;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV422;
using namespace kv_test;

template <class Pair>
class ColorConversion : public testing::Test {};
TYPED_TEST_SUITE(ColorConversion, ColorPairs);

template <class Pair, class In, class Out>
void Convert(const Member& member, const In& source, Out& destination,
             const ColorConversionParameters& parameters, int threads = 1) {
  CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    EXPECT_EQ(&Pair::Of(member)->Apply(source, destination, parameters, barrier, index), &destination);
  });
}

TYPED_TEST(ColorConversion, IsOfferedByAllMembersButThe64BitOne) {
  for (const Member& member : Members()) {
    EXPECT_EQ(TypeParam::Of(member) == nullptr, member.Suffix() == L"MMX") << member.Name();
  }
}

TYPED_TEST(ColorConversion, EqualsTheModelForEveryWidth) {
  Random random(0xC0101);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 6; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const int height = random.Between(1, 4);
      const TestImage<typename TypeParam::In> source(random, width, height, Placement::Any(random, 0),
                                                     AnyLayout<typename TypeParam::In>(random));
      const TestImage<typename TypeParam::Out> untouched(random, width, height, Placement::Any(random, 0),
                                                         AnyLayout<typename TypeParam::Out>(random));
      const ColorConversionParameters parameters = AnyParameters(random);
      TestImage expected = untouched;
      kv_model::color::ConvertColors(*source, *expected, parameters);
      const int threads = random.Between(1, 8);
      for (const Member* member : ConvertingMembers()) {
        TestImage destination = untouched;
        Convert<TypeParam>(*member, *source, *destination, parameters, threads);
        ASSERT_EQ(destination.DifferenceFrom(expected), "") << member->Name();
      }
    }
  }
}

/// Rows on memory of their own that starts where they start, or ends where they end.
template <class PixelClass>
class RowsAtPages {
 public:
  RowsAtPages(Random& random, int width, int height, bool isAtEnd) {
    const Image<PixelClass> probe(width, height);
    std::vector<std::uint8_t*> rows;
    const auto add = [&](std::size_t bytes) {
      pages_.push_back(std::make_unique<kv_check::GuardedPages>(bytes));
      rows.push_back(isAtEnd ? pages_.back()->End() - bytes : pages_.back()->Begin());
      random.Fill({rows.back(), bytes});
    };
    for (int row = 0; row < height; ++row) add(probe.Row(row).size());
    for (int row = height; row < probe.GetStoredRowCount(); ++row) add(static_cast<std::size_t>(width));
    image_ = std::make_unique<Image<PixelClass>>(width, height, kv_img::WrappedRows::Separate(rows));
  }
  Image<PixelClass>& operator*() { return *image_; }

 private:
  std::vector<std::unique_ptr<kv_check::GuardedPages>> pages_;
  std::unique_ptr<Image<PixelClass>> image_;
};

TYPED_TEST(ColorConversion, TouchesNoByteBeforeOrAfterTheRows) {
  Random random(0xC0102);
  for (int width = 1; width <= 130; ++width) {
    for (const bool isAtEnd : {false, true}) {
      RowsAtPages<typename TypeParam::In> source(random, width, 2, isAtEnd);
      RowsAtPages<typename TypeParam::Out> destination(random, width, 2, isAtEnd);
      for (const Member* member : ConvertingMembers()) {
        // Every filter: each reads other neighbours.
        ColorConversionParameters parameters = AnyParameters(random);
        for (const ChromaPosition from : {ChromaPosition::Left, ChromaPosition::Centre}) {
          for (const ChromaPosition to : {ChromaPosition::Left, ChromaPosition::Centre}) {
            for (const ChromaResampling resample : {ChromaResampling::Nearest, ChromaResampling::Linear}) {
              parameters.yuv.chroma = from;
              parameters.destination.chroma = to;
              parameters.resample = resample;
              Convert<TypeParam>(*member, *source, *destination, parameters);
            }
          }
        }
      }
    }
  }
}

TYPED_TEST(ColorConversion, ThreadsAtOnceGiveTheSameBytes) {
  Random random(0xC0103);
  for (int round = 0; round < 16; ++round) {
    const int width = random.Between(1, 130);
    const int height = random.Between(1, 30);
    const TestImage<typename TypeParam::In> source(random, width, height, Placement::Any(random, 0));
    const TestImage<typename TypeParam::Out> untouched(random, width, height, Placement::Any(random, 0));
    const ColorConversionParameters parameters = AnyParameters(random);
    const Member& member = *ConvertingMembers().back();
    TestImage expected = untouched;
    Convert<TypeParam>(member, *source, *expected, parameters);
    TestImage destination = untouched;
    for (const auto& thrown :
         CallOnThreads(random.Between(2, 8), [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
           TypeParam::Of(member)->Apply(*source, *destination, parameters, barrier, index);
         })) {
      ASSERT_EQ(thrown, nullptr);
    }
    ASSERT_EQ(destination.DifferenceFrom(expected), "");
  }
}

TYPED_TEST(ColorConversion, RefusesSizesThatDifferFirst) {
  for (const Member* member : ConvertingMembers()) {
    Image<typename TypeParam::In> source(8, 4);
    ColorConversionParameters wrong;
    wrong.resample = static_cast<ChromaResampling>(7);
    for (const auto& [width, height] : {std::pair{9, 4}, std::pair{8, 5}}) {
      Image<typename TypeParam::Out> destination(width, height);
      ExpectError<kv_img::AlgoMMXException>([&] { Convert<TypeParam>(*member, source, destination, wrong); },
                                            1, L"ColorConversion" + member->Suffix());
    }
  }
}

TYPED_TEST(ColorConversion, RefusesParametersByName) {
  Random random(0xC0104);
  const auto expectRefused = [&](const wchar_t* name, auto change) {
    ColorConversionParameters parameters;
    change(parameters);
    for (const Member* member : ConvertingMembers()) {
      const TestImage<typename TypeParam::In> source(random, 9, 4, {});
      const TestImage<typename TypeParam::Out> untouched(random, 9, 4, {});
      TestImage destination = untouched;
      ExpectError<kv_img::AlgoMMXException>(
          [&] { Convert<TypeParam>(*member, *source, *destination, parameters); }, 4,
          L"ColorConversion" + member->Suffix(), name);
      EXPECT_EQ(destination.DifferenceFrom(untouched), "");
    }
  };
  for (const int value : {-1, 3, 1 << 30}) {
    expectRefused(L"matrix", [&](auto& p) { p.yuv.matrix = static_cast<ColorMatrix>(value); });
    if constexpr (std::is_same_v<typename TypeParam::In, typename TypeParam::Out>) {
      expectRefused(L"matrix", [&](auto& p) { p.destination.matrix = static_cast<ColorMatrix>(value); });
    }
  }
  for (const int value : {-1, 2, 1 << 30}) {
    expectRefused(L"range", [&](auto& p) { p.yuv.range = static_cast<ColorRange>(value); });
    expectRefused(L"chroma", [&](auto& p) { p.yuv.chroma = static_cast<ChromaPosition>(value); });
    expectRefused(L"resample", [&](auto& p) { p.resample = static_cast<ChromaResampling>(value); });
  }
}

TEST(ColorConversionRows, OfOddWidthEndWithAWholePair) {
  std::vector<std::uint8_t> memory(200);
  for (const Member* member : ConvertingMembers()) {
    Image<PixelDIB24> bitmap(5, 3);
    using ToBitmap = Pair<PixelYUV422, PixelDIB24>;
    using FromBitmap = Pair<PixelDIB24, PixelYUV422>;
    for (const int stride : {10, 11, -11}) {
      Image<PixelYUV422> tight(5, 3, kv_img::WrappedRows::Strided(memory.data() + 100, stride));
      const std::wstring name = L"ColorConversion" + member->Suffix();
      ExpectError<kv_img::AlgoMMXException>([&] { Convert<ToBitmap>(*member, tight, bitmap, {}); }, 4, name,
                                            L"stride");
      ExpectError<kv_img::AlgoMMXException>([&] { Convert<FromBitmap>(*member, bitmap, tight, {}); }, 4, name,
                                            L"stride");
    }
    for (const int stride : {12, -12}) {
      Image<PixelYUV422> whole(5, 3, kv_img::WrappedRows::Strided(memory.data() + 100, stride));
      Convert<FromBitmap>(*member, bitmap, whole, {});
    }
    Image<PixelYUV422> even(4, 3, kv_img::WrappedRows::Strided(memory.data(), 8));
    Image<PixelDIB24> evenBitmap(4, 3);
    Convert<FromBitmap>(*member, evenBitmap, even, {});
  }
}

// Worked by hand from the formulas.
TEST(ColorConversionValues, OfColourBars) {
  struct Bar {
    ColorMatrix matrix;
    ColorRange range;
    int red, green, blue, y, cb, cr;
  };
  const Bar bars[] = {
      {ColorMatrix::Bt601, ColorRange::Limited, 255, 0, 0, 81, 90, 240},
      {ColorMatrix::Bt601, ColorRange::Limited, 0, 255, 0, 145, 54, 34},
      {ColorMatrix::Bt601, ColorRange::Limited, 0, 0, 255, 41, 240, 110},
      {ColorMatrix::Bt709, ColorRange::Limited, 255, 0, 0, 63, 102, 240},
      {ColorMatrix::Bt709, ColorRange::Limited, 0, 255, 0, 173, 42, 26},
      {ColorMatrix::Bt709, ColorRange::Limited, 0, 0, 255, 32, 240, 118},
      {ColorMatrix::Bt2020, ColorRange::Limited, 255, 0, 0, 74, 97, 240},
      {ColorMatrix::Bt2020, ColorRange::Limited, 255, 255, 0, 222, 16, 137},
      {ColorMatrix::Bt601, ColorRange::Full, 255, 0, 0, 76, 85, 255},
      {ColorMatrix::Bt601, ColorRange::Full, 255, 255, 255, 255, 128, 128},
      {ColorMatrix::Bt709, ColorRange::Limited, 255, 255, 255, 235, 128, 128},
      {ColorMatrix::Bt709, ColorRange::Limited, 0, 0, 0, 16, 128, 128},
  };
  for (const Member* member : ConvertingMembers()) {
    for (const Bar& bar : bars) {
      Image<PixelDIB24> bitmap(2, 1);
      for (std::size_t i = 0; i < 6; i += 3) {
        bitmap.Row(0)[i] = static_cast<std::uint8_t>(bar.blue);
        bitmap.Row(0)[i + 1] = static_cast<std::uint8_t>(bar.green);
        bitmap.Row(0)[i + 2] = static_cast<std::uint8_t>(bar.red);
      }
      Image<PixelYUV422> frame(2, 1);
      Convert<Pair<PixelDIB24, PixelYUV422>>(*member, bitmap, frame, {.yuv = {bar.matrix, bar.range}});
      EXPECT_EQ(std::vector<int>(frame.Row(0).begin(), frame.Row(0).begin() + 4),
                (std::vector{bar.y, bar.cb, bar.y, bar.cr}))
          << static_cast<int>(bar.matrix) << ": " << bar.red << " " << bar.green << " " << bar.blue;
    }
  }
}

TEST(ColorConversionValues, OutsideTheLimitedRangeClamp) {
  for (const Member* member : ConvertingMembers()) {
    Image<PixelYUV422> frame(2, 1);
    Image<PixelDIB24> bitmap(2, 1);
    const auto decode = [&](int y, int cb, int cr) {
      const int bytes[] = {y, cb, y, cr};
      for (std::size_t i = 0; i < 4; ++i) frame.Row(0)[i] = static_cast<std::uint8_t>(bytes[i]);
      Convert<Pair<PixelYUV422, PixelDIB24>>(*member, frame, bitmap, {});
      return std::vector<int>(bitmap.Row(0).begin(), bitmap.Row(0).begin() + 3);
    };
    EXPECT_EQ(decode(0, 128, 128), (std::vector{0, 0, 0}));
    EXPECT_EQ(decode(15, 128, 128), (std::vector{0, 0, 0}));
    EXPECT_EQ(decode(236, 128, 128), (std::vector{255, 255, 255}));
    EXPECT_EQ(decode(255, 255, 255), (std::vector{255, 125, 255}));
    EXPECT_EQ(decode(0, 0, 0), (std::vector{0, 136, 0}));
  }
}

TEST(ColorConversionValues, FilteredChromaKeepsItsFraction) {
  // Luma 126 and Cb 128 throughout; Cr 100, then 203. Red of the pixel between: 128.08 + 1.5960 * (151.5 -
  // 128).
  for (const Member* member : ConvertingMembers()) {
    Image<PixelYUV422> frame(4, 1);
    const int bytes[] = {126, 128, 126, 100, 126, 128, 126, 203};
    for (std::size_t i = 0; i < 8; ++i) frame.Row(0)[i] = static_cast<std::uint8_t>(bytes[i]);
    Image<PixelDIB24> bitmap(4, 1);
    Convert<Pair<PixelYUV422, PixelDIB24>>(*member, frame, bitmap, {});
    EXPECT_EQ(bitmap.Row(0)[2], 83);
    EXPECT_EQ(bitmap.Row(0)[5], 166);
    EXPECT_EQ(bitmap.Row(0)[8], 248);
    EXPECT_EQ(bitmap.Row(0)[11], 248);
    Convert<Pair<PixelYUV422, PixelDIB24>>(*member, frame, bitmap,
                                           {.yuv = {.chroma = ChromaPosition::Centre}});
    EXPECT_EQ(bitmap.Row(0)[2], 83);   // 83.4: the border repeats
    EXPECT_EQ(bitmap.Row(0)[5], 124);  // (3 * 100 + 203) / 4 = 125.75: 124.49
    EXPECT_EQ(bitmap.Row(0)[8], 207);  // (100 + 3 * 203) / 4 = 177.25: 206.7
    EXPECT_EQ(bitmap.Row(0)[11], 248);
  }
}

TEST(ColorConversionValues, EqualColoursCopyTheBytes) {
  Random random(0xC0105);
  for (const Member* member : ConvertingMembers()) {
    for (int round = 0; round < 100; ++round) {
      const int width = 2 * random.Between(1, 65);
      Image<PixelYUV422> source(width, 2);
      for (int row = 0; row < 2; ++row) random.Fill(source.Row(row));
      Image<PixelYUV422> destination(width, 2);
      ColorConversionParameters parameters = AnyParameters(random);
      parameters.destination = parameters.yuv;
      Convert<Pair<PixelYUV422, PixelYUV422>>(*member, source, destination, parameters);
      for (int row = 0; row < 2; ++row)
        ASSERT_TRUE(std::ranges::equal(source.Row(row), destination.Row(row)));
    }
  }
}

}  // namespace
