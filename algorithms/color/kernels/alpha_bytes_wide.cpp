#include "algorithms/color/kernels/alpha_bytes.h"
#include "algorithms/simd/wide.h"

namespace kv_img::color {

template <>
void TakeAlpha::Run<Wide<level>>(Args& args) noexcept {
  Walk<Streams, width / 4>(args, [](const std::uint8_t* source, std::uint8_t* destination) {
    const auto alpha = [source](int part) { return ShiftRight32<24>(Load(source + part * width)); };
    Store(destination, Narrow16To8(Narrow32To16(alpha(0), alpha(1)), Narrow32To16(alpha(2), alpha(3))));
  });
}

template <>
void PutAlpha::Run<Wide<level>>(Args& args) noexcept {
  Walk<Streams, width / 16>(args, [](const std::uint8_t* source, std::uint8_t* destination) {
    Store(destination, Or(And(Load(destination), Set32(0x00FFFFFF)), ShiftLeft32<24>(Widen8To32(source))));
  });
}

}  // namespace kv_img::color
