#include "algorithms/arithmetic/kernels/replace_row.h"
#include "algorithms/simd/wide.h"

namespace kv_img::arithmetic::wide {

template <>
void ReplaceRow<level>(ReplaceRowArgs& args) noexcept {
  auto* sumBytes = reinterpret_cast<std::uint8_t*>(args.sums);
  Walk<width / 16>(
      args.groups,
      [](const std::uint8_t* entering, const std::uint8_t* leaving, std::uint8_t* sums) {
        Store(sums, Add16(Load(sums), Sub16(Widen8To16(entering), Widen8To16(leaving))));
      },
      In<8>{args.entering}, In<8>{args.leaving}, InOut<16>{sumBytes});
  args.sums = reinterpret_cast<std::uint16_t*>(sumBytes);
}

}  // namespace kv_img::arithmetic::wide
