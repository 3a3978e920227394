#include "run/parity_methods.h"

#include <algorithm>

namespace kv_run {

void ShiftLines(PlaneRows<const std::uint8_t> from, PlaneRows<std::uint8_t> to, std::size_t rowBytes,
                int height, int first, int last, LineShift shift) {
  const int offset = shift == LineShift::Down ? -1 : 1;
  for (int y = first; y <= last; ++y) {
    std::copy_n(from.Row(std::clamp(y + offset, 0, height - 1)), rowBytes, to.Row(y));
  }
}

void InterpolateFields(PlaneRows<const std::uint8_t> from, PlaneRows<std::uint8_t> to, std::size_t rowBytes,
                       int height, int first, int last) {
  for (int y = first; y <= last; ++y) {
    const int above = y > 0 ? y - 1 : std::min(1, height - 1);
    const int below = y + 1 < height ? y + 1 : std::max(y - 1, 0);
    const std::uint8_t* a = from.Row(above);
    const std::uint8_t* b = from.Row(below);
    std::uint8_t* out = to.Row(y);
    for (std::size_t x = 0; x < rowBytes; ++x) out[x] = static_cast<std::uint8_t>((a[x] + b[x] + 1) >> 1);
  }
}

}  // namespace kv_run
