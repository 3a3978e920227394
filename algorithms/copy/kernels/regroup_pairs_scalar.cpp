#include "algorithms/copy/kernels/regroup_pairs.h"

namespace kv_img::copy {
namespace {

/// Where the luma byte of a two-byte pixel lies; the other one is chroma.
int LumaOf(PackedOrder order) {
  return order == PackedOrder::LumaFirst ? 0 : 1;
}

}  // namespace

template <>
void RegroupPairs::Run<Scalar>(Args& args) noexcept {
  const int fromLuma = LumaOf(args.sourceOrder);
  const int toLuma = LumaOf(args.destinationOrder);
  const std::uint8_t* from = args.source;
  std::uint8_t* to = args.destination;
  for (std::int32_t pixel = 0; pixel < 4 * args.groups; ++pixel) {
    const std::uint8_t* next = from + 2;
    to[toLuma] = from[fromLuma];
    to[1 - toLuma] = next[1 - fromLuma];
    from += 2;
    to += 2;
  }
  args.source = from;
  args.destination = to;
}

}  // namespace kv_img::copy
