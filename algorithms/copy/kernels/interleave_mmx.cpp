#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::copy {
namespace {

template <PackedOrder order>
void InterleaveRow(Interleave::Args& args) {
  Interleave::Args at = args;  // no store can reach a local copy, so its pointers stay in registers
  for (std::int32_t group = 0; group < at.groups; ++group) {
    const __m64 luma = Load64(at.luma);
    const __m64 chroma = _mm_unpacklo_pi8(Load32(at.cb), Load32(at.cr));
    const __m64 even = order == PackedOrder::LumaFirst ? luma : chroma;
    const __m64 odd = order == PackedOrder::LumaFirst ? chroma : luma;
    Store64(at.destination, _mm_unpacklo_pi8(even, odd));
    Store64(at.destination + 8, _mm_unpackhi_pi8(even, odd));
    at.luma += 8;
    at.cb += 4;
    at.cr += 4;
    at.destination += 16;
  }
  args = at;
  _mm_empty();
}

}  // namespace

template <>
void InterleaveLumaFirst::Run<Mmx>(Args& args) noexcept {
  InterleaveRow<PackedOrder::LumaFirst>(args);
}

template <>
void InterleaveChromaFirst::Run<Mmx>(Args& args) noexcept {
  InterleaveRow<PackedOrder::ChromaFirst>(args);
}

}  // namespace kv_img::copy
