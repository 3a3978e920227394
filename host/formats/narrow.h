#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace kv_host {

/// How samples of more than 8 bits become 8. A step is what one of 8 bits is of them: 4 of 10 bits.
enum class Dither {
  None,     ///< The nearest, halves up.
  Ordered,  ///< With 0 2 quarters of a step added in even rows, 3 1 in odd ones, and cut.
};

/// A sample of 8 to 16 bits as 8, that of row `y` in column `x` of its plane; 255 at most.
constexpr std::uint8_t Narrow(unsigned sample, unsigned bits, std::size_t x, int y, Dither dither) {
  constexpr std::array<unsigned, 4> quarters = {0, 2, 3, 1};
  const unsigned shift = bits - 8;
  const unsigned added =
      dither == Dither::None ? 2 : quarters[2U * (static_cast<unsigned>(y) & 1U) + (x & 1U)];
  return static_cast<std::uint8_t>(std::min(255U, (sample + ((added << shift) >> 2U)) >> shift));
}
static_assert(Narrow(77, 8, 0, 1, Dither::Ordered) == 77 && Narrow(3, 9, 0, 0, Dither::None) == 2 &&
              Narrow(3, 9, 0, 0, Dither::Ordered) == 1 && Narrow(1022, 10, 0, 0, Dither::None) == 255);

}  // namespace kv_host
