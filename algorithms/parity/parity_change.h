#pragma once

#include <cstdint>
#include <cstring>

#include "algorithms/kernel_sets.h"
#include "algorithms/packed422/runs.h"
#include "algorithms/parity/kernels/average_lines.h"
#include "algorithms/rounding.h"
#include "frame/interfaces/parity_change.h"
#include "frame/member_name.h"
#include "image/image_rect.h"

namespace kv_img {
namespace parity {

/// The offset d: output line y is formed from source lines y + d and y + d + 1.
inline int LineOffset(const VideoImageProperties& source) {
  return (source.fieldOrder != 0) == (source.fieldParity != 0) ? -1 : 0;
}

/// Calls `average(y, line, line + 1)` for the lines `top` to `bottom` that have two source lines, and
/// `copy(y)` for the one at the top (offset -1) or bottom (offset 0) that has only itself.
template <class AverageWork, class CopyWork>
void ForEachLine(int top, int bottom, int offset, AverageWork average, CopyWork copy) {
  const int alone = offset < 0 ? top : bottom;
  for (int y = top; y <= bottom; ++y) {
    if (y == alone) {
      copy(y);
    } else {
      average(y, y + offset, y + offset + 1);
    }
  }
}

}  // namespace parity

/// "ParityChange" of packed 4:2:2 frames.
template <class Set, class ImageIn, class ImageOut>
class ParityChange : public ParityChangeAlgorithmInterface<ImageIn, ImageOut> {
 public:
  ImageOut& Apply(const ImageIn& source, ImageOut& destination,
                  const RegionOfSupport& region) const override {
    if (!region.IsInside(ImageRect(source)) || !region.IsInside(ImageRect(destination))) {
      Refuse<Set>(1, L"ParityChange");
    }
    CheckLayouts(source, destination);
    if (!region.IsRectangular()) {
      Refuse<Set>(4, L"ParityChange", L"<ImageYUV422, ImageYUV422>: region of support not rectangular");
    }
    const int offset = TurnFieldOrder(source, destination);
    // A region without pixels may be anywhere, even where there are no rows.
    if (region.GetWidth() == 0) return destination;
    const auto& from = source.GetPixelBuffer();
    auto& to = destination.GetPixelBuffer();
    const PackedSamples fromSamples(from.descriptor);
    const PackedSamples toSamples(to.descriptor);
    const AverageKernel kernel = KernelFor(source, destination);
    parity::ForEachLine(
        region.GetTop(), region.GetBottom(), offset,
        [&](int y, int upper, int lower) {
          AverageRun(kernel, from.rows[upper], from.rows[lower], fromSamples, to.rows[y], toSamples,
                     region.GetLeft(y), region.GetRight(y));
        },
        [&](int y) {
          CopyRun(from.rows[y], fromSamples, to.rows[y], toSamples, region.GetLeft(y), region.GetRight(y));
        });
    return destination;
  }

  ImageOut& Apply(const ImageIn& source, ImageOut& destination) const override {
    if (source.GetWidth() != destination.GetWidth() || source.GetHeight() != destination.GetHeight()) {
      Refuse<Set>(1, L"ParityChange");
    }
    CheckLayouts(source, destination);
    const int offset = TurnFieldOrder(source, destination);
    const auto& from = source.GetPixelBuffer();
    auto& to = destination.GetPixelBuffer();
    const AverageKernel kernel = KernelFor(source, destination);
    const bool isSameLayout = source.GetPixelLayout() == destination.GetPixelLayout();
    const std::size_t rowBytes = std::size_t{2} * source.GetWidth();
    const auto groups = static_cast<std::int32_t>(rowBytes / 8);
    parity::ForEachLine(
        0, static_cast<int>(source.GetHeight()) - 1, offset,
        [&](int y, int upper, int lower) {
          // The last width mod 4 pixels of an averaged line stay unchanged.
          parity::LineAverage::Args args{groups, from.rows[upper], from.rows[lower], to.rows[y]};
          kernel(args);
        },
        [&](int y) {
          // If the layouts differ, the line that has only itself stays unchanged.
          if (isSameLayout) std::memcpy(to.rows[y], from.rows[y], rowBytes);
        });
    return destination;
  }

 private:
  using AverageKernel = void (*)(parity::LineAverage::Args&) noexcept;

  static AverageKernel KernelFor(const ImageIn& source, const ImageOut& destination) {
    const bool isSameLayout = source.GetPixelLayout() == destination.GetPixelLayout();
    return isSameLayout ? &Set::template Run<parity::AverageLines>
                        : &Set::template Run<parity::AverageLinesSwapped>;
  }

  static void CheckLayouts(const ImageIn& source, const ImageOut& destination) {
    const std::int32_t from = source.GetPixelLayout();
    const std::int32_t to = destination.GetPixelLayout();
    if (from != to && !(IsKnownOrder(from) && IsKnownOrder(to))) {
      Refuse<Set>(5, L"ParityChange", L"<ImageYUV422, ImageYUV422>: color model conversion not supported");
    }
  }

  /// Sets the destination to the other field order and returns the line offset.
  static int TurnFieldOrder(const ImageIn& source, ImageOut& destination) {
    kv_platform::ClearSimdState();
    const VideoImageProperties& properties = source.GetPixelBuffer().properties;
    destination.GetPixelBuffer().properties.fieldOrder = properties.fieldOrder == 0 ? 1 : 0;
    return parity::LineOffset(properties);
  }

  /// Pixels in groups get the kernel's mean, the others MeanDown.
  static void AverageRun(AverageKernel kernel, const std::uint8_t* upper, const std::uint8_t* lower,
                         const PackedSamples& fromSamples, std::uint8_t* to, const PackedSamples& toSamples,
                         int left, int right) {
    const auto averageSamples = [&](int first, int last) {
      const auto average = [&](std::ptrdiff_t fromAt, std::ptrdiff_t toAt) {
        to[toAt] = MeanDown(upper[fromAt], lower[fromAt]);
      };
      ForEachSample(
          first, last, [&](int x) { average(fromSamples.Luma(x), toSamples.Luma(x)); },
          [&](int x) {
            average(fromSamples.Cb(x), toSamples.Cb(x));
            average(fromSamples.Cr(x), toSamples.Cr(x));
          });
    };
    SplitRun(left, right, averageSamples, [&](int begin, int end) {
      const std::ptrdiff_t start = PixelOffset(begin);
      const int groups = (end - begin) / 4;
      parity::LineAverage::Args args{groups, upper + start, lower + start, to + start};
      kernel(args);
      averageSamples(begin + 4 * groups, end - 1);
    });
  }
};

template <class ImageIn, class ImageOut>
class ParityChangeC final : public ParityChange<Scalar, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class ParityChangeMMX final : public ParityChange<Mmx, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class ParityChangeSSE2 final : public ParityChange<Widest, ImageIn, ImageOut> {};

template <class ImageIn, class ImageOut>
class ParityChangeNEON final : public ParityChange<Widest, ImageIn, ImageOut> {};

}  // namespace kv_img
