#pragma once

#include "algorithms/copy/copy.h"
#include "algorithms/copy/kernels/yuv_to_rgb.h"
#include "algorithms/packed422/samples.h"

namespace kv_img::copy {

/// Packed 4:2:2 to 24-bit bitmaps.
template <class Set>
class RowConverter<Set, Image<PixelYUV422>, Image<PixelDIB24>> {
 public:
  using Source = Image<PixelYUV422>::Buffer;
  using Destination = Image<PixelDIB24>::Buffer;

  RowConverter(const Source& source, Destination& destination)
      : source_(source), destination_(destination), order_(OrderOf(source.descriptor.GetLayout())) {}

  /// The last width mod 8 pixels stay unchanged.
  void Convert(int sourceRow, int destinationRow) const {
    YuvToRgb::Args args{source_.width / 8, order_, source_.rows[sourceRow],
                        destination_.rows[destinationRow]};
    Set::template Run<Yuv422ToDib24>(args);
  }

 private:
  const Source& source_;
  Destination& destination_;
  PackedOrder order_;
};

}  // namespace kv_img::copy
