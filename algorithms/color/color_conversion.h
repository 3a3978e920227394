#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "algorithms/color/row_converters.h"
#include "frame/interfaces/color_conversion.h"
#include "frame/member_name.h"
#include "frame/row_band.h"

namespace kv_img {
namespace color {

/// The first parameter that has none of its values; null: all have.
inline const wchar_t* WrongParameter(const YuvColors& colors) {
  const auto isWithin = [](auto value, int last) {
    return static_cast<std::uint32_t>(value) <= std::uint32_t(last);
  };
  if (!isWithin(colors.matrix, 2)) return L"matrix";
  if (!isWithin(colors.range, 1)) return L"range";
  return isWithin(colors.chroma, 1) ? nullptr : L"chroma";
}

/// Whether the rows of an image are far enough apart to end with whole pairs.
template <class ImageType>
bool HasWholePairs(const ImageType& image) {
  if constexpr (PackedYuv<ImageType>) {
    if (image.GetWidth() % 2 == 0) return true;
    const std::ptrdiff_t needed = std::ptrdiff_t{4} * ((static_cast<int>(image.GetWidth()) + 1) / 2);
    const auto& buffer = image.GetPixelBuffer();
    for (int row = 1; row < buffer.height; ++row) {
      const std::less<const std::uint8_t*> isBefore;
      const std::uint8_t* a = buffer.rows[row - 1];
      const std::uint8_t* b = buffer.rows[row];
      if (isBefore(a, b) ? b - a < needed : a - b < needed) return false;
    }
  }
  return true;
}

}  // namespace color

/// The frame that every "ColorConversion" shares: checks and band of rows.
template <class Set, class ImageIn, class ImageOut>
class ColorConversion : public ColorConversionAlgorithmInterface<ImageIn, ImageOut> {
 public:
  ImageOut& Apply(const ImageIn& source, ImageOut& destination, const ColorConversionParameters& parameters,
                  kv_std::SpinBarrier& barrier, std::uint32_t threadIndex) const override {
    Check(source, destination, parameters);
    const color::RowConverter<Set, ImageIn, ImageOut> converter(source, destination, parameters);
    const RowBand band =
        BandOf(0, static_cast<std::int32_t>(source.GetHeight()) - 1, barrier.GetThreadCount(), threadIndex);
    for (int row = band.first; row <= band.last; ++row) converter.Convert(row);
    return destination;
  }

 private:
  static void Check(const ImageIn& source, const ImageOut& destination,
                    const ColorConversionParameters& parameters) {
    const auto refuse = [](std::uint32_t code, const wchar_t* parameter = L"") {
      Refuse<Set>(code, L"ColorConversion", {}, parameter);
    };
    if (destination.GetWidth() != source.GetWidth() || destination.GetHeight() != source.GetHeight())
      refuse(1);
    const wchar_t* wrong = color::WrongParameter(parameters.yuv);
    if constexpr (std::is_same_v<ImageIn, ImageOut>) {
      if (wrong == nullptr) wrong = color::WrongParameter(parameters.destination);
    }
    if (wrong == nullptr && static_cast<std::uint32_t>(parameters.resample) > 1) wrong = L"resample";
    if (wrong == nullptr && !(color::HasWholePairs(source) && color::HasWholePairs(destination)))
      wrong = L"stride";
    if (wrong != nullptr) refuse(4, wrong);
  }
};

template <class ImageIn, class ImageOut>
class ColorConversionC final : public ColorConversion<Scalar, ImageIn, ImageOut> {};

/// There is none: the 64-bit member does not offer the algorithm.
template <class ImageIn, class ImageOut>
class ColorConversionMMX;

template <class ImageIn, class ImageOut>
class ColorConversionSSE2 final : public ColorConversion<Widest, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class ColorConversionNEON final : public ColorConversion<Widest, ImageIn, ImageOut> {};

}  // namespace kv_img
