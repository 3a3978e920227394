#pragma once

#include "algorithms/copy/bitmap_component.h"
#include "algorithms/copy/copy.h"
#include "algorithms/copy/float_conversion.h"
#include "algorithms/copy/kernels/dib_word.h"
#include "algorithms/copy/kernels/yuv_to_rgb.h"
#include "algorithms/packed422/samples.h"

namespace kv_img::copy {

/// The differences between the two bitmap classes of one word per pixel.
template <class PixelOut>
struct DibWordFormat;

template <>
struct DibWordFormat<PixelDIB15> {
  using Kernel = Yuv422ToDib15;
  static constexpr auto Pack = Dib15Word;
};

template <>
struct DibWordFormat<PixelDIB16> {
  using Kernel = Yuv422ToDib16;
  static constexpr auto Pack = Dib16Word;
};

/// Packed 4:2:2 to 15- and 16-bit bitmaps.
template <class Set, class PixelOut>
class DibWordConverter {
 public:
  using Source = Image<PixelYUV422>::Buffer;
  using Destination = typename Image<PixelOut>::Buffer;

  DibWordConverter(const Source& source, Destination& destination)
      : source_(source),
        destination_(destination),
        samples_(source.descriptor),
        order_(OrderOf(source.descriptor.GetLayout())),
        firstPixel_(OffsetOf<PixelOut>(BitmapComponent::Blue, destination.descriptor)) {}

  void Convert(int sourceRow, int destinationRow) const {
    const std::uint8_t* from = source_.rows[sourceRow];
    std::uint8_t* to = destination_.rows[destinationRow] + firstPixel_;
    const int groups = source_.width / 4;
    YuvToRgb::Args args{groups, order_, from, to};
    Set::template Run<typename Format::Kernel>(args);

    // The remainder restarts at the row start: the first pixels are written again, now in floating point, and
    // the last width mod 4 pixels stay unchanged.
    const int remainder = source_.width - 4 * groups;
    for (int x = 0; x < remainder; ++x) {
      const Rgb rgb = FloatYuvToRgb(from[samples_.Luma(x)], from[samples_.Cb(x)], from[samples_.Cr(x)]);
      const std::uint16_t word = Format::Pack(rgb.red, rgb.green, rgb.blue);
      to[2 * x] = static_cast<std::uint8_t>(word);
      to[2 * x + 1] = static_cast<std::uint8_t>(word >> 8);
    }
  }

 private:
  using Format = DibWordFormat<PixelOut>;

  const Source& source_;
  Destination& destination_;
  PackedSamples samples_;
  PackedOrder order_;
  std::ptrdiff_t firstPixel_;
};

template <class Set>
class RowConverter<Set, Image<PixelYUV422>, Image<PixelDIB15>> : public DibWordConverter<Set, PixelDIB15> {
  using DibWordConverter<Set, PixelDIB15>::DibWordConverter;
};

template <class Set>
class RowConverter<Set, Image<PixelYUV422>, Image<PixelDIB16>> : public DibWordConverter<Set, PixelDIB16> {
  using DibWordConverter<Set, PixelDIB16>::DibWordConverter;
};

}  // namespace kv_img::copy
