#include "algorithms/copy/kernels/rgb_to_yuv.h"
#include "algorithms/simd/mmx.h"

namespace kv_img::copy {
namespace {

/// The weights of one output component in words: those of the even bytes of two 32-bit pixels (blue, red) and
/// of the odd ones (green, and zero for whatever the fourth byte holds).
struct WeightWords {
  explicit WeightWords(const RgbWeights& weights)
      : blueRed(_mm_set_pi16(weights.red, weights.blue, weights.red, weights.blue)),
        green(_mm_set_pi16(0, weights.green, 0, weights.green)) {}

  __m64 blueRed;
  __m64 green;
};

struct MatrixWords {
  explicit MatrixWords(const RgbToYuvMatrix& matrix)
      : luma(matrix.luma),
        cb(matrix.cb),
        cr(matrix.cr),
        lumaOffset(_mm_set1_pi8(static_cast<char>(matrix.lumaOffset))),
        chromaOffset(_mm_set1_pi16(matrix.chromaOffset)) {}

  WeightWords luma;
  WeightWords cb;
  WeightWords cr;
  __m64 lumaOffset;
  __m64 chromaOffset;
};

/// Two 32-bit pixels, their bytes spread to words.
struct TwoPixels {
  explicit TwoPixels(__m64 pixels)
      : blueRed(_mm_and_si64(pixels, _mm_set1_pi16(0x00FF))), green(_mm_srli_pi16(pixels, 8)) {}

  __m64 blueRed;
  __m64 green;
};

/// The weighted sums of two pixels, in 32 bits each.
__m64 Weigh(const TwoPixels& pixels, const WeightWords& weights) {
  return _mm_srai_pi32(_mm_add_pi32(_mm_madd_pi16(pixels.blueRed, weights.blueRed),
                                    _mm_madd_pi16(pixels.green, weights.green)),
                       15);
}

/// The sums of cb and of cr over a pixel pair, in 32 bits each.
__m64 ChromaSums(const TwoPixels& pair, const MatrixWords& matrix) {
  return _mm_madd_pi16(_mm_packs_pi32(Weigh(pair, matrix.cb), Weigh(pair, matrix.cr)), _mm_set1_pi16(1));
}

/// Cb, Cr, Cb, Cr of two pairs, in words.
__m64 ChromaWords(const TwoPixels& first, const TwoPixels& second, const MatrixWords& matrix) {
  const __m64 sums = _mm_packs_pi32(ChromaSums(first, matrix), ChromaSums(second, matrix));
  return _mm_add_pi16(_mm_srai_pi16(sums, 1), matrix.chromaOffset);
}

__m64 LumaWords(const TwoPixels& first, const TwoPixels& second, const MatrixWords& matrix) {
  return _mm_packs_pi32(Weigh(first, matrix.luma), Weigh(second, matrix.luma));
}

/// Eight pixels of packed 4:2:2.
struct EightPixels {
  __m64 low;
  __m64 high;
};

/// From eight pixels of 32 bits, two a word.
template <PackedOrder order>
EightPixels Convert(__m64 pixels01, __m64 pixels23, __m64 pixels45, __m64 pixels67,
                    const MatrixWords& matrix) {
  const TwoPixels pair0(pixels01);
  const TwoPixels pair1(pixels23);
  const TwoPixels pair2(pixels45);
  const TwoPixels pair3(pixels67);
  const __m64 luma = _mm_adds_pu8(
      _mm_packs_pu16(LumaWords(pair0, pair1, matrix), LumaWords(pair2, pair3, matrix)), matrix.lumaOffset);
  const __m64 chroma = _mm_packs_pu16(ChromaWords(pair0, pair1, matrix), ChromaWords(pair2, pair3, matrix));
  const __m64 even = order == PackedOrder::LumaFirst ? luma : chroma;
  const __m64 odd = order == PackedOrder::LumaFirst ? chroma : luma;
  return {_mm_unpacklo_pi8(even, odd), _mm_unpackhi_pi8(even, odd)};
}

/// The first six bytes, two pixels of 24 bits, as two pixels of 32 bits with an arbitrary fourth byte.
__m64 Widen(__m64 pixels) {
  return _mm_unpacklo_pi32(pixels, _mm_srli_si64(pixels, 24));
}

template <PackedOrder order>
void ConvertDib24(RgbToYuv::Args& args) {
  RgbToYuv::Args at = args;  // no store can reach a local copy, so its pointers stay in registers
  const MatrixWords matrix(at.matrix);
  for (std::int32_t group = 0; group < at.groups; ++group) {
    // The last two pixels are taken from the upper end of a word, so that nothing past them is read.
    const EightPixels pixels =
        Convert<order>(Widen(Load64(at.source)), Widen(Load64(at.source + 6)), Widen(Load64(at.source + 12)),
                       Widen(_mm_srli_si64(Load64(at.source + 16), 16)), matrix);
    Store64(at.destination, pixels.low);
    Store64(at.destination + 8, pixels.high);
    at.source += 24;
    at.destination += 16;
  }
  args = at;
  _mm_empty();
}

/// The fourth bytes of four 32-bit pixels, in words.
__m64 AlphaWords(__m64 pixels01, __m64 pixels23) {
  return _mm_packs_pi32(_mm_srli_pi32(pixels01, 24), _mm_srli_pi32(pixels23, 24));
}

template <class Args>
concept HasAlpha = requires(Args& args) {
  args.alpha;
};

/// Two groups in a step, because eight pixels fill the words; a last odd group is paired with zeros.
template <PackedOrder order, class Args>
void ConvertDib32(Args& args) {
  Args at = args;
  const MatrixWords matrix(at.matrix);
  const __m64 zero = _mm_setzero_si64();
  for (std::int32_t step = 0; step < at.groups / 2; ++step) {
    const __m64 pixels01 = Load64(at.source);
    const __m64 pixels23 = Load64(at.source + 8);
    const __m64 pixels45 = Load64(at.source + 16);
    const __m64 pixels67 = Load64(at.source + 24);
    const EightPixels pixels = Convert<order>(pixels01, pixels23, pixels45, pixels67, matrix);
    Store64(at.destination, pixels.low);
    Store64(at.destination + 8, pixels.high);
    if constexpr (HasAlpha<Args>) {
      Store64(at.alpha, _mm_packs_pu16(AlphaWords(pixels01, pixels23), AlphaWords(pixels45, pixels67)));
      at.alpha += 8;
    }
    at.source += 32;
    at.destination += 16;
  }
  if (at.groups % 2 > 0) {
    const __m64 pixels01 = Load64(at.source);
    const __m64 pixels23 = Load64(at.source + 8);
    Store64(at.destination, Convert<order>(pixels01, pixels23, zero, zero, matrix).low);
    if constexpr (HasAlpha<Args>) {
      Store32(at.alpha, _mm_packs_pu16(AlphaWords(pixels01, pixels23), zero));
      at.alpha += 4;
    }
    at.source += 16;
    at.destination += 8;
  }
  args = at;
  _mm_empty();
}

}  // namespace

template <>
void Dib24ToYuv422::Run<Mmx>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { ConvertDib24<order>(args); });
}

template <>
void Dib32ToYuv422::Run<Mmx>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { ConvertDib32<order>(args); });
}

template <>
void Dib32ToYuva422::Run<Mmx>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { ConvertDib32<order>(args); });
}

}  // namespace kv_img::copy
