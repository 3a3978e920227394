#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithms/pixels/packed_samples.h"
#include "algorithms/scanning/viewport.h"

namespace kv_img::scanning {

/// A sample at `fraction` of the way from an upper row to the lower one.
constexpr std::uint8_t BlendRows(std::uint8_t upper, std::uint8_t lower, float fraction) {
  return static_cast<std::uint8_t>(static_cast<int>(static_cast<float>(upper) * (1.0F - fraction) +
                                                    static_cast<float>(lower) * fraction + 0.5F));
}
static_assert(BlendRows(10, 20, 0.25F) == 13 && BlendRows(255, 255, 0.3F) == 255);

/// The same of two neighbours in either row.
constexpr std::uint8_t BlendRows(std::uint8_t upper, std::uint8_t upperNext, std::uint8_t lower,
                                 std::uint8_t lowerNext, float fraction) {
  return static_cast<std::uint8_t>(static_cast<int>(static_cast<float>(upper) * (1.0F - fraction) * 0.5F +
                                                    static_cast<float>(upperNext) * (1.0F - fraction) * 0.5F +
                                                    static_cast<float>(lower) * fraction * 0.5F +
                                                    static_cast<float>(lowerNext) * fraction * 0.5F + 0.5F));
}
static_assert(BlendRows(10, 20, 30, 41, 0.5F) == 25);

/// Rows of a vertical pan.
template <class Buffer>
class VerticalPan {
 public:
  /// Fills the columns `left` to `right` of the destination from as many of the source, from `sourceLeft` on.
  VerticalPan(const Buffer& source, const Buffer& destination, int left, int right, int sourceLeft,
              float fraction)
      : from_(source.descriptor),
        to_(destination.descriptor),
        left_(left),
        right_(right),
        toSource_(sourceLeft - left),
        fraction_(fraction) {}

  /// Fills a row from two source rows.
  void FillRow(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out) const {
    const auto fillSamples = [&](int first, int last) { FillSamples(upper, lower, out, first, last); };
    if (from_ != to_) {
      fillSamples(left_, right_);
      return;
    }
    SplitRun(left_, right_, fillSamples, [&](int begin, int end) {
      const std::ptrdiff_t from = 2 * std::ptrdiff_t{begin + toSource_};
      FillPairs(upper + from, lower + from, out + 2 * std::ptrdiff_t{begin}, end - begin);
    });
  }

 private:
  static constexpr std::ptrdiff_t nextPixel = 2;
  static constexpr std::ptrdiff_t nextPair = 4;

  bool AreColumnsAlike() const { return toSource_ % 2 == 0; }

  /// Columns `first` to `last`, sample by sample.
  void FillSamples(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int first,
                   int last) const {
    const auto blend = [&](std::ptrdiff_t to, std::ptrdiff_t from) {
      out[to] = BlendRows(upper[from], lower[from], fraction_);
    };
    // Between unlike columns chroma lies between two pairs of the source: the one that holds the column, and
    // always the one right of it.
    const auto blendChroma = [&](std::ptrdiff_t to, std::ptrdiff_t from) {
      if (AreColumnsAlike()) {
        blend(to, from);
      } else {
        out[to] =
            BlendRows(upper[from], upper[from + nextPair], lower[from], lower[from + nextPair], fraction_);
      }
    };
    ForEachSample(
        first, last, [&](int x) { blend(to_.Luma(x), from_.Luma(x + toSource_)); },
        [&](int x) {
          blendChroma(to_.Cb(x), from_.Cb(x + toSource_));
          blendChroma(to_.Cr(x), from_.Cr(x + toSource_));
        });
  }

  /// The same of `pixels` that make whole pairs, between equal layouts. The rows start with the first of
  /// them, at whichever column of a pair the source has it.
  void FillPairs(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int pixels) const {
    if (AreColumnsAlike()) {
      BlendBytes(upper, lower, out, 2 * pixels, fraction_);
    } else if (from_.Luma(0) == 0) {
      BlendUnlikePixels<0>(upper, lower, out, pixels, fraction_);
    } else {
      BlendUnlikePixels<1>(upper, lower, out, pixels, fraction_);
    }
  }

  // Plain loops of their own: compilers make vectors of them.
  static void BlendBytes(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int bytes,
                         float fraction) {
    for (int i = 0; i < bytes; ++i) out[i] = BlendRows(upper[i], lower[i], fraction);
  }
  template <int lumaAt>
  static void BlendUnlikePixels(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out,
                                int pixels, float fraction) {
    // The kind of chroma that the output pixel has lies at the source pixels before and behind it.
    constexpr std::ptrdiff_t chromaAt = 1 - lumaAt;
    const std::uint8_t* upperChroma = upper - nextPixel + chromaAt;
    const std::uint8_t* lowerChroma = lower - nextPixel + chromaAt;
    for (std::ptrdiff_t i = 0; i < 2 * std::ptrdiff_t{pixels}; i += nextPixel) {
      out[i + lumaAt] = BlendRows(upper[i + lumaAt], lower[i + lumaAt], fraction);
      out[i + chromaAt] = BlendRows(upperChroma[i], upperChroma[i + nextPair], lowerChroma[i],
                                    lowerChroma[i + nextPair], fraction);
    }
  }

  PackedSamples from_;
  PackedSamples to_;
  int left_;
  int right_;
  int toSource_;
  float fraction_;
};

}  // namespace kv_img::scanning
