#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/rounding.h"

namespace kv_img::featurefind {
namespace {

std::uint32_t SumAt(const BlockSad::Args& args, const std::uint8_t* searched) {
  const std::uint8_t* reference = args.reference;
  std::uint32_t sum = 0;
  for (std::int32_t row = 0; row < args.rows; ++row) {
    for (std::int32_t column = 0; column < args.columns; ++column) {
      sum += static_cast<std::uint32_t>(AbsoluteDifferenceOf(reference[column], searched[column]));
    }
    reference += args.referenceStride;
    searched += args.searchedStride;
  }
  return sum;
}

}  // namespace

template <>
void BlockSad::Run<Scalar>(Args& args) noexcept {
  std::uint32_t* sum = args.sums;
  for (std::int32_t row = 0; row < args.positionRows; ++row) {
    for (std::int32_t position = 0; position < args.positions; ++position, ++sum)
      *sum = (args.addsToSums ? *sum : 0) + SumAt(args, args.searched + row * args.searchedStride + position);
  }
  args.reference += args.rows * args.referenceStride;
  args.searched += args.rows * args.searchedStride;
}

}  // namespace kv_img::featurefind
