#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithms/kernel_sets.h"
#include "algorithms/packed422/samples.h"
#include "algorithms/rounding.h"
#include "algorithms/scanning/kernels/pan_row.h"
#include "algorithms/scanning/viewport.h"
#include "frame/member_name.h"
#include "image/image.h"

namespace kv_img::scanning {

/// Luma by the fixed-point rule: sums of two rows at a pixel and its right neighbour, and the neighbour's
/// weight in units of 2^-24 (up to one half, as each sum is of two samples).
constexpr std::uint8_t BlendLuma(std::uint32_t leftSum, std::uint32_t rightSum, std::uint32_t rightWeight) {
  return static_cast<std::uint8_t>((leftSum * (0x800000U - rightWeight) + rightSum * rightWeight) >> 24);
}
static_assert(BlendLuma(510, 510, 0x3FFFFF) == 255 && BlendLuma(5, 0, 0) == 2 &&
              BlendLuma(4, 8, 0x400000) == 3);

/// Samples of two rows, left and right of the output's position.
struct Neighbours {
  std::uint8_t upperLeft;
  std::uint8_t upperRight;
  std::uint8_t lowerLeft;
  std::uint8_t lowerRight;
};

/// Chroma at `fraction` (0 to 1) of the way from left to right.
constexpr std::uint8_t BlendChroma(const Neighbours& chroma, float fraction) {
  const float right = fraction * 0.5F;
  const float left = (1.0F - fraction) * 0.5F;
  return RoundHalfUp(
      static_cast<float>(chroma.upperRight) * right + static_cast<float>(chroma.upperLeft) * left +
      static_cast<float>(chroma.lowerLeft) * left + static_cast<float>(chroma.lowerRight) * right);
}
static_assert(BlendChroma({10, 20, 30, 40}, 0.25F) == 23 && BlendChroma({255, 255, 255, 255}, 0.7F) == 255);

/// Luma of an odd first pixel.
constexpr std::uint8_t BlendFirstLuma(int leftSum, int rightSum, float fraction) {
  return RoundHalfUp(static_cast<float>(leftSum) * (1.0F - fraction) * 0.5F +
                     static_cast<float>(rightSum) * fraction * 0.5F);
}
static_assert(BlendFirstLuma(5, 0, 0.0F) == 3 && BlendFirstLuma(510, 510, 0.3F) == 255);

/// Rows of a horizontal pan. Groups, pairs and the pixels at both ends have different roundings, and shifted
/// chroma has two weightings: one row mixes them, on purpose.
template <class Set, class Buffer>
class HorizontalPan {
 public:
  /// Fills the columns `left` to `right` of the destination from a viewport of the source.
  HorizontalPan(const Buffer& source, const Buffer& destination, int left, int right, ViewportStart viewport)
      : from_(source.descriptor),
        to_(destination.descriptor),
        left_(left),
        right_(right),
        toSource_(viewport.whole - left),
        fraction_(viewport.fraction),
        rightWeight_(static_cast<std::uint32_t>(static_cast<int>(viewport.fraction * 0.5F * 16777216.0F))),
        kernel_(KernelFor(source.descriptor.GetLayout(), destination.descriptor.GetLayout())) {}

  /// Fills a row from two source rows. Refuses layouts that are not both 4097 or both 4098, but only once an
  /// odd first pixel has been written.
  void FillRow(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out) const {
    int x = left_;
    if (x % 2 != 0) {
      FillFirstPixel(upper, lower, out, x);
      ++x;
    }
    if (kernel_ == nullptr) Refuse<Set>(4, L"Scanning");

    // Counted from the region's first column, even after an odd first pixel.
    const int groups = (right_ - left_ - 2) / 4;
    if (groups > 0) {
      const std::ptrdiff_t start = PixelOffset(x + toSource_);
      RowPan::Args args{groups,
                        upper + start,
                        lower + start,
                        out + PixelOffset(x),
                        static_cast<std::uint16_t>((0x800000U - rightWeight_) >> 8),
                        static_cast<std::uint16_t>(rightWeight_ >> 8)};
      kernel_(args);
      x += 4 * groups;
    }
    for (; x + 1 < right_; x += 2) {
      FillLuma(upper, lower, out, x);
      FillLuma(upper, lower, out, x + 1);
      FillChroma(upper, lower, out, x);
    }
    if (x > right_) return;
    // The last pixel or pair: its last luma and its chroma are not interpolated with what is right of them.
    if (x < right_) FillLuma(upper, lower, out, x);
    const std::ptrdiff_t luma = from_.Luma(right_ + toSource_);
    out[to_.Luma(right_)] = MeanDown(upper[luma], lower[luma]);
    AverageChroma(upper, lower, out, x, MeanDown);
  }

 private:
  using Kernel = void (*)(RowPan::Args&) noexcept;

  /// Source and destination columns have different parity: the chroma of a source pixel is of the other kind.
  bool IsShifted() const { return toSource_ % 2 != 0; }

  /// Null for layouts without a kernel.
  Kernel KernelFor(std::int32_t source, std::int32_t destination) const {
    if (source != destination || !IsKnownOrder(source)) return nullptr;
    if (OrderOf(source) == PackedOrder::ChromaFirst) {
      return IsShifted() ? &Set::template Run<PanChromaFirstShifted> : &Set::template Run<PanChromaFirst>;
    }
    return IsShifted() ? &Set::template Run<PanLumaFirstShifted> : &Set::template Run<PanLumaFirst>;
  }

  void FillFirstPixel(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int x) const {
    const std::ptrdiff_t left = from_.Luma(x + toSource_);
    const std::ptrdiff_t right = from_.Luma(x + toSource_ + 1);
    out[to_.Luma(x)] = BlendFirstLuma(upper[left] + lower[left], upper[right] + lower[right], fraction_);
    if (IsShifted()) {
      AverageChroma(upper, lower, out, x, MeanUp);
    } else {
      InterpolateChroma(upper, lower, out, x, fraction_);
    }
  }

  void FillLuma(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int x) const {
    const auto sum = [&](int column) {
      const std::ptrdiff_t luma = from_.Luma(column);
      return static_cast<std::uint32_t>(upper[luma] + lower[luma]);
    };
    out[to_.Luma(x)] = BlendLuma(sum(x + toSource_), sum(x + toSource_ + 1), rightWeight_);
  }

  void FillChroma(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int x) const {
    if (IsShifted()) {
      InterpolateChroma(upper, lower, out, x, fraction_ * 0.5F + 0.5F);
    } else {
      AverageChroma(upper, lower, out, x, MeanDown);
    }
  }

  /// From the chroma of the source pair of pixel x and of the pair right of it.
  void InterpolateChroma(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int x,
                         float fraction) const {
    const auto interpolate = [&](std::ptrdiff_t left, std::ptrdiff_t right) {
      return BlendChroma({upper[left], upper[right], lower[left], lower[right]}, fraction);
    };
    const int source = x + toSource_;
    out[to_.Cb(x)] = interpolate(from_.Cb(source), from_.Cb(source + 2));
    out[to_.Cr(x)] = interpolate(from_.Cr(source), from_.Cr(source + 2));
  }

  template <class Average>
  void AverageChroma(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int x,
                     Average average) const {
    const std::ptrdiff_t cb = from_.Cb(x + toSource_);
    const std::ptrdiff_t cr = from_.Cr(x + toSource_);
    out[to_.Cb(x)] = average(upper[cb], lower[cb]);
    out[to_.Cr(x)] = average(upper[cr], lower[cr]);
  }

  PackedSamples from_;
  PackedSamples to_;
  int left_;
  int right_;
  int toSource_;
  float fraction_;
  std::uint32_t rightWeight_;
  Kernel kernel_;
};

}  // namespace kv_img::scanning
