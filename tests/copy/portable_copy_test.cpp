// The copies that only the portable member offers.
#include <gtest/gtest.h>

#include "check/models/portable_copy_model.h"
#include "frame/algorithm_list.h"
#include "frame/interfaces/copy.h"
#include "tests/support/expect_error.h"
#include "tests/support/family.h"
#include "tests/support/member.h"
#include "tests/support/random.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace {

using kv_img::Image;
using kv_img::ImageOptions;
using kv_img::PixelClasses;
using kv_img::PixelDIB15;
using kv_img::PixelDIB16;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV211;
using kv_img::PixelYUV411;
using kv_img::PixelYUV411P;
using kv_img::PixelYUV422;
using kv_img::PixelYUVA422;
using NoColor = kv_img::PixelNoColor<unsigned char>;
using namespace kv_img::PixelLayout;
using namespace kv_test;
using Bytes = std::vector<std::uint8_t>;

const Member& Portable() {
  static const Member member("kv_algoC");
  return member;
}

template <class In, class Out>
const kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>* Find(const Member& member = Portable()) {
  return member.Get<kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>>("Copy",
                                                                           {In::ClassID, Out::ClassID});
}

/// The bytes of a destination row that was filled with 99 before a copy by one thread.
template <class Out, class In>
Bytes Copied(const Image<In>& source, std::int32_t layout = 0) {
  ImageOptions options;
  if (layout != 0) options.layout = layout;
  Image<Out> destination(static_cast<int>(source.GetWidth()), 1, options);
  std::ranges::fill(destination.Row(0), 99);
  CallInTurn(1, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    Find<In, Out>()->Apply(source, destination, barrier, index);
  });
  return Bytes(destination.Row(0).begin(), destination.Row(0).end());
}

/// The same of a source row with these bytes.
template <class In, class Out>
Bytes Converted(int width, const Bytes& bytes, std::int32_t layoutIn = 0, std::int32_t layoutOut = 0) {
  ImageOptions options;
  if (layoutIn != 0) options.layout = layoutIn;
  Image<In> source(width, 1, options);
  std::copy(bytes.begin(), bytes.end(), source.Row(0).begin());
  return Copied<Out>(source, layoutOut);
}

template <class Pair>
struct PairOf;
template <class InClass, class OutClass>
struct PairOf<PixelClasses<InClass, OutClass>> {
  using In = InClass;
  using Out = OutClass;
};

template <class Pair>
class PortableCopy : public testing::Test {
 public:
  using In = typename PairOf<Pair>::In;
  using Out = typename PairOf<Pair>::Out;
  const kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>* copy_ = Find<In, Out>();

 protected:
  void SetUp() override { ASSERT_NE(copy_, nullptr); }

  template <class PixelClass>
  static ImageOptions AnyOptions(Random& random) {
    ImageOptions options;
    const bool isBitmap = std::is_same_v<typename Image<PixelClass>::Descriptor, kv_img::PixelDescriptorDIB>;
    const bool isPacked422 =
        std::is_same_v<PixelClass, PixelYUV422> || std::is_same_v<PixelClass, PixelYUVA422>;
    if (isBitmap) options.layout = random.Pick({blueFirst, redFirst});
    if (isPacked422) options.layout = random.Pick({chromaFirst, lumaFirst, 4711});
    options.properties.fieldParity = static_cast<std::uint8_t>(random.Between(0, 2));
    options.properties.propertyFlag = static_cast<std::uint8_t>(random.Between(0, 1));
    return options;
  }

  void ExpectModel(Random& random, int width, int height) {
    TestImage<In> source(random, width, height, Placement::Any(random), AnyOptions<In>(random));
    TestImage<Out> destination(random, width, height, Placement::Any(random), AnyOptions<Out>(random));
    TestImage modelSource = source;
    TestImage model = destination;
    const int threads = random.Between(1, 9);
    CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      EXPECT_EQ(&copy_->Apply(*source, *destination, barrier, index), &*destination);
    });
    kv_model::PortableCopy(*modelSource, *model, threads);
    ASSERT_EQ(destination.DifferenceFrom(model), "");
    ASSERT_EQ(source.DifferenceFrom(modelSource), "");
  }
};

using PortablePairs =
    testing::Types<PixelClasses<PixelYUVA422, PixelYUVA422>, PixelClasses<NoColor, PixelDIB32>,
                   PixelClasses<PixelYUVA422, PixelDIB24>, PixelClasses<NoColor, NoColor>,
                   PixelClasses<PixelYUV422, PixelYUVA422>, PixelClasses<PixelYUVA422, PixelDIB32>,
                   PixelClasses<PixelDIB32, PixelDIB24>, PixelClasses<PixelYUV422, PixelYUV411>,
                   PixelClasses<PixelYUVA422, NoColor>, PixelClasses<PixelDIB32, PixelDIB32>,
                   PixelClasses<PixelYUV422, PixelYUV411P>, PixelClasses<PixelYUV411, PixelYUV422>,
                   PixelClasses<PixelDIB32, NoColor>, PixelClasses<PixelYUV422, PixelYUV211>,
                   PixelClasses<PixelDIB16, PixelYUV422>, PixelClasses<PixelYUV411P, PixelDIB32>,
                   PixelClasses<PixelDIB16, PixelDIB24>, PixelClasses<PixelDIB15, PixelYUV422>,
                   PixelClasses<PixelDIB24, PixelYUVA422>, PixelClasses<PixelDIB15, PixelDIB24>,
                   PixelClasses<PixelYUV422, PixelDIB32>, PixelClasses<PixelDIB24, PixelDIB24>,
                   PixelClasses<NoColor, PixelYUV422>, PixelClasses<PixelYUV422, NoColor>,
                   PixelClasses<PixelDIB24, PixelDIB32>, PixelClasses<NoColor, PixelYUVA422>,
                   PixelClasses<PixelYUVA422, PixelYUV422>, PixelClasses<PixelDIB24, NoColor>,
                   PixelClasses<NoColor, PixelDIB24>>;
TYPED_TEST_SUITE(PortableCopy, PortablePairs);

TYPED_TEST(PortableCopy, EqualsTheModelForEveryWidth) {
  Random random(0x7101);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 4; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      ASSERT_NO_FATAL_FAILURE(this->ExpectModel(random, width, random.Between(1, 9)));
    }
  }
}

TYPED_TEST(PortableCopy, EqualsTheModelForLongRows) {
  Random random(0x7102);
  for (const int width : {255, 256, 257, 259, 511, 512, 513, 1023}) {
    SCOPED_TRACE(width);
    ASSERT_NO_FATAL_FAILURE(this->ExpectModel(random, width, 2));
  }
}

TYPED_TEST(PortableCopy, WritesEveryByteWhateverTheThreads) {
  // The sizes and flags with which same-format copies of the common pairs leave gaps between the threads'
  // pieces.
  Random random(0x7103);
  using Out = typename TestFixture::Out;
  for (const int threads : {1, 3, 7}) {
    Image<typename TestFixture::In> source(5, 3);
    Image<Out> zeros(5, 3);
    Image<Out> ones(5, 3);
    for (int row = 0; row < zeros.GetStoredRowCount(); ++row) {
      std::fill_n(ones.GetPixelBuffer().rows[row], 16, std::uint8_t{255});
    }
    for (int row = 0; row < 3; ++row) random.Fill(source.Row(row));
    CallInTurn(threads, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
      this->copy_->Apply(source, zeros, barrier, index);
      this->copy_->Apply(source, ones, barrier, index);
    });
    const std::size_t pixelBytes = (5 * Out::NbrOfBitsPerPixel + 7) / 8;
    for (int row = 0; row < 3; ++row) {
      for (std::size_t byte = 0; byte < pixelBytes; ++byte) {
        EXPECT_EQ(zeros.Row(row)[byte], ones.Row(row)[byte]) << "row " << row << " byte " << byte;
      }
    }
  }
}

TYPED_TEST(PortableCopy, ThreadsAtOnceGiveTheSameBytes) {
  Random random(0x7104);
  TestImage<typename TestFixture::In> source(random, 61, 23, Placement::Any(random));
  TestImage<typename TestFixture::Out> destination(random, 61, 23, Placement::Any(random));
  TestImage model = destination;
  for (const auto& thrown : CallOnThreads(4, [&](kv_std::SpinBarrier&barrier, std::uint32_t index) {
         this->copy_->Apply(*source, *destination, barrier, index);
       })) {
    ASSERT_EQ(thrown, nullptr);
  }
  kv_model::PortableCopy(*source, *model, 4);
  ASSERT_EQ(destination.DifferenceFrom(model), "");
}

TYPED_TEST(PortableCopy, SizeMismatchIsRefusedInTheMembersName) {
  const Image<typename TestFixture::In> source(8, 4);
  for (const auto& [width, height] : {std::pair{9, 4}, std::pair{8, 5}}) {
    Image<typename TestFixture::Out> destination(width, height);
    kv_std::SpinBarrier barrier(1);
    ExpectError<kv_img::AlgoMMXException>([&] { this->copy_->Apply(source, destination, barrier, 0); }, 1,
                                          L"CopyC");
  }
}

TYPED_TEST(PortableCopy, OnlyThePortableMemberOffersIt) {
  const Member member(commonMember);
  EXPECT_EQ((Find<typename TestFixture::In, typename TestFixture::Out>(member)), nullptr);
}

template <class... In, class... Out>
int CountFound(kv_img::TypeList<PixelClasses<In, Out>...> /*rows*/) {
  return ((Find<In, Out>() != nullptr ? 1 : 0) + ...);
}

TEST(PortableMember, AnswersEveryPairThatHasAHolder) {
  EXPECT_EQ(CountFound(kv_img::algorithms::Copy::AllRows()), 37);
}

TEST(PortableRules, SameFormatIsAnExactCopy) {
  EXPECT_EQ((Converted<NoColor, NoColor>(3, {0, 16, 255})), (Bytes{0, 16, 255}));
  EXPECT_EQ((Converted<PixelDIB24, PixelDIB24>(2, {1, 2, 3, 4, 5, 6})), (Bytes{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ((Converted<PixelDIB32, PixelDIB32>(1, {1, 2, 3, 4})), (Bytes{1, 2, 3, 4}));
}

TEST(PortableRules, BitmapsAreReordered) {
  EXPECT_EQ((Converted<PixelDIB24, PixelDIB24>(2, {1, 2, 3, 4, 5, 6}, redFirst, blueFirst)),
            (Bytes{3, 2, 1, 6, 5, 4}));
  EXPECT_EQ((Converted<PixelDIB32, PixelDIB32>(1, {1, 2, 3, 4}, blueFirst, redFirst)), (Bytes{3, 2, 1, 4}));
  EXPECT_EQ((Converted<PixelDIB32, PixelDIB24>(1, {1, 2, 3, 4}, redFirst, blueFirst)), (Bytes{3, 2, 1}));
}

TEST(PortableRules, MissingAlphaIsOpaque) {
  EXPECT_EQ((Converted<PixelDIB24, PixelDIB32>(1, {1, 2, 3})), (Bytes{1, 2, 3, 255}));
  const auto alphaOf = [](auto source) {
    Image<PixelYUVA422> destination(3, 1);
    kv_std::SpinBarrier barrier(1);
    using In = typename decltype(source)::type;
    Find<In, PixelYUVA422>()->Apply(Image<In>(3, 1), destination, barrier, 0);
    const auto row = destination.PlaneRow(kv_img::PixelComponent::Alpha, 0);
    return Bytes(row.begin(), row.end());
  };
  EXPECT_EQ(alphaOf(std::type_identity<PixelYUV422>()), (Bytes{255, 255, 255}));
  EXPECT_EQ(alphaOf(std::type_identity<PixelDIB24>()), (Bytes{255, 255, 255}));
  EXPECT_EQ(alphaOf(std::type_identity<NoColor>()), (Bytes{255, 255, 255}));
}

TEST(PortableRules, AlphaGoesFromPlaneToPixel) {
  Image<PixelYUVA422> source(2, 1);
  std::ranges::copy(Bytes{16, 128, 235, 128}, source.Row(0).begin());
  std::ranges::copy(Bytes{7, 9}, source.PlaneRow(kv_img::PixelComponent::Alpha, 0).begin());
  EXPECT_EQ(Copied<PixelDIB32>(source), (Bytes{0, 0, 0, 7, 255, 255, 255, 9}));
}

TEST(PortableRules, BlackWhiteAndRedAreStudioRange) {
  // Words of black, white, and twice red.
  EXPECT_EQ((Converted<PixelDIB16, PixelYUV422>(4, {0, 0, 255, 255, 0, 0xF8, 0, 0xF8})),
            (Bytes{16, 128, 234, 127, 81, 90, 81, 239}));
  EXPECT_EQ((Converted<PixelYUV422, PixelDIB32>(2, {235, 128, 16, 128})),
            (Bytes{255, 255, 255, 255, 0, 0, 0, 255}));
}

TEST(PortableRules, WordsBecomeBytesByRepeatingTheirUpperBits) {
  EXPECT_EQ((Converted<PixelDIB15, PixelDIB24>(3, {0xFF, 0xFF, 0x00, 0x80, 0x10, 0x42})),
            (Bytes{255, 255, 255, 0, 0, 0, 132, 132, 132}));
  EXPECT_EQ((Converted<PixelDIB16, PixelDIB24>(2, {0xFF, 0xFF, 0x10, 0x84})),
            (Bytes{255, 255, 255, 132, 130, 132}));
}

TEST(PortableRules, GreyIsLuma) {
  EXPECT_EQ((Converted<NoColor, PixelYUV422>(2, {3, 250})), (Bytes{3, 128, 250, 128}));
  EXPECT_EQ((Converted<PixelYUV422, NoColor>(2, {3, 1, 250, 2})), (Bytes{3, 250}));
  EXPECT_EQ((Converted<PixelDIB24, NoColor>(2, {0, 0, 0, 255, 255, 255})), (Bytes{16, 234}));
  EXPECT_EQ((Converted<NoColor, PixelDIB24>(4, {0, 16, 128, 235})),
            (Bytes{0, 0, 0, 0, 0, 0, 130, 130, 130, 255, 255, 255}));
}

TEST(PortableRules, ChromaOfAnRgbPairIsAveragedAndALoneLastPixelHasItsOwn) {
  // Red and black, then red alone.
  EXPECT_EQ((Converted<PixelDIB16, PixelYUV422>(3, {0, 0xF8, 0, 0, 0, 0xF8})),
            (Bytes{81, 109, 16, 183, 81, 90, 99, 239}));
}

TEST(PortableRules, OddWidthsLeaveBytesOfNoPixelAsTheyWere) {
  EXPECT_EQ((Converted<NoColor, PixelYUV422>(3, {1, 2, 3})), (Bytes{1, 128, 2, 128, 3, 128, 99, 128}));
  EXPECT_EQ((Converted<NoColor, PixelYUV422>(1, {1}, 0, chromaFirst)), (Bytes{128, 1, 128, 99}));
}

TEST(PortableRules, FourPixelsShareTheMeanOfTwoPairs) {
  const Bytes pixels = {10, 101, 20, 201, 30, 104, 40, 206, 50, 107, 60, 208};  // Y Cb Y Cr
  EXPECT_EQ((Converted<PixelYUV422, PixelYUV411>(6, pixels)),
            (Bytes{102, 10, 20, 203, 30, 40, 107, 50, 60, 208, 99, 99}));
  EXPECT_EQ((Converted<PixelYUV422, PixelYUV211>(6, pixels)), (Bytes{102, 15, 203, 35, 107, 55, 208, 99}));
  EXPECT_EQ((Converted<PixelYUV422, PixelYUV211>(3, {10, 101, 20, 201, 30, 104, 40, 206})),
            (Bytes{102, 15, 203, 30}));
}

TEST(PortableRules, FourPixelsGiveTheirChromaToTwoPairs) {
  EXPECT_EQ((Converted<PixelYUV411, PixelYUV422>(4, {9, 1, 2, 8, 3, 4})), (Bytes{1, 9, 2, 8, 3, 9, 4, 8}));
}

TEST(PortableRules, ByteOrdersOf422AreExchanged) {
  Image<PixelYUVA422> source(2, 1);
  std::ranges::copy(Bytes{1, 2, 3, 4}, source.Row(0).begin());
  EXPECT_EQ(Copied<PixelYUV422>(source, chromaFirst), (Bytes{2, 1, 4, 3}));
  EXPECT_EQ(Copied<PixelYUVA422>(source, chromaFirst), (Bytes{2, 1, 4, 3}));
  EXPECT_EQ(Copied<PixelYUVA422>(source, lumaFirst), (Bytes{1, 2, 3, 4}));
}

/// A copy of a copy, by one thread.
template <class Middle, class Out, class In>
Bytes CopiedThrough(const Image<In>& source) {
  Image<Middle> middle(static_cast<int>(source.GetWidth()), 1);
  kv_std::SpinBarrier barrier(1);
  Find<In, Middle>()->Apply(source, middle, barrier, 0);
  return Copied<Out>(middle);
}

template <class PixelClass>
void FillRandomly(Image<PixelClass>& image, std::uint64_t seed) {
  Random random(seed);
  for (std::uint8_t& byte : image.Row(0)) byte = static_cast<std::uint8_t>(random.Next());
}

TEST(PortableRules, AgreeWithTheCopiesThatEveryMemberOffers) {
  // These write to the end of rows of this width.
  constexpr int width = 4096;
  Image<PixelYUV422> yuv(width, 1);
  FillRandomly(yuv, 1);
  EXPECT_EQ((CopiedThrough<PixelDIB32, PixelDIB24>(yuv)), Copied<PixelDIB24>(yuv));
  EXPECT_EQ((CopiedThrough<PixelYUVA422, PixelDIB24>(yuv)), Copied<PixelDIB24>(yuv));
  Image<PixelDIB24> bytes(width, 1);
  FillRandomly(bytes, 2);
  EXPECT_EQ((CopiedThrough<PixelYUVA422, PixelYUV422>(bytes)), Copied<PixelYUV422>(bytes));
  EXPECT_EQ((CopiedThrough<PixelDIB32, PixelYUV422>(bytes)), Copied<PixelYUV422>(bytes));
  EXPECT_EQ((CopiedThrough<PixelYUV422, NoColor>(bytes)), Copied<NoColor>(bytes));
  Image<PixelDIB16> words(width, 1);
  FillRandomly(words, 3);
  EXPECT_EQ((CopiedThrough<PixelDIB24, PixelYUV422>(words)), Copied<PixelYUV422>(words));
}

TEST(PortableRules, WordsThatBecameBytesBecomeTheSameWords) {
  Image<PixelDIB16> words(65536, 1);
  for (std::size_t i = 0; i < words.Row(0).size(); i += 2) {
    words.Row(0)[i] = static_cast<std::uint8_t>(i / 2);
    words.Row(0)[i + 1] = static_cast<std::uint8_t>(i / 2 >> 8);
  }
  const Bytes bytes = Copied<PixelDIB24>(words);
  for (std::size_t pixel = 0; pixel < words.Row(0).size() / 2; ++pixel) {
    const int word = bytes[3 * pixel + 2] >> 3 << 11 | bytes[3 * pixel + 1] >> 2 << 5 | bytes[3 * pixel] >> 3;
    ASSERT_EQ(word, words.Row(0)[2 * pixel] | words.Row(0)[2 * pixel + 1] << 8);
  }
}

TEST(PortableRules, DifferentParitiesShiftByARowWithinTheBand) {
  ImageOptions lower;
  lower.properties.fieldParity = 1;
  Image<NoColor> source(1, 5, lower);
  for (int row = 0; row < 5; ++row) source.Row(row)[0] = static_cast<std::uint8_t>(row);
  Image<NoColor> destination(1, 5);
  CallInTurn(2, [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    Find<NoColor, NoColor>()->Apply(source, destination, barrier, index);
  });
  Bytes rows;
  for (int row = 0; row < 5; ++row) rows.push_back(destination.Row(row)[0]);
  EXPECT_EQ(rows, (Bytes{1, 1, 3, 4, 4}));
}

}  // namespace
