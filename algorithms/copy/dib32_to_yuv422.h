#pragma once

#include "algorithms/copy/bitmap_component.h"
#include "algorithms/copy/copy.h"
#include "algorithms/copy/float_conversion.h"
#include "algorithms/copy/kernels/rgb_to_yuv.h"
#include "algorithms/copy/stored_row.h"
#include "algorithms/packed422/samples.h"
#include "algorithms/rounding.h"

namespace kv_img::copy {

/// Reads 32-bit bitmap rows, for destinations with and without alpha. Kernels read the pixels from the blue
/// byte onward as blue, green, red, alpha; the remainder takes the position of each component from the
/// descriptor.
class Dib32Rows {
 public:
  using Source = Image<PixelDIB32>::Buffer;

  explicit Dib32Rows(const Source& source)
      : source_(source),
        blue_(OffsetOf<PixelDIB32>(BitmapComponent::Blue, source.descriptor)),
        green_(OffsetOf<PixelDIB32>(BitmapComponent::Green, source.descriptor)),
        red_(OffsetOf<PixelDIB32>(BitmapComponent::Red, source.descriptor)),
        alpha_(OffsetOf<PixelDIB32>(BitmapComponent::Alpha, source.descriptor)) {}

  int Groups() const { return source_.width / 4; }
  int Remainder() const { return source_.width - 4 * Groups(); }
  const std::uint8_t* FirstBlue(int row) const { return source_.rows[row] + blue_; }
  const std::uint8_t* FirstAlpha(int row) const { return source_.rows[row] + alpha_; }

  /// The remainder restarts at the row start: the first pixels are written again, now in floating point, and
  /// the last width mod 4 pixels stay unchanged. The second pixel of a pair stores its chroma, so an
  /// incomplete pair gets none.
  void ConvertRemainder(int row, std::uint8_t* to, PackedSamples samples) const {
    const std::uint8_t* from = source_.rows[row];
    Yuv first{};
    for (int x = 0; x < Remainder(); ++x) {
      const Yuv yuv = FloatRgbToYuv(from[red_], from[green_], from[blue_]);
      to[samples.Luma(x)] = yuv.luma;
      if (x % 2 == 0) {
        first = yuv;
      } else {
        to[samples.Cb(x)] = MeanDown(first.cb, yuv.cb);
        to[samples.Cr(x)] = MeanDown(first.cr, yuv.cr);
      }
      from += 4;
    }
  }

 private:
  const Source& source_;
  std::ptrdiff_t blue_;
  std::ptrdiff_t green_;
  std::ptrdiff_t red_;
  std::ptrdiff_t alpha_;
};

/// 32-bit bitmaps to packed 4:2:2, their alpha ignored.
template <class Set>
class RowConverter<Set, Image<PixelDIB32>, Image<PixelYUV422>> {
 public:
  using Destination = Image<PixelYUV422>::Buffer;

  RowConverter(const Dib32Rows::Source& source, Destination& destination)
      : source_(source), destination_(destination) {}

  /// With an unknown layout code only the remainder is converted, as luma-first.
  void Convert(int sourceRow, int destinationRow) const {
    const std::int32_t layout = destination_.descriptor.GetLayout();
    std::uint8_t* to = destination_.rows[destinationRow];
    if (IsKnownOrder(layout)) {
      RgbToYuv::Args args{source_.Groups(), OrderOf(layout), source_.FirstBlue(sourceRow), to};
      Set::template Run<Dib32ToYuv422>(args);
    }
    source_.ConvertRemainder(sourceRow, to, PackedSamples(destination_.descriptor));
  }

 private:
  Dib32Rows source_;
  Destination& destination_;
};

/// 32-bit bitmaps to packed 4:2:2 with a plane of alpha.
template <class Set>
class RowConverter<Set, Image<PixelDIB32>, Image<PixelYUVA422>> {
 public:
  using Destination = Image<PixelYUVA422>::Buffer;

  RowConverter(const Dib32Rows::Source& source, Destination& destination)
      : source_(source), destination_(destination) {}

  /// The alpha bytes follow the colour samples: groups first, then the remainder from the row start.
  void Convert(int sourceRow, int destinationRow) const {
    const PixelDescriptorYUV& descriptor = destination_.descriptor;
    std::uint8_t* to = StoredRow(destination_, descriptor.GetComponent(0), destinationRow);
    std::uint8_t* alpha = StoredRow(destination_, PixelComponent::Alpha, destinationRow);
    const std::int32_t layout = descriptor.GetLayout();
    if (IsKnownOrder(layout)) {
      Dib32ToYuva422::Args args{{source_.Groups(), OrderOf(layout), source_.FirstBlue(sourceRow), to}, alpha};
      Set::template Run<Dib32ToYuva422>(args);
    }
    source_.ConvertRemainder(sourceRow, to, PackedSamples(descriptor));
    const std::uint8_t* fromAlpha = source_.FirstAlpha(sourceRow);
    for (int x = 0; x < source_.Remainder(); ++x) alpha[x] = fromAlpha[4 * x];
  }

 private:
  Dib32Rows source_;
  Destination& destination_;
};

}  // namespace kv_img::copy
