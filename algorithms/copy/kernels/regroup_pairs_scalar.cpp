#include "algorithms/copy/kernels/regroup_pairs.h"

namespace kv_img::copy {

template <>
void RegroupPairs::Run<Scalar>(Args& args) noexcept {
  const int fromLuma = LumaByte(args.sourceOrder);
  const int fromChroma = ChromaByte(args.sourceOrder);
  const int toLuma = LumaByte(args.destinationOrder);
  const int toChroma = ChromaByte(args.destinationOrder);
  const std::uint8_t* from = args.source;
  std::uint8_t* to = args.destination;
  for (std::int32_t pixel = 0; pixel < 4 * args.groups; ++pixel) {
    const std::uint8_t* next = from + 2;
    to[toLuma] = from[fromLuma];
    to[toChroma] = next[fromChroma];
    from += 2;
    to += 2;
  }
  args.source = from;
  args.destination = to;
}

}  // namespace kv_img::copy
