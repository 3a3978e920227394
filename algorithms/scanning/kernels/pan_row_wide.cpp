#include "algorithms/packed422/kernels/lanes_wide.h"
#include "algorithms/scanning/kernels/pan_row.h"

namespace kv_img::scanning {
namespace {

/// Samples of both rows at one place, blended with one weight; as the upper bytes of 16-bit lanes.
KV_INLINE Vector Weigh(Vector upper, Vector lower, Vector weight) {
  return Add16(MultiplyHighU16(upper, weight), MultiplyHighU16(lower, weight));
}

/// The byte of every 16-bit lane, as its upper byte.
template <int byte>
KV_INLINE Vector Raise(Vector pixels) {
  return byte == 0 ? ShiftLeft16<8>(pixels) : AndNot(Set16(0xFF), pixels);
}

template <class Record, PackedOrder order>
void Pan(RowPan::Args& args) {
  constexpr int lumaAt = LumaByte(order);
  constexpr int chromaAt = ChromaByte(order);
  constexpr bool isShifted = std::is_same_v<Record, ShiftedRowPan>;
  const Vector leftWeight = Set16(args.leftWeight);
  const Vector rightWeight = Set16(args.rightWeight);
  Walk<typename Record::Streams, width / 8>(
      args, [leftWeight, rightWeight](const std::uint8_t* upper, const std::uint8_t* lower,
                                      std::uint8_t* destination) {
        const Vector upperHere = Load(upper);
        const Vector lowerHere = Load(lower);
        const Vector upperNext = Load(upper + 2);
        const Vector lowerNext = Load(lower + 2);
        const Vector luma = Add16(Weigh(Raise<lumaAt>(upperHere), Raise<lumaAt>(lowerHere), leftWeight),
                                  Weigh(Raise<lumaAt>(upperNext), Raise<lumaAt>(lowerNext), rightWeight));
        Vector chroma;  // as the lower bytes, or with a fraction as the upper ones
        if constexpr (isShifted) {
          chroma = UpperBytes16(
              Add16(Weigh(Raise<chromaAt>(Load(upper - 2)), Raise<chromaAt>(Load(lower - 2)), leftWeight),
                    Weigh(Raise<chromaAt>(upperNext), Raise<chromaAt>(lowerNext), rightWeight)));
        } else {
          chroma = ShiftRight16<1>(Add16(ChromaLanes<order>(upperHere), ChromaLanes<order>(lowerHere)));
        }
        Store(destination, order == PackedOrder::LumaFirst ? Or(UpperBytes16(luma), ShiftLeft16<8>(chroma))
                                                           : Or(AndNot(Set16(0xFF), luma), chroma));
      });
}

}  // namespace

template <>
void PanChromaFirst::Run<Wide<level>>(Args& args) noexcept {
  Pan<AlignedRowPan, PackedOrder::ChromaFirst>(args);
}

template <>
void PanChromaFirstShifted::Run<Wide<level>>(Args& args) noexcept {
  Pan<ShiftedRowPan, PackedOrder::ChromaFirst>(args);
}

template <>
void PanLumaFirst::Run<Wide<level>>(Args& args) noexcept {
  Pan<AlignedRowPan, PackedOrder::LumaFirst>(args);
}

template <>
void PanLumaFirstShifted::Run<Wide<level>>(Args& args) noexcept {
  Pan<ShiftedRowPan, PackedOrder::LumaFirst>(args);
}

}  // namespace kv_img::scanning
