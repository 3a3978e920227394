#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/rounding.h"

namespace kv_img::featurefind {

template <>
void BlockSad::Run<Scalar>(Args& args) noexcept {
  for (std::int32_t position = 0; position < args.positions; ++position) {
    const std::uint8_t* reference = args.reference;
    const std::uint8_t* searched = args.searched + position;
    std::uint32_t sum = args.addsToSums ? args.sums[position] : 0;
    for (std::int32_t row = 0; row < args.rows; ++row) {
      for (std::int32_t column = 0; column < args.columns; ++column) {
        sum += static_cast<std::uint32_t>(AbsoluteDifferenceOf(reference[column], searched[column]));
      }
      reference += args.referenceStride;
      searched += args.searchedStride;
    }
    args.sums[position] = sum;
  }
  args.reference += args.rows * args.referenceStride;
  args.searched += args.rows * args.searchedStride;
}

}  // namespace kv_img::featurefind
