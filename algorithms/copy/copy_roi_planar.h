#pragma once

#include "algorithms/copy/copy_roi.h"
#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/copy/stored_row.h"
#include "algorithms/packed422/samples.h"
#include "frame/member_name.h"

namespace kv_img::copy {

/// Region of planar YUV to packed 4:2:2.
template <class Set>
class RoiCopier<Set, Image<PixelYUV411P>, Image<PixelYUV422>> {
 public:
  RoiCopier(const Image<PixelYUV411P>& source, Image<PixelYUV422>& destination, const RoiPair& regions)
      : source_(source.GetPixelBuffer()), destination_(destination.GetPixelBuffer()), regions_(regions) {
    // A chroma sample belongs to two pixels, so the bounding boxes must start and end at whole pairs.
    if (regions.source.GetLeft() % 2 != 0 || regions.destination.GetLeft() % 2 != 0 ||
        regions.source.GetWidth() % 2 != 0 || regions.destination.GetWidth() % 2 != 0) {
      Refuse<Set>(2, L"CopyROI");
    }
  }

  void Copy(std::int32_t threads, std::uint32_t index) const {
    ForEachRoiSpan({regions_.source, source_.width, source_.height},
                   {regions_.destination, destination_.width, destination_.height},
                   FieldParityShift(source_.properties, destination_.properties), threads, index,
                   [this](const RoiSpan& span) { CopySpan(span); });
  }

 private:
  /// The number of pixels depends on the source image, not on the run: all groups of the image's width,
  /// starting at the run's first column. Short runs are overrun; the images need slack after their rows.
  void CopySpan(const RoiSpan& span) const {
    // Tested here, so that a thread without rows refuses nothing.
    const std::int32_t layout = destination_.descriptor.GetLayout();
    if (!IsKnownOrder(layout)) {
      throw AlgoMMXException(4, L"Copy YUV411P -> YUV422: color model", L"");
    }
    const auto& [sourceFirst, sourceLast, destinationFirst] = span.columns;
    const int groups = source_.width / 8;
    Interleave::Args args{
        groups,
        StoredRow(source_, source_.descriptor.GetComponent(0), span.shiftedSourceRow) + sourceFirst,
        StoredRow(source_, PixelComponent::Cb, span.shiftedSourceRow) + (sourceFirst >> 1),
        StoredRow(source_, PixelComponent::Cr, span.shiftedSourceRow) + (sourceFirst >> 1),
        destination_.rows[span.destinationRow] + PixelOffset(destinationFirst),
    };
    if (OrderOf(layout) == PackedOrder::LumaFirst) {
      Set::template Run<InterleaveLumaFirst>(args);
    } else {
      Set::template Run<InterleaveChromaFirst>(args);
    }
    // Four pixels at a time, from where the kernel stopped. The run's last column is compared with the number
    // of pixels, wherever the run starts.
    const int remainder = std::max(sourceLast - 8 * groups, 0);
    InterleaveSamples(args.luma, args.cb, args.cr, (remainder + 3) / 4 * 4, args.destination,
                      PackedSamples(destination_.descriptor));
  }

  const Image<PixelYUV411P>::Buffer& source_;
  Image<PixelYUV422>::Buffer& destination_;
  RoiPair regions_;
};

}  // namespace kv_img::copy
