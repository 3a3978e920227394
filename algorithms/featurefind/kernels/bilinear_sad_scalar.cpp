#include "algorithms/featurefind/kernels/bilinear_sad.h"
#include "algorithms/rounding.h"

namespace kv_img::featurefind {

template <>
void BilinearSad::Run<Scalar>(Args& args) noexcept {
  const std::uint8_t* reference = args.reference;
  const std::uint8_t* top = args.searched;
  std::uint32_t sum = args.sum;
  for (std::int32_t row = 0; row < args.rows; ++row) {
    const std::uint8_t* bottom = top + args.searchedStride;
    for (std::int32_t column = 0; column < args.columns; ++column) {
      const std::uint8_t* a = top + column;
      const std::uint8_t* b = bottom + column;
      const int sample = column < args.truncatedColumns
                             ? InterpolateTruncated(a[0], a[1], b[0], b[1], args.weights)
                             : InterpolateRounded(a[0], a[1], b[0], b[1], args.weights);
      sum += static_cast<std::uint32_t>(AbsoluteDifferenceOf(reference[column], sample));
    }
    reference += args.referenceStride;
    top = bottom;
  }
  args.reference = reference;
  args.searched = top;
  args.sum = sum;
}

}  // namespace kv_img::featurefind
