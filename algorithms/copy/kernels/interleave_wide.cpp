#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/simd/wide.h"

namespace kv_img::copy::wide {
namespace {

/// A 16-bit lane takes a luma byte, a 32-bit lane the two chroma bytes of its pair.
template <bool isLumaFirst>
void Interleave(InterleaveArgs& args) {
  Walk<width / 16>(
      args.groups,
      [](const std::uint8_t* luma, const std::uint8_t* cb, const std::uint8_t* cr,
         std::uint8_t* destination) {
        const Vector y = Widen8To16(luma);
        const Vector chroma = Or(Widen8To32(cb), ShiftLeft32<16>(Widen8To32(cr)));
        Store(destination, isLumaFirst ? Or(y, ShiftLeft16<8>(chroma)) : Or(ShiftLeft16<8>(y), chroma));
      },
      In<8>{args.luma}, In<4>{args.cb}, In<4>{args.cr}, Out<16>{args.destination});
}

}  // namespace

template <>
void InterleaveLumaFirst<level>(InterleaveArgs& args) noexcept {
  Interleave<true>(args);
}

template <>
void InterleaveChromaFirst<level>(InterleaveArgs& args) noexcept {
  Interleave<false>(args);
}

}  // namespace kv_img::copy::wide
