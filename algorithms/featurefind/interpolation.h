#pragma once

#include <cmath>
#include <cstdint>

#include "algorithms/featurefind/kernels/bilinear_sad.h"
#include "algorithms/featurefind/patch.h"

namespace kv_img::featurefind {

/// The fractions of a position, right of and below its whole pixel.
struct Fractions {
  double right;
  double down;

  Fractions(double x, double y) : right(x - std::floor(x)), down(y - std::floor(y)) {}
};

/// The sum of absolute differences of a patch and samples interpolated between those of an image. Specialised
/// for the formats: `Sum(patch, searched, stride, fractions, limit)` compares with the block at `searched`,
/// rows `stride` bytes apart. May stop at a sum that reaches `limit`.
template <class Set, class ImageType>
struct InterpolatedSad;

/// 4:2:2: integer weights. Columns in groups of four are truncated term by term, the last four to seven are
/// rounded: both are the rule.
template <class Set>
struct InterpolatedSad<Set, Image<PixelYUV422>> {
  static constexpr int TruncatedColumns(int width) { return width > 3 ? (width / 4 - 1) * 4 : 0; }
  static_assert(TruncatedColumns(3) == 0 && TruncatedColumns(7) == 0 && TruncatedColumns(8) == 4);

  static std::uint32_t Sum(const Patch& patch, const std::uint8_t* searched, std::ptrdiff_t stride,
                           const Fractions& at, std::uint64_t limit) {
    const auto weight = [](double part) {
      return static_cast<std::uint16_t>(static_cast<int>(part * 65535));
    };
    const auto width = static_cast<std::int32_t>(patch.Width());
    BilinearSad::Args args{};
    args.columns = width;
    args.truncatedColumns = TruncatedColumns(width);
    args.reference = patch.Samples().At(0, 0);
    args.referenceStride = patch.Samples().Stride();
    args.searched = searched;
    args.searchedStride = stride;
    args.weights = {weight((1 - at.right) * (1 - at.down)), weight(at.right * (1 - at.down)),
                    weight((1 - at.right) * at.down), weight(at.right * at.down)};
    return SumOfRows<Set, BilinearSad>(args, static_cast<std::int32_t>(patch.Height()), limit);
  }
};

/// Bitmaps: double precision, terms added in the order written.
template <class Set, class PixelClass>
struct InterpolatedSad<Set, Image<PixelClass>> {
  static std::uint32_t Sum(const Patch& patch, const std::uint8_t* searched, std::ptrdiff_t stride,
                           const Fractions& at, std::uint64_t limit) {
    const double topLeft = (1 - at.right) * (1 - at.down);
    const double topRight = at.right * (1 - at.down);
    const double bottomLeft = (1 - at.right) * at.down;
    const double bottomRight = at.right * at.down;
    std::uint32_t sum = 0;
    for (std::int64_t row = 0; row < patch.Height() && sum < limit; ++row) {
      const std::uint8_t* reference = patch.Samples().At(0, row);
      const std::uint8_t* top = searched + row * stride;
      const std::uint8_t* bottom = top + stride;
      for (std::int64_t column = 0; column < patch.Width(); ++column) {
        const int sample = static_cast<int>(bottom[column + 1] * bottomRight + bottom[column] * bottomLeft +
                                            top[column + 1] * topRight + top[column] * topLeft + 0.5);
        sum += static_cast<std::uint32_t>(AbsoluteDifferenceOf(reference[column], sample));
      }
    }
    return sum;
  }
};

}  // namespace kv_img::featurefind
