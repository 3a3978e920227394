#define KV_HALF_REGISTERS
#include "algorithms/arithmetic/kernels/luma_difference.h"
#include "algorithms/packed422/kernels/lanes_wide.h"

namespace kv_img::arithmetic {
namespace {

template <PackedOrder order>
void Differences(LumaDifference::Args& args) {
  Walk<LumaDifference::Streams, width / 4>(
      args, [](const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* destination) {
        // Both stay in the lane order of a pack; their difference is reordered once.
        const auto luma = [](const std::uint8_t* packed) {
          const Vector a = Load(packed);
          const Vector b = Load(packed + width);
          return KV_SIMD(packus_epi16)(LumaLanes<order>(a), LumaLanes<order>(b));
        };
        Store(destination, OrderOfPack(AbsoluteDifferenceU8(luma(first), luma(second))));
      });
}

}  // namespace

template <>
void LumaDifference::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { Differences<order>(args); });
}

}  // namespace kv_img::arithmetic
