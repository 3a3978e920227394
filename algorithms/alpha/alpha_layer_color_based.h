#pragma once

#include <algorithm>
#include <utility>

#include "algorithms/alpha/kernels/chroma_distance.h"
#include "algorithms/alpha/smooth_mask.h"
#include "algorithms/kernel_sets.h"
#include "algorithms/packed422/samples.h"
#include "algorithms/rounding.h"
#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image.h"
#include "image/image_factory.h"

namespace kv_img {
namespace alpha {

/// Alpha of a pixel pair after the last whole group. Deliberately lower than the kernel's from s = 6.
constexpr std::uint8_t TailAlpha(std::int32_t s) {
  // Single precision would hold s and, up to the limit, its cube exactly.
  return static_cast<std::uint8_t>(255 - std::min(s * s * s, 128));
}
static_assert(TailAlpha(0) == 255 && TailAlpha(5) == 130 && TailAlpha(6) == 127 && TailAlpha(510) == 127);

}  // namespace alpha

/// "AlphaLayerColorBased" of packed 4:2:2.
template <class Set, class ImageType>
class AlphaLayerColorBased : public AlphaLayerColorBasedAlgorithmInterface<ImageType> {
 public:
  using Mask = alpha::Mask;

  Mask& Apply(const ImageType& first, const ImageType& second, Mask& destination,
              const RegionOfSupport& region, std::uint32_t windowSize, std::shared_ptr<Mask> intermediate,
              kv_std::SpinBarrier& barrier, std::uint32_t threadIndex) const override {
    if (first.GetWidth() != second.GetWidth() || first.GetHeight() != second.GetHeight() ||
        first.GetWidth() != destination.GetWidth() || first.GetHeight() != destination.GetHeight()) {
      Refuse<Set>(1, name);
    }
    const auto& buffer = first.GetPixelBuffer();
    if (buffer.descriptor.GetLayout() != second.GetPixelBuffer().descriptor.GetLayout()) {
      Refuse<Set>(6, name, L"<ImageYUV422>");
    }
    if (intermediate == nullptr) intermediate = ImageFactory<Mask>::CreateImage(first);
    if (static_cast<std::int32_t>(intermediate->GetWidth()) != buffer.width ||
        static_cast<std::int32_t>(intermediate->GetHeight()) != buffer.height) {
      Refuse<Set>(1, name);
    }

    const RawMask rawMask(first, second, *intermediate);
    alpha::ForEachRun(region, barrier, threadIndex, rawMask);
    alpha::SmoothMask(*intermediate, destination, region, windowSize, barrier, threadIndex);
    return destination;
  }

 private:
  static constexpr std::wstring_view name = L"AlphaLayerColorBased";

  /// Writes the raw mask of one run of pixels.
  class RawMask {
   public:
    RawMask(const ImageType& first, const ImageType& second, Mask& mask)
        : first_(first.GetPixelBuffer()), second_(second.GetPixelBuffer()), mask_(mask.GetPixelBuffer()) {}

    /// Pairs count from the first column, even if it is odd: their first sample is then the second of a pair
    /// of the image. A lone last pixel also reads the sample two bytes further, up to 2 bytes past the row.
    void operator()(int row, int firstColumn, int lastColumn) const {
      const int groups = (lastColumn - firstColumn + 1) / 4;
      alpha::ChromaDistance::Args args{groups, first_.rows[row] + PixelOffset(firstColumn),
                                       second_.rows[row] + PixelOffset(firstColumn),
                                       mask_.rows[row] + firstColumn, OrderOf(first_.descriptor.GetLayout())};
      Set::template Run<alpha::ChromaDistance>(args);

      const std::uint8_t* a = args.first + ChromaByte(args.order);
      const std::uint8_t* b = args.second + ChromaByte(args.order);
      for (int column = firstColumn + 4 * groups; column <= lastColumn; column += 2) {
        const std::uint8_t alpha =
            alpha::TailAlpha(AbsoluteDifferenceOf(a[0], b[0]) + AbsoluteDifferenceOf(a[2], b[2]));
        *args.mask++ = alpha;
        if (column < lastColumn) *args.mask++ = alpha;
        a += 4;
        b += 4;
      }
    }

   private:
    using Buffer = typename ImageType::Buffer;

    const Buffer& first_;
    const Buffer& second_;
    Mask::Buffer& mask_;
  };
};

template <class ImageType>
class AlphaLayerColorBasedC final : public AlphaLayerColorBased<Scalar, ImageType> {};

template <class ImageType>
class AlphaLayerColorBasedMMX final : public AlphaLayerColorBased<Mmx, ImageType> {};

template <class ImageType>
class AlphaLayerColorBasedSSE2 final : public AlphaLayerColorBased<Widest, ImageType> {};

template <class ImageType>
class AlphaLayerColorBasedNEON final : public AlphaLayerColorBased<Widest, ImageType> {};

}  // namespace kv_img
