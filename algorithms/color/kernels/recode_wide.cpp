#include "algorithms/color/kernels/recode.h"
#include "algorithms/packed422/kernels/lanes_wide.h"
#include "algorithms/simd/bitmap_pixels.h"

namespace kv_img::color {
namespace {

/// With luma and chroma of 2^scaleBits times their value.
template <int scaleBits>
class Converter {
 public:
  explicit Converter(const RecodingWeights& weights)
      : leftLuma_(SetPair16(weights.luma, 0)),
        rightLuma_(SetPair16(0, weights.luma)),
        chromaToLuma_(SetPair16(weights.cbToLuma, weights.crToLuma)),
        toCb_(SetPair16(weights.cbToCb, weights.crToCb)),
        toCr_(SetPair16(weights.cbToCr, weights.crToCr)),
        lumaOffset_(Offset(weights.blackOut,
                           weights.luma * weights.blackIn + 128 * (weights.cbToLuma + weights.crToLuma))),
        cbOffset_(Offset(128, 128 * (weights.cbToCb + weights.crToCb))),
        crOffset_(Offset(128, 128 * (weights.cbToCr + weights.crToCr))) {}

  Vector LeftLuma(Vector luma, Vector chroma) const { return Luma(luma, leftLuma_, chroma); }
  Vector RightLuma(Vector luma, Vector chroma) const { return Luma(luma, rightLuma_, chroma); }
  Vector Cb(Vector chroma) const { return Whole(MultiplyAddTo32(cbOffset_, chroma, toCb_)); }
  Vector Cr(Vector chroma) const { return Whole(MultiplyAddTo32(crOffset_, chroma, toCr_)); }

 private:
  /// `whole` and one half, without what the offsets of the source add.
  static Vector Offset(std::int32_t whole, std::int32_t ofSource) {
    return Set32(static_cast<std::uint32_t>((whole * 16384 + 8192 - ofSource) * (1 << scaleBits)));
  }
  static Vector Whole(Vector sum) { return ShiftRightSigned32<14 + scaleBits>(sum); }
  Vector Luma(Vector luma, Vector weights, Vector chroma) const {
    return Whole(MultiplyAddTo32(MultiplyAddTo32(lumaOffset_, luma, weights), chroma, chromaToLuma_));
  }

  Vector leftLuma_;
  Vector rightLuma_;
  Vector chromaToLuma_;
  Vector toCb_;
  Vector toCr_;
  Vector lumaOffset_;
  Vector cbOffset_;
  Vector crOffset_;
};

KV_INLINE Vector Compose(PackedOrder order, Vector left, Vector cb, Vector right, Vector cr) {
  return order == PackedOrder::LumaFirst ? Bytes(left, cb, right, cr) : Bytes(cb, left, cr, right);
}

template <PackedOrder order>
void RecodeAlone(Recode::Args& args) {
  const Converter<0> converter(args.weights);
  const PackedOrder destinationOrder = args.destinationOrder;
  WalkRow<Recode::Streams, width / 4>(
      args, [&](RowEnds /*ends*/, const std::uint8_t* source, std::uint8_t* destination) {
        const Vector packed = Load(source);
        const Vector luma = LumaLanes<order>(packed);
        const Vector chroma = ChromaLanes<order>(packed);
        Store(destination, Compose(destinationOrder, converter.LeftLuma(luma, chroma), converter.Cb(chroma),
                                   converter.RightLuma(luma, chroma), converter.Cr(chroma)));
      });
}

/// With the right pixels' chroma half way to the next pair.
template <PackedOrder order>
void RecodeLeft(Recode::Args& args) {
  const Converter<0> converter(args.weights);
  const Converter<1> twofold(args.weights);
  const PackedOrder destinationOrder = args.destinationOrder;
  WalkRow<Recode::Streams, width / 4>(
      args, [&](RowEnds ends, const std::uint8_t* source, std::uint8_t* destination) {
        const Vector packed = Load(source);
        const Vector luma = LumaLanes<order>(packed);
        const Vector own = ChromaLanes<order>(packed);
        const Vector both = Add16(own, ChromaLanes<order>(NextPairs(packed, source, ends.isLast)));
        Store(destination, Compose(destinationOrder, converter.LeftLuma(luma, own), converter.Cb(own),
                                   twofold.RightLuma(Add16(luma, luma), both), converter.Cr(own)));
      });
}

/// With four times the chroma, interpolated from its neighbours.
template <PackedOrder order>
void RecodeAmongNeighbours(Recode::Args& args) {
  const Converter<2> converter(args.weights);
  const PackedOrder destinationOrder = args.destinationOrder;
  const Upsampling upsampling = args.upsampling;
  const Shift shift = args.shift;
  WalkRow<Recode::Streams, width / 4>(args, [&](RowEnds ends, const std::uint8_t* source,
                                                std::uint8_t* destination) {
    const Vector packed = Load(source);
    const Vector luma = ShiftLeft16<2>(LumaLanes<order>(packed));
    const Vector own = ChromaLanes<order>(packed);
    const Vector before = ChromaLanes<order>(PreviousPairs(packed, source, ends.isFirst));
    const Vector next = ChromaLanes<order>(NextPairs(packed, source, ends.isLast));
    const Vector four = ShiftLeft16<2>(own);
    const Vector three = Sub16(four, own);
    const Vector towardsNext = Add16(three, next);
    const Vector towardsBefore = Add16(three, before);
    const Vector half = ShiftLeft16<1>(Add16(own, next));
    const Vector left = upsampling == Upsampling::Centre ? towardsBefore : four;
    const Vector right = upsampling == Upsampling::Centre ? towardsNext
                         : upsampling == Upsampling::Left ? half
                                                          : four;
    const Vector moved = shift == Shift::Right ? towardsNext : shift == Shift::Left ? towardsBefore : four;
    Store(destination, Compose(destinationOrder, converter.LeftLuma(luma, left), converter.Cb(moved),
                               converter.RightLuma(luma, right), converter.Cr(moved)));
  });
}

template <PackedOrder order>
void RecodePairs(Recode::Args& args) {
  if (args.shift != Shift::None || args.upsampling == Upsampling::Centre) {
    return RecodeAmongNeighbours<order>(args);
  }
  args.upsampling == Upsampling::Left ? RecodeLeft<order>(args) : RecodeAlone<order>(args);
}

}  // namespace

template <>
void Recode::Run<Wide<level>>(Args& args) noexcept {
  WithOrder(args.order, [&]<PackedOrder order>() { RecodePairs<order>(args); });
}

}  // namespace kv_img::color
