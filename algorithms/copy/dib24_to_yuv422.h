#pragma once

#include "algorithms/copy/bitmap_component.h"
#include "algorithms/copy/copy.h"
#include "algorithms/copy/kernels/rgb_to_yuv.h"
#include "algorithms/packed422/samples.h"

namespace kv_img::copy {

/// 24-bit bitmaps to packed 4:2:2.
template <class Set>
class RowConverter<Set, Image<PixelDIB24>, Image<PixelYUV422>> {
 public:
  using Source = Image<PixelDIB24>::Buffer;
  using Destination = Image<PixelYUV422>::Buffer;

  RowConverter(const Source& source, Destination& destination)
      : source_(source),
        destination_(destination),
        firstBlue_(OffsetOf<PixelDIB24>(BitmapComponent::Blue, source.descriptor)) {}

  /// Pixels are read from the blue byte onward as blue, green, red. The last width mod 8 pixels stay
  /// unchanged; with an unknown layout code the whole row does.
  void Convert(int sourceRow, int destinationRow) const {
    const std::int32_t layout = destination_.descriptor.GetLayout();
    if (!IsKnownOrder(layout)) return;
    RgbToYuv::Args args{source_.width / 8, OrderOf(layout), source_.rows[sourceRow] + firstBlue_,
                        destination_.rows[destinationRow]};
    Set::template Run<Dib24ToYuv422>(args);
  }

 private:
  const Source& source_;
  Destination& destination_;
  std::ptrdiff_t firstBlue_;
};

}  // namespace kv_img::copy
