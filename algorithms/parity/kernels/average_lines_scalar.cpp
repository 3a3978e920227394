#include "algorithms/parity/kernels/average_lines.h"
#include "algorithms/rounding.h"

namespace kv_img::parity {
namespace {

template <int swap>
void Average(LineAverage::Args& args) noexcept {
  const std::uint8_t* upper = args.upper;
  const std::uint8_t* lower = args.lower;
  std::uint8_t* to = args.destination;
  for (std::int32_t word = 0; word < 4 * args.groups; ++word) {
    to[0] = HalvedMean(upper[swap], lower[swap]);
    to[1] = HalvedMean(upper[1 - swap], lower[1 - swap]);
    upper += 2;
    lower += 2;
    to += 2;
  }
  args.upper = upper;
  args.lower = lower;
  args.destination = to;
}

}  // namespace

template <>
void AverageLines::Run<Scalar>(Args& args) noexcept {
  Average<0>(args);
}

template <>
void AverageLinesSwapped::Run<Scalar>(Args& args) noexcept {
  Average<1>(args);
}

}  // namespace kv_img::parity
