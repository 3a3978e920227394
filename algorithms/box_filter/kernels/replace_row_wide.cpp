#include "algorithms/box_filter/kernels/replace_row.h"
#include "algorithms/simd/wide.h"

namespace kv_img::box_filter::wide {

template <>
void ReplaceRow<level>(ReplaceRowArgs& args) noexcept {
  auto* firstBytes = reinterpret_cast<std::uint8_t*>(args.first);
  auto* secondBytes = reinterpret_cast<std::uint8_t*>(args.second);
  WalkPlaces<width / 8>(
      args.groups,
      [](const std::uint8_t* enteringBytes, const std::uint8_t* leavingBytes, std::uint8_t* first,
         std::uint8_t* second) {
        const Vector entering = Load(enteringBytes);
        const Vector leaving = Load(leavingBytes);
        Store(first, Add16(Load(first), Sub16(LowerBytes16(entering), LowerBytes16(leaving))));
        Store(second, Add16(Load(second), Sub16(UpperBytes16(entering), UpperBytes16(leaving))));
      },
      Reading<8>{args.entering}, Reading<8>{args.leaving}, Writing<8, true>{firstBytes}, Writing<8, true>{secondBytes});
  args.first = reinterpret_cast<std::uint16_t*>(firstBytes);
  args.second = reinterpret_cast<std::uint16_t*>(secondBytes);
}

}  // namespace kv_img::box_filter::wide
