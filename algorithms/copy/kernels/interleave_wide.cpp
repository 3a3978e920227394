#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/packed422/lanes_wide.h"

namespace kv_img::copy {
namespace {

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
