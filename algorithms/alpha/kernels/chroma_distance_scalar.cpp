#include "algorithms/alpha/kernels/chroma_distance.h"
#include "algorithms/rounding.h"

namespace kv_img::alpha {
namespace {

constexpr std::uint8_t Alpha(std::int32_t s) {
  const std::int32_t t = s < 6 ? s : 5;
  return static_cast<std::uint8_t>(255 - t * t * t);
}
static_assert(Alpha(0) == 255 && Alpha(1) == 254 && Alpha(4) == 191 && Alpha(5) == 130 && Alpha(510) == 130);

}  // namespace

template <>
void ChromaDistance::Run<Scalar>(Args& args) noexcept {
  for (std::int32_t pair = 0; pair < 2 * args.groups; ++pair) {
    const std::uint8_t* first = args.first + ChromaByte(args.order);
    const std::uint8_t* second = args.second + ChromaByte(args.order);
    const std::uint8_t alpha =
        Alpha(AbsoluteDifferenceOf(first[0], second[0]) + AbsoluteDifferenceOf(first[2], second[2]));
    args.mask[0] = alpha;
    args.mask[1] = alpha;
    args.first += 4;
    args.second += 4;
    args.mask += 2;
  }
}

}  // namespace kv_img::alpha
