#define KV_HALF_REGISTERS
#include "algorithms/copy/kernels/regroup_pairs.h"
#include "algorithms/packed422/kernels/lanes_wide.h"

namespace kv_img::copy {
namespace {

template <PackedOrder from, PackedOrder to>
void Regroup(RegroupPairs::Args& args) {
  Walk<RegroupPairs::Streams, width / 8>(args, [](const std::uint8_t* source, std::uint8_t* destination) {
    const Vector pixels = Load(source);
    const Vector next = Load(source + 2);
    const Vector luma = LumaLanes<from>(pixels);
    const Vector chroma = ChromaLanes<from>(next);
    Store(destination, JoinLanes<to>(luma, chroma));
  });
}

}  // namespace

template <>
void RegroupPairs::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.sourceOrder, [&args]<PackedOrder from>() {
    WithOrder(args.destinationOrder, [&args]<PackedOrder to>() { Regroup<from, to>(args); });
  });
}

}  // namespace kv_img::copy
