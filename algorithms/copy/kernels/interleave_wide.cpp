#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/packed422/kernels/lanes_wide.h"

namespace kv_img::copy {
namespace {

#if KV_NEON

/// One instruction stores four registers byte by byte in turn.
template <PackedOrder order>
void InterleaveRow(Interleave::Args& args) {
  Walk<Interleave::Streams, 4>(args, [](const std::uint8_t* luma, const std::uint8_t* cb,
                                        const std::uint8_t* cr, std::uint8_t* destination) {
    const uint8x16x2_t y = vld2q_u8(luma);
    const uint8x16_t blue = vld1q_u8(cb);
    const uint8x16_t red = vld1q_u8(cr);
    const bool isLumaFirst = order == PackedOrder::LumaFirst;
    vst4q_u8(destination, isLumaFirst ? uint8x16x4_t{{y.val[0], blue, y.val[1], red}}
                                      : uint8x16x4_t{{blue, y.val[0], red, y.val[1]}});
  });
}

#else

/// A 16-bit lane takes a luma byte, a 32-bit lane the two chroma bytes of its pair.
template <PackedOrder order>
void InterleaveRow(Interleave::Args& args) {
  Walk<Interleave::Streams, width / 16>(args, [](const std::uint8_t* luma, const std::uint8_t* cb,
                                                 const std::uint8_t* cr, std::uint8_t* destination) {
    const Vector y = Widen8To16(luma);
    const Vector chroma = Or(Widen8To32(cb), ShiftLeft32<16>(Widen8To32(cr)));
    Store(destination, JoinLanes<order>(y, chroma));
  });
}

#endif

}  // namespace

template <>
void InterleaveLumaFirst::Run<Wide<level>>(Args& args) noexcept {
  InterleaveRow<PackedOrder::LumaFirst>(args);
}

template <>
void InterleaveChromaFirst::Run<Wide<level>>(Args& args) noexcept {
  InterleaveRow<PackedOrder::ChromaFirst>(args);
}

}  // namespace kv_img::copy
