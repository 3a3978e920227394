#include "algorithms/featurefind/kernels/block_sad.h"

namespace kv_img::featurefind::scalar {

void BlockSad(BlockSadArgs& args) noexcept {
  const std::uint8_t* reference = args.reference;
  const std::uint8_t* searched = args.searched;
  std::uint32_t sum = args.sum;
  for (std::int32_t row = 0; row < args.rows; ++row) {
    for (std::int32_t column = 0; column < args.columns; ++column) {
      const int difference = reference[column] - searched[column];
      sum += static_cast<std::uint32_t>(difference < 0 ? -difference : difference);
    }
    reference += args.referenceStride;
    searched += args.searchedStride;
  }
  args.reference = reference;
  args.searched = searched;
  args.sum = sum;
}

}  // namespace kv_img::featurefind::scalar
