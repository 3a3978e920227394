#include "algorithms/parity/kernels/average_lines.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::parity {
namespace {

struct InOrder {
  __m64 operator()(__m64 words) const { return words; }
};
struct Swapped {
  __m64 operator()(__m64 words) const {
    return _mm_or_si64(_mm_slli_pi16(words, 8), _mm_srli_pi16(words, 8));
  }
};

template <class Order>
void Average(LineAverage::Args& args, Order order) noexcept {
  const std::uint8_t* upper = args.upper;
  const std::uint8_t* lower = args.lower;
  std::uint8_t* to = args.destination;
  // The shift is one of words: the bit that comes from the neighbouring byte is masked away.
  const __m64 low7 = _mm_set1_pi8(0x7F);
  for (std::int32_t group = 0; group < args.groups; ++group) {
    const __m64 a = _mm_and_si64(_mm_srli_pi16(Load64(upper), 1), low7);
    const __m64 b = _mm_and_si64(_mm_srli_pi16(Load64(lower), 1), low7);
    Store64(to, order(_mm_add_pi8(a, b)));
    upper += 8;
    lower += 8;
    to += 8;
  }
  args.upper = upper;
  args.lower = lower;
  args.destination = to;
  _mm_empty();
}

}  // namespace

template <>
void AverageLines::Run<Mmx>(Args& args) noexcept {
  Average(args, InOrder());
}

template <>
void AverageLinesSwapped::Run<Mmx>(Args& args) noexcept {
  Average(args, Swapped());
}

}  // namespace kv_img::parity
