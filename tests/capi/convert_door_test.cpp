// kv_convert: every pair of formats, every pixel of every width, beside the plain model of colour conversion.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <optional>
#include <tuple>

#include "frame/interfaces/color_conversion.h"
#include "tests/capi/door_fixture.h"

namespace kv_test {
namespace {

constexpr int lastFormat = KV_FORMAT_RGB565;

bool IsYuv(int format) {
  return format <= KV_FORMAT_I422;
}
bool IsPacked(int format) {
  return format <= KV_FORMAT_YUY2A;
}

/// A frame as samples of its own language: Y, Cb, Cr, alpha or red, green, blue, alpha of each pixel.
using Pixel = std::array<int, 4>;

Pixel PixelAt(const GuardedFrame& frame, int x, int y) {
  const std::uint8_t* row = frame.Row(0, y);
  const auto at = [&](int i) { return static_cast<int>(row[i]); };
  const auto wordAt = [&] { return at(2 * x) + 256 * at(2 * x + 1); };
  const auto widen = [](int bits, int count) {
    return count == 5 ? bits * 8 + bits / 4 : bits * 4 + bits / 16;
  };
  const int pair = x / 2;
  switch (frame.Get()->format) {
    case KV_FORMAT_UYVY:
      return {at(2 * x + 1), at(4 * pair), at(4 * pair + 2), 255};
    case KV_FORMAT_YUY2:
      return {at(2 * x), at(4 * pair + 1), at(4 * pair + 3), 255};
    case KV_FORMAT_UYVYA:
      return {at(2 * x + 1), at(4 * pair), at(4 * pair + 2), frame.Row(1, y)[x]};
    case KV_FORMAT_YUY2A:
      return {at(2 * x), at(4 * pair + 1), at(4 * pair + 3), frame.Row(1, y)[x]};
    case KV_FORMAT_YUV411P:
    case KV_FORMAT_I422:
      return {at(x), frame.Row(1, y)[pair], frame.Row(2, y)[pair], 255};
    case KV_FORMAT_GRAY8:
      return {at(x), at(x), at(x), 255};
    case KV_FORMAT_BGR24:
      return {at(3 * x + 2), at(3 * x + 1), at(3 * x), 255};
    case KV_FORMAT_RGB24:
      return {at(3 * x), at(3 * x + 1), at(3 * x + 2), 255};
    case KV_FORMAT_BGRA32:
      return {at(4 * x + 2), at(4 * x + 1), at(4 * x), at(4 * x + 3)};
    case KV_FORMAT_RGBA32:
      return {at(4 * x), at(4 * x + 1), at(4 * x + 2), at(4 * x + 3)};
    case KV_FORMAT_BGRX32:
      return {at(4 * x + 2), at(4 * x + 1), at(4 * x), 255};
    case KV_FORMAT_RGBX32:
      return {at(4 * x), at(4 * x + 1), at(4 * x + 2), 255};
    case KV_FORMAT_RGB555:
      return {widen(wordAt() / 1024 % 32, 5), widen(wordAt() / 32 % 32, 5), widen(wordAt() % 32, 5), 255};
    default:
      return {widen(wordAt() / 2048, 5), widen(wordAt() / 32 % 64, 6), widen(wordAt() % 32, 5), 255};
  }
}

/// What a format keeps of a pixel.
Pixel Kept(int format, Pixel pixel) {
  const auto narrow = [](int value, int bits) {
    const int kept = value >> (8 - bits);
    return bits == 5 ? kept * 8 + kept / 4 : kept * 4 + kept / 16;
  };
  const bool hasAlpha = format == KV_FORMAT_UYVYA || format == KV_FORMAT_YUY2A ||
                        format == KV_FORMAT_BGRA32 || format == KV_FORMAT_RGBA32;
  if (!hasAlpha) pixel[3] = 255;
  if (format == KV_FORMAT_RGB555 || format == KV_FORMAT_RGB565) {
    const int green = format == KV_FORMAT_RGB555 ? 5 : 6;
    return {narrow(pixel[0], 5), narrow(pixel[1], green), narrow(pixel[2], 5), 255};
  }
  return pixel;
}

using Colors = kv_img::YuvColors;

Colors ColorsOf(const GuardedFrame& frame) {
  Colors colors;
  colors.matrix = static_cast<kv_img::ColorMatrix>(frame.Get()->matrix - KV_MATRIX_BT601);
  colors.range = frame.Get()->range == KV_RANGE_FULL ? kv_img::ColorRange::Full : kv_img::ColorRange::Limited;
  colors.chroma =
      frame.Get()->chroma == KV_CHROMA_CENTRE ? kv_img::ChromaPosition::Centre : kv_img::ChromaPosition::Left;
  return colors;
}

/// The family's "ColorConversion" from packed 4:2:2 with alpha to 32 bits and back, which the wider tests compare with
/// its model.
template <class In, class Out>
std::unique_ptr<kv_img::Image<Out>> Cross(const kv_img::Image<In>& from,
                                          const kv_img::ColorConversionParameters& how,
                                          std::optional<int> layout = {}) {
  const auto& operation =
      Operation<kv_img::ColorConversionAlgorithmInterface<kv_img::Image<In>, kv_img::Image<Out>>>(
          "ColorConversion", {In::ClassID, Out::ClassID});
  kv_img::ImageOptions options;
  options.layout = layout;
  auto to = std::make_unique<kv_img::Image<Out>>(static_cast<int>(from.GetWidth()),
                                                 static_cast<int>(from.GetHeight()), options);
  kv_std::SpinBarrier barrier(1);
  operation.Apply(from, *to, how, barrier, 0);
  return to;
}

using Packed = kv_img::PixelYUV422;
using Bitmap = kv_img::PixelDIB32;
using Grey = kv_img::PixelNoColor<unsigned char>;

/// A YUV frame as a packed image, luma first, with its last pair whole.
std::unique_ptr<kv_img::Image<Packed>> PackedOf(const GuardedFrame& frame) {
  const int width = frame.Get()->width;
  auto image = std::make_unique<kv_img::Image<Packed>>(width, frame.Get()->height);
  for (int y = 0; y < frame.Get()->height; ++y) {
    std::uint8_t* row = image->Row(y).data();
    for (int x = 0; x < width + width % 2; ++x) {
      // The spare luma plays no part.
      const Pixel pixel = PixelAt(frame, std::min(x, width - 1), y);
      row[2 * x] = static_cast<std::uint8_t>(pixel[0]);
      row[2 * x + 1] = static_cast<std::uint8_t>(pixel[1 + x % 2]);
    }
  }
  return image;
}

std::unique_ptr<kv_img::Image<Bitmap>> BitmapOf(const GuardedFrame& frame) {
  auto image = std::make_unique<kv_img::Image<Bitmap>>(frame.Get()->width, frame.Get()->height);
  for (int y = 0; y < frame.Get()->height; ++y) {
    for (int x = 0; x < frame.Get()->width; ++x) {
      const Pixel pixel = PixelAt(frame, x, y);
      const int bytes[] = {pixel[2], pixel[1], pixel[0], pixel[3]};
      std::copy_n(bytes, 4, image->Row(y).data() + 4 * x);
    }
  }
  return image;
}

int GreyOf(const Pixel& rgb, Colors colors) {
  // Kr and Kb of the matrices.
  constexpr double weights[][2] = {{0.299, 0.114}, {0.2126, 0.0722}, {0.2627, 0.0593}};
  const auto& w = weights[static_cast<int>(colors.matrix)];
  return static_cast<int>(w[0] * rgb[0] + (1 - w[0] - w[1]) * rgb[1] + w[1] * rgb[2] + 0.5);
}

class Conversions {
 public:
  Conversions(int from, int to) : from_(from), to_(to), random_(static_cast<unsigned>(100 * from + to)) {}

  void Compare(int width, Placement placement, bool isBottomUp) {
    GuardedFrame source(from_, width, 3, placement, isBottomUp);
    GuardedFrame destination(to_, width, 3, placement, !isBottomUp);
    source.Fill(random_);
    destination.Fill(random_);
    for (GuardedFrame* frame : {&source, &destination}) {
      (*frame)->matrix = 1 + static_cast<int>(random_() % 3);
      (*frame)->range = 1 + static_cast<int>(random_() % 2);
      (*frame)->chroma = 1 + static_cast<int>(random_() % 2);
    }
    kv_convert_options options;
    kv_convert_options_init(&options);
    options.resample = static_cast<int>(random_() % 2);
    ASSERT_EQ(kv_convert(context_.get(), source.Get(), destination.Get(), &options, nullptr), KV_OK)
        << kv_last_error();
    Expect(source, destination, options.resample);
    // Between equal formats all bytes are copied.
    if (from_ != to_) ExpectTheRest(source, destination);
  }

 private:
  void Expect(const GuardedFrame& source, const GuardedFrame& destination, int resample) {
    kv_img::ColorConversionParameters how;
    how.resample = resample == KV_RESAMPLE_NEAREST ? kv_img::ChromaResampling::Nearest
                                                   : kv_img::ChromaResampling::Linear;
    how.yuv = ColorsOf(IsYuv(from_) ? source : destination);
    how.destination = ColorsOf(destination);
    std::unique_ptr<kv_img::Image<Packed>> packed;
    std::unique_ptr<kv_img::Image<Bitmap>> bitmap;
    std::unique_ptr<kv_img::Image<Grey>> grey;
    if (IsYuv(from_) && IsYuv(to_) && how.yuv != how.destination)
      packed = Cross<Packed, Packed>(*PackedOf(source), how, 4098);
    if (IsYuv(from_) && !IsYuv(to_)) {
      if (to_ == KV_FORMAT_GRAY8) {
        grey = Cross<Packed, Grey>(*PackedOf(source), how);
      } else {
        bitmap = Cross<Packed, Bitmap>(*PackedOf(source), how);
      }
    }
    if (!IsYuv(from_) && IsYuv(to_)) packed = Cross<Bitmap, Packed>(*BitmapOf(source), how, 4098);
    for (int y = 0; y < 3; ++y) {
      for (int x = 0; x < source.Get()->width; ++x) {
        Pixel expected = PixelAt(source, x, y);
        if (packed) {
          const std::uint8_t* row = packed->Row(y).data();
          expected = {row[2 * x], row[x / 2 * 4 + 1], row[x / 2 * 4 + 3], expected[3]};
        } else if (bitmap) {
          const std::uint8_t* row = bitmap->Row(y).data() + std::ptrdiff_t{4} * x;
          expected = {row[2], row[1], row[0], expected[3]};
        } else if (grey) {
          const int value = grey->Row(y)[static_cast<std::size_t>(x)];
          expected = {value, value, value, 255};
        } else if (to_ == KV_FORMAT_GRAY8 && from_ != KV_FORMAT_GRAY8) {
          const int value = GreyOf(expected, ColorsOf(destination));
          expected = {value, value, value, 255};
        }
        const Pixel pixel = PixelAt(destination, x, y);
        if (to_ == KV_FORMAT_GRAY8 && !IsYuv(from_)) {
          ASSERT_LE(std::abs(pixel[0] - expected[0]), from_ == KV_FORMAT_GRAY8 ? 0 : 1);
        } else {
          ASSERT_EQ(pixel, Kept(to_, expected))
              << from_ << " to " << to_ << ", " << source.Get()->width << " at " << x;
        }
      }
    }
  }

  /// What is written beside the pixels: the spare luma of an odd width repeats the last pixel's, a fourth byte that does
  /// not count is 255.
  void ExpectTheRest(const GuardedFrame& source, const GuardedFrame& destination) {
    const int width = destination.Get()->width;
    const bool isCopied = IsPacked(from_) && ColorsOf(source) == ColorsOf(destination);
    const int luma = to_ == KV_FORMAT_UYVY || to_ == KV_FORMAT_UYVYA ? 1 : 0;
    for (int y = 0; y < 3; ++y) {
      const std::uint8_t* row = destination.Row(0, y);
      if (IsPacked(to_) && width % 2 != 0 && !isCopied) {
        ASSERT_EQ(row[2 * width + luma], row[2 * width - 2 + luma])
            << from_ << " to " << to_ << ", " << width;
      }
      for (int x = 0; x < width && (to_ == KV_FORMAT_BGRX32 || to_ == KV_FORMAT_RGBX32); ++x)
        ASSERT_EQ(row[4 * x + 3], 255) << from_ << " to " << to_ << ", " << width << " at " << x;
    }
  }

  int from_;
  int to_;
  std::mt19937 random_;
  Context context_ = MakeContext();
};

class DoorConvert : public testing::TestWithParam<int> {};

TEST_P(DoorConvert, EveryPixelOfEveryWidth) {
  for (int to = 1; to <= lastFormat; ++to) {
    Conversions conversions(GetParam(), to);
    ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
      if (!testing::Test::HasFatalFailure()) conversions.Compare(width, placement, isBottomUp);
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, DoorConvert, testing::Range(1, lastFormat + 1));

TEST(DoorConvert, GreySourceIsGreyRgb) {
  const Context context = MakeContext();
  GuardedFrame grey(KV_FORMAT_GRAY8, 256, 1, Placement::EndOfPage);
  GuardedFrame packed(KV_FORMAT_UYVY, 256, 1, Placement::EndOfPage);
  for (int x = 0; x < 256; ++x) grey.Row(0, 0)[x] = static_cast<std::uint8_t>(x);
  ASSERT_EQ(kv_convert(context.get(), grey.Get(), packed.Get(), nullptr, nullptr), KV_OK);
  EXPECT_EQ(PixelAt(packed, 0, 0), (Pixel{16, 128, 128, 255}));
  EXPECT_EQ(PixelAt(packed, 255, 0), (Pixel{235, 128, 128, 255}));
}

TEST(DoorConvert, TheDefaultMatrixIsBt601UpTo576Rows) {
  const Context context = MakeContext();
  for (const auto& [height, expected, other] :
       {std::tuple{576, KV_MATRIX_BT601, KV_MATRIX_BT709}, {577, KV_MATRIX_BT709, KV_MATRIX_BT601}}) {
    for (const auto& [from, to] :
         {std::pair{KV_FORMAT_UYVY, KV_FORMAT_BGR24}, {KV_FORMAT_RGBX32, KV_FORMAT_I422}}) {
      std::mt19937 random(4);
      GuardedFrame source(from, 4, height, Placement::EndOfPage);
      source.Fill(random);
      const auto convert = [&](GuardedFrame& destination, int matrix) {
        source->matrix = destination->matrix = matrix;
        ASSERT_EQ(kv_convert(context.get(), source.Get(), destination.Get(), nullptr, nullptr), KV_OK);
      };
      GuardedFrame byDefault(to, 4, height, Placement::EndOfPage);
      GuardedFrame named(to, 4, height, Placement::EndOfPage);
      convert(byDefault, KV_MATRIX_DEFAULT);
      convert(named, expected);
      EXPECT_TRUE(byDefault.Equals(named)) << height;
      convert(named, other);
      EXPECT_FALSE(byDefault.Equals(named)) << height;
    }
  }
}

}  // namespace
}  // namespace kv_test
