#define KV_HALF_REGISTERS
#include "algorithms/copy/kernels/regroup_pairs.h"
#include "algorithms/simd/wide.h"

namespace kv_img::copy {
namespace {

template <bool fromLumaFirst, bool toLumaFirst>
void Regroup(RegroupPairs::Args& args) {
  Walk<RegroupPairs::Streams, width / 8>(args, [](const std::uint8_t* source, std::uint8_t* destination) {
    const Vector pixels = Load(source);
    const Vector next = Load(source + 2);
    const Vector luma = fromLumaFirst ? LowerBytes16(pixels) : UpperBytes16(pixels);
    const Vector chroma = fromLumaFirst ? UpperBytes16(next) : LowerBytes16(next);
    Store(destination, toLumaFirst ? Or(luma, ShiftLeft16<8>(chroma)) : Or(ShiftLeft16<8>(luma), chroma));
  });
}

}  // namespace

template <>
void RegroupPairs::Run<Wide<level>>(Args& args) noexcept {
  const bool toLumaFirst = args.destinationOrder == PackedOrder::LumaFirst;
  if (args.sourceOrder == PackedOrder::LumaFirst) {
    toLumaFirst ? Regroup<true, true>(args) : Regroup<true, false>(args);
  } else {
    toLumaFirst ? Regroup<false, true>(args) : Regroup<false, false>(args);
  }
}

}  // namespace kv_img::copy
