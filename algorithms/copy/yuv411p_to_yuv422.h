#pragma once

#include "algorithms/copy/copy.h"
#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/copy/stored_row.h"
#include "algorithms/packed422/samples.h"

namespace kv_img::copy {

/// Planar YUV to packed 4:2:2.
template <class Set>
class RowConverter<Set, Image<PixelYUV411P>, Image<PixelYUV422>> {
 public:
  using Source = Image<PixelYUV411P>::Buffer;
  using Destination = Image<PixelYUV422>::Buffer;

  RowConverter(const Source& source, Destination& destination) : source_(source), destination_(destination) {}

  /// Groups are converted to luma-first only: chroma-first destinations get only what the remainder writes.
  /// The layout is tested here, row by row, so that a thread without rows refuses nothing.
  void Convert(int sourceRow, int destinationRow) const {
    const std::uint8_t* luma = StoredRow(source_, source_.descriptor.GetComponent(0), sourceRow);
    const std::uint8_t* cb = StoredRow(source_, PixelComponent::Cb, sourceRow);
    const std::uint8_t* cr = StoredRow(source_, PixelComponent::Cr, sourceRow);
    std::uint8_t* row = destination_.rows[destinationRow];
    const std::int32_t layout = destination_.descriptor.GetLayout();
    if (!IsKnownOrder(layout)) {
      throw AlgoMMXException(4, L"Copy YUV411P -> YUV422: color model", L"");
    }
    const int groups = source_.width / 8;
    if (OrderOf(layout) == PackedOrder::LumaFirst) {
      Interleave::Args args{groups, luma, cb, cr, row};
      Set::template Run<InterleaveLumaFirst>(args);
    }

    // The remainder restarts at the row start, four pixels at a time, so the last width mod 8 pixels stay
    // unchanged.
    const int remainder = source_.width - 8 * groups;
    InterleaveSamples(luma, cb, cr, (remainder + 3) / 4 * 4, row, PackedSamples(destination_.descriptor));
  }

 private:
  const Source& source_;
  Destination& destination_;
};

}  // namespace kv_img::copy
