#include "algorithms/scanning/kernels/blend_rows_plain.h"

namespace kv_img::scanning {

template <>
void BlendAligned::Run<Mmx>(Args& args) noexcept {
  BlendInPlace(args);
}

template <>
void BlendLumaFirstShifted::Run<Mmx>(Args& args) noexcept {
  BlendShifted<PackedOrder::LumaFirst>(args);
}

template <>
void BlendChromaFirstShifted::Run<Mmx>(Args& args) noexcept {
  BlendShifted<PackedOrder::ChromaFirst>(args);
}

}  // namespace kv_img::scanning
