#pragma once

#include <cstddef>
#include <cstdint>

#include "algorithms/kernel_sets.h"
#include "algorithms/packed422/runs.h"
#include "algorithms/scanning/kernels/blend_rows.h"
#include "algorithms/scanning/viewport.h"

namespace kv_img::scanning {

/// Rows of a vertical pan.
template <class Set, class Buffer>
class VerticalPan {
 public:
  /// Fills the columns `left` to `right` of the destination from the same number of source columns, starting
  /// at `sourceLeft`.
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
      const std::ptrdiff_t from = PixelOffset(begin + toSource_);
      RowBlend::Args args{(end - begin) / 4, upper + from, lower + from, out + PixelOffset(begin), fraction_};
      FillGroups(args);
      fillSamples(begin + (end - begin) / 4 * 4, end - 1);
    });
  }

 private:
  bool AreColumnsAlike() const { return toSource_ % 2 == 0; }

  /// Columns `first` to `last`, sample by sample.
  void FillSamples(const std::uint8_t* upper, const std::uint8_t* lower, std::uint8_t* out, int first,
                   int last) const {
    const auto blend = [&](std::ptrdiff_t to, std::ptrdiff_t from) {
      out[to] = BlendRows(upper[from], lower[from], fraction_);
    };
    // Between unlike columns chroma is between two pairs of the source: the pair of the column, and always
    // the one right of it.
    const auto blendChroma = [&](std::ptrdiff_t to, std::ptrdiff_t from, std::ptrdiff_t next) {
      if (AreColumnsAlike()) {
        blend(to, from);
      } else {
        out[to] = BlendRows(upper[from], upper[next], lower[from], lower[next], fraction_);
      }
    };
    ForEachSample(
        first, last, [&](int x) { blend(to_.Luma(x), from_.Luma(x + toSource_)); },
        [&](int x) {
          const int source = x + toSource_;
          blendChroma(to_.Cb(x), from_.Cb(source), from_.Cb(source + 2));
          blendChroma(to_.Cr(x), from_.Cr(source), from_.Cr(source + 2));
        });
  }

  /// The same for groups of four pixels, between equal layouts.
  void FillGroups(RowBlend::Args& args) const {
    if (AreColumnsAlike()) {
      Set::template Run<BlendAligned>(args);
    } else if (from_.Luma(0) == 0) {
      Set::template Run<BlendLumaFirstShifted>(args);
    } else {
      Set::template Run<BlendChromaFirstShifted>(args);
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
