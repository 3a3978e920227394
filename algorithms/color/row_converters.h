#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "algorithms/color/color_weights.h"
#include "algorithms/color/kernels/alpha_bytes.h"
#include "algorithms/color/kernels/decode.h"
#include "algorithms/color/kernels/encode.h"
#include "algorithms/color/kernels/grey.h"
#include "algorithms/color/kernels/recode.h"
#include "algorithms/color/pair_rows.h"
#include "algorithms/kernel_sets.h"
#include "algorithms/packed422/samples.h"
#include "image/image.h"

namespace kv_img::color {

template <class ImageType>
concept PackedYuv =
    std::is_same_v<ImageType, Image<PixelYUV422>> || std::is_same_v<ImageType, Image<PixelYUVA422>>;
template <class ImageType>
concept Bitmap = std::is_same_v<typename ImageType::Descriptor, PixelDescriptorDIB>;
template <class ImageType>
concept Grey = std::is_same_v<ImageType, Image<PixelNoColor<unsigned char>>>;
template <class ImageType>
inline constexpr bool hasAlphaPlane = std::is_same_v<ImageType, Image<PixelYUVA422>>;
template <class ImageType>
inline constexpr int pixelBytes = std::is_same_v<ImageType, Image<PixelDIB24>> ? 3 : 4;

/// Converts one row of an image pair. Specialised for every pair of formats:
/// - constructed from the two images and the parameters;
/// - `Convert(row)` does the work of one row.
template <class Set, class ImageIn, class ImageOut>
class RowConverter;

template <class ImageType>
PackedOrder OrderOf(const ImageType& image) {
  return kv_img::OrderOf(image.GetPixelBuffer().descriptor.GetLayout());
}
template <class ImageType>
bool IsRedFirst(const ImageType& image) {
  const auto& descriptor = image.GetPixelBuffer().descriptor;
  return descriptor.Positions() != PixelDescriptorDIB::m_position[0];
}

constexpr Upsampling UpsamplingOf(ChromaPosition position, ChromaResampling resampling) {
  if (resampling == ChromaResampling::Nearest) return Upsampling::Repeat;
  return position == ChromaPosition::Left ? Upsampling::Left : Upsampling::Centre;
}
constexpr Downsampling DownsamplingOf(ChromaPosition position, ChromaResampling resampling) {
  if (position == ChromaPosition::Centre) return Downsampling::Mean;
  return resampling == ChromaResampling::Nearest ? Downsampling::First : Downsampling::Triangle;
}
constexpr Shift ShiftOf(const ColorConversionParameters& parameters) {
  if (parameters.resample == ChromaResampling::Nearest ||
      parameters.yuv.chroma == parameters.destination.chroma) {
    return Shift::None;
  }
  return parameters.yuv.chroma == ChromaPosition::Left ? Shift::Right : Shift::Left;
}

/// Alpha plane and fourth bytes; the last width mod 4 pixels are copied to a whole group.
template <class Kernel, class Set, int bytesIn, int bytesOut>
void CopyAlpha(int width, const std::uint8_t* source, std::uint8_t* destination) {
  typename Kernel::Args args{width / 4, source, destination};
  Set::template Run<Kernel>(args);
  const int rest = width % 4;
  if (rest == 0) return;
  std::uint8_t in[4 * bytesIn] = {};
  std::uint8_t out[4 * bytesOut] = {};
  std::memcpy(in, args.source, static_cast<std::size_t>(rest * bytesIn));
  std::memcpy(out, args.destination, static_cast<std::size_t>(rest * bytesOut));
  typename Kernel::Args last{1, in, out};
  Set::template Run<Kernel>(last);
  std::memcpy(args.destination, out, static_cast<std::size_t>(rest * bytesOut));
}

/// Calls a kernel with the constants of a record and the groups and pointers of each call.
template <class Kernel, class Set>
auto Call(const typename Kernel::Args& constants) {
  return [&constants](int groups, const std::uint8_t* source, std::uint8_t* destination) {
    typename Kernel::Args args = constants;
    args.groups = groups;
    args.source = source;
    args.destination = destination;
    Set::template Run<Kernel>(args);
  };
}

/// Packed 4:2:2, with or without alpha, to 24- and 32-bit bitmaps.
template <class Set, PackedYuv ImageIn, Bitmap ImageOut>
class RowConverter<Set, ImageIn, ImageOut> {
 public:
  RowConverter(const ImageIn& source, ImageOut& destination, const ColorConversionParameters& parameters)
      : source_(source),
        destination_(destination),
        args_{.groups = 0,
              .order = OrderOf(source),
              .isRedFirst = IsRedFirst(destination),
              .upsampling = UpsamplingOf(parameters.yuv.chroma, parameters.resample),
              .source = nullptr,
              .destination = nullptr,
              .weights = decodingWeights.For(parameters.yuv)} {}

  void Convert(int row) const {
    using Kernel = std::conditional_t<pixelBytes<ImageOut> == 3, DecodeTo24, DecodeTo32>;
    const int width = static_cast<int>(source_.GetWidth());
    std::uint8_t* pixels = destination_.Row(row).data();
    ConvertPairs<packedPairs, bitmapPairs<pixelBytes<ImageOut>>>(
        width, source_.Row(row).data(), pixels, Call<Kernel, Set>(args_), RepeatLuma{args_.order});
    if constexpr (hasAlphaPlane<ImageIn>) {
      CopyAlpha<PutAlpha, Set, 1, 4>(width, source_.PlaneRow(PixelComponent::Alpha, row).data(), pixels);
    }
  }

 private:
  const ImageIn& source_;
  ImageOut& destination_;
  DecodeArgs args_;
};

/// 24- and 32-bit bitmaps to packed 4:2:2, with or without alpha.
template <class Set, Bitmap ImageIn, PackedYuv ImageOut>
class RowConverter<Set, ImageIn, ImageOut> {
 public:
  RowConverter(const ImageIn& source, ImageOut& destination, const ColorConversionParameters& parameters)
      : source_(source),
        destination_(destination),
        args_{.groups = 0,
              .order = OrderOf(destination),
              .isRedFirst = IsRedFirst(source),
              .downsampling = DownsamplingOf(parameters.yuv.chroma, parameters.resample),
              .source = nullptr,
              .destination = nullptr,
              .weights = encodingWeights.For(parameters.yuv)} {}

  void Convert(int row) const {
    using Kernel = std::conditional_t<pixelBytes<ImageIn> == 3, EncodeFrom24, EncodeFrom32>;
    const int width = static_cast<int>(source_.GetWidth());
    const std::uint8_t* pixels = source_.Row(row).data();
    ConvertPairs<bitmapPairs<pixelBytes<ImageIn>>, packedPairs>(width, pixels, destination_.Row(row).data(),
                                                                Call<Kernel, Set>(args_),
                                                                RepeatPixel<pixelBytes<ImageIn>>());
    if constexpr (hasAlphaPlane<ImageOut>) {
      CopyAlpha<TakeAlpha, Set, 4, 1>(width, pixels,
                                      destination_.PlaneRow(PixelComponent::Alpha, row).data());
    }
  }

 private:
  const ImageIn& source_;
  ImageOut& destination_;
  EncodeArgs args_;
};

/// Packed 4:2:2 to packed 4:2:2 of other colours.
template <class Set>
class RowConverter<Set, Image<PixelYUV422>, Image<PixelYUV422>> {
 public:
  RowConverter(const Image<PixelYUV422>& source, Image<PixelYUV422>& destination,
               const ColorConversionParameters& parameters)
      : source_(source),
        destination_(destination),
        args_{.groups = 0,
              .order = OrderOf(source),
              .destinationOrder = OrderOf(destination),
              .upsampling = UpsamplingOf(parameters.yuv.chroma, parameters.resample),
              .shift = ShiftOf(parameters),
              .source = nullptr,
              .destination = nullptr,
              .weights = recodingWeights.For(parameters.yuv).For(parameters.destination)} {
    // Luma takes no part of chroma where the matrix stays, so that of the neighbours does not count.
    if (parameters.yuv.matrix == parameters.destination.matrix) args_.upsampling = Upsampling::Repeat;
  }

  void Convert(int row) const {
    const int width = static_cast<int>(source_.GetWidth());
    std::uint8_t* to = destination_.Row(row).data();
    ConvertPairs<packedPairs, packedPairs>(width, source_.Row(row).data(), to, Call<Recode, Set>(args_),
                                           RepeatLuma{args_.order});
    // The two luma samples of a lone pixel's pair meet different chroma.
    if (width % 2 != 0) RepeatLuma{args_.destinationOrder}(to + PixelOffset(width - 1));
  }

 private:
  const Image<PixelYUV422>& source_;
  Image<PixelYUV422>& destination_;
  Recode::Args args_;
};

/// The luma of packed 4:2:2 to grey.
template <class Set, Grey ImageOut>
class RowConverter<Set, Image<PixelYUV422>, ImageOut> {
 public:
  RowConverter(const Image<PixelYUV422>& source, ImageOut& destination,
               const ColorConversionParameters& parameters)
      : source_(source), destination_(destination), order_(OrderOf(source)), yuv_(parameters.yuv) {}

  void Convert(int row) const {
    const DecodingWeights& weights = decodingWeights.For(yuv_);
    const GreyOfLuma::Args args{0, order_, weights.luma, weights.black, nullptr, nullptr};
    ConvertPairs<packedPairs, bitmapPairs<1>>(static_cast<int>(source_.GetWidth()), source_.Row(row).data(),
                                              destination_.Row(row).data(), Call<GreyOfLuma, Set>(args),
                                              RepeatLuma{order_});
  }

 private:
  const Image<PixelYUV422>& source_;
  ImageOut& destination_;
  PackedOrder order_;
  YuvColors yuv_;
};

/// Grey to packed 4:2:2 without colour.
template <class Set, Grey ImageIn>
class RowConverter<Set, ImageIn, Image<PixelYUV422>> {
 public:
  RowConverter(const ImageIn& source, Image<PixelYUV422>& destination,
               const ColorConversionParameters& parameters)
      : source_(source), destination_(destination), yuv_(parameters.yuv) {}

  void Convert(int row) const {
    const RecodingWeights& weights = recodingWeights.For({yuv_.matrix, ColorRange::Full}).For(yuv_);
    const LumaOfGrey::Args args{0, OrderOf(destination_), weights.luma, weights.blackOut, nullptr, nullptr};
    ConvertPairs<bitmapPairs<1>, packedPairs>(static_cast<int>(source_.GetWidth()), source_.Row(row).data(),
                                              destination_.Row(row).data(), Call<LumaOfGrey, Set>(args),
                                              RepeatPixel<1>());
  }

 private:
  const ImageIn& source_;
  Image<PixelYUV422>& destination_;
  YuvColors yuv_;
};

}  // namespace kv_img::color
