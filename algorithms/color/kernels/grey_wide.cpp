#include "algorithms/color/kernels/grey.h"
#include "algorithms/packed422/kernels/lanes_wide.h"

namespace kv_img::color {
namespace {

/// Samples in 16-bit lanes times a weight in units of 1/16384, an offset of such units added, rounded and
/// clamped.
class Scale {
 public:
  Scale(std::int32_t weight, std::int32_t offset)
      : left_(SetPair16(weight, 0)),
        right_(SetPair16(0, weight)),
        offset_(Set32(static_cast<std::uint32_t>(offset + 8192))) {}

  Vector Of(Vector samples) const {
    const Vector left = ShiftRightSigned32<14>(MultiplyAddTo32(offset_, samples, left_));
    const Vector right = ShiftRightSigned32<14>(MultiplyAddTo32(offset_, samples, right_));
    return Clamp16(Or(And(left, Set32(0xFFFF)), ShiftLeft32<16>(right)));
  }

 private:
  Vector left_;
  Vector right_;
  Vector offset_;
};

template <PackedOrder order>
void ToGrey(GreyOfLuma::Args& args) {
  const Scale scale(args.weight, -args.weight * args.black);
  Walk<GreyOfLuma::Streams, width / 2>(args, [&](const std::uint8_t* source, std::uint8_t* destination) {
    Store(destination, Narrow16To8(scale.Of(LumaLanes<order>(Load(source))),
                                   scale.Of(LumaLanes<order>(Load(source + width)))));
  });
}

template <PackedOrder order>
void ToLuma(LumaOfGrey::Args& args) {
  const Scale scale(args.weight, args.black * 16384);
  const Vector neutral = Set16(128);
  Walk<LumaOfGrey::Streams, width / 4>(args, [&](const std::uint8_t* source, std::uint8_t* destination) {
    Store(destination, JoinLanes<order>(scale.Of(Widen8To16(source)), neutral));
  });
}

}  // namespace

template <>
void GreyOfLuma::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&]<PackedOrder order>() { ToGrey<order>(args); });
}

template <>
void LumaOfGrey::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&]<PackedOrder order>() { ToLuma<order>(args); });
}

}  // namespace kv_img::color
