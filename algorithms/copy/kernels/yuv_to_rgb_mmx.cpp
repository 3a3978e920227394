#include "algorithms/copy/kernels/yuv_to_rgb.h"
#include "algorithms/packed422/kernels/lanes_mmx.h"

namespace kv_img::copy {
namespace {

/// The matrix in words, those of chroma in the order Cb, Cr, Cb, Cr.
struct MatrixWords {
  explicit MatrixWords(const YuvToRgbMatrix& matrix)
      : luma(_mm_set1_pi16(matrix.luma)),
        blueRed(_mm_set_pi16(matrix.crToRed, matrix.cbToBlue, matrix.crToRed, matrix.cbToBlue)),
        green(_mm_set_pi16(matrix.crToGreen, matrix.cbToGreen, matrix.crToGreen, matrix.cbToGreen)),
        lumaOffset(_mm_set1_pi16(matrix.lumaOffset)),
        chromaOffset(_mm_set1_pi16(matrix.chromaOffset)) {}

  __m64 luma;
  __m64 blueRed;
  __m64 green;
  __m64 lumaOffset;
  __m64 chromaOffset;
};

/// Eight pixels, a byte of each per component.
struct EightPixels {
  __m64 blue;
  __m64 green;
  __m64 red;
};

/// floor(gain * value / 8192) in each word: the high half of gain * (8 * value). Values within -4096 to 4095.
__m64 Scale(__m64 value, __m64 gain) {
  return _mm_mulhi_pi16(_mm_slli_pi16(value, 3), gain);
}

/// floor((cbToGreen * Cb + crToGreen * Cr) / 8192) of two pairs, in 32 bits each.
__m64 ScaleGreen(__m64 chroma, __m64 gains) {
  return _mm_srai_pi32(_mm_madd_pi16(chroma, gains), 13);
}

/// Adds the terms of four pairs to the lumas of their eight pixels and clamps.
__m64 AddAndClamp(__m64 lumaLow, __m64 lumaHigh, __m64 pairs) {
  return _mm_packs_pu16(_mm_add_pi16(lumaLow, _mm_unpacklo_pi16(pairs, pairs)),
                        _mm_add_pi16(lumaHigh, _mm_unpackhi_pi16(pairs, pairs)));
}

/// Inlined by force: as a call it would pass its results through memory.
template <PackedOrder order>
[[gnu::always_inline]] inline EightPixels Convert(__m64 first, __m64 second, const MatrixWords& matrix) {
  const __m64 lumaLow = Scale(_mm_sub_pi16(LumaLanes<order>(first), matrix.lumaOffset), matrix.luma);
  const __m64 lumaHigh = Scale(_mm_sub_pi16(LumaLanes<order>(second), matrix.lumaOffset), matrix.luma);
  const __m64 chromaLow = _mm_sub_pi16(ChromaLanes<order>(first), matrix.chromaOffset);
  const __m64 chromaHigh = _mm_sub_pi16(ChromaLanes<order>(second), matrix.chromaOffset);

  const __m64 blueRedLow = Scale(chromaLow, matrix.blueRed);               // b0 r0 b1 r1
  const __m64 blueRedHigh = Scale(chromaHigh, matrix.blueRed);             // b2 r2 b3 r3
  const __m64 evenPairs = _mm_unpacklo_pi16(blueRedLow, blueRedHigh);      // b0 b2 r0 r2
  const __m64 oddPairs = _mm_unpackhi_pi16(blueRedLow, blueRedHigh);       // b1 b3 r1 r3
  const __m64 blue = _mm_unpacklo_pi16(evenPairs, oddPairs);               // b0 b1 b2 b3
  const __m64 red = _mm_unpackhi_pi16(evenPairs, oddPairs);                // r0 r1 r2 r3
  const __m64 green = _mm_packs_pi32(ScaleGreen(chromaLow, matrix.green),  // g0 g1 g2 g3
                                     ScaleGreen(chromaHigh, matrix.green));
  return {AddAndClamp(lumaLow, lumaHigh, blue), AddAndClamp(lumaLow, lumaHigh, green),
          AddAndClamp(lumaLow, lumaHigh, red)};
}

/// The low and the high byte of the words of eight 15- or 16-bit pixels. Bits that word shifts carry from one
/// byte into the next are masked away.
struct WordBytes {
  __m64 low;
  __m64 high;
};

WordBytes Dib15Bytes(const EightPixels& pixels) {
  return {_mm_or_si64(_mm_and_si64(_mm_slli_pi16(pixels.green, 2), _mm_set1_pi8('\xE0')),
                      _mm_and_si64(_mm_srli_pi16(pixels.blue, 3), _mm_set1_pi8('\x1F'))),
          _mm_or_si64(_mm_and_si64(_mm_srli_pi16(pixels.red, 1), _mm_set1_pi8('\x7C')),
                      _mm_and_si64(_mm_srli_pi16(pixels.green, 6), _mm_set1_pi8('\x03')))};
}

WordBytes Dib16Bytes(const EightPixels& pixels) {
  return {_mm_or_si64(_mm_and_si64(_mm_slli_pi16(pixels.green, 3), _mm_set1_pi8('\xE0')),
                      _mm_and_si64(_mm_srli_pi16(pixels.blue, 3), _mm_set1_pi8('\x1F'))),
          _mm_or_si64(_mm_and_si64(pixels.red, _mm_set1_pi8('\xF8')),
                      _mm_and_si64(_mm_srli_pi16(pixels.green, 5), _mm_set1_pi8('\x07')))};
}

/// Two groups in a step, because eight pixels fill the words; a last odd group is paired with zeros.
template <PackedOrder order, WordBytes (*toBytes)(const EightPixels&)>
void ConvertToWords(YuvToRgb::Args& args) {
  YuvToRgb::Args at = args;  // no store can reach a local copy, so its pointers stay in registers
  const MatrixWords matrix(at.matrix);
  for (std::int32_t step = 0; step < at.groups / 2; ++step) {
    const WordBytes bytes = toBytes(Convert<order>(Load64(at.source), Load64(at.source + 8), matrix));
    Store64(at.destination, _mm_unpacklo_pi8(bytes.low, bytes.high));
    Store64(at.destination + 8, _mm_unpackhi_pi8(bytes.low, bytes.high));
    at.source += 16;
    at.destination += 16;
  }
  if (at.groups % 2 > 0) {
    const WordBytes bytes = toBytes(Convert<order>(Load64(at.source), _mm_setzero_si64(), matrix));
    Store64(at.destination, _mm_unpacklo_pi8(bytes.low, bytes.high));
    at.source += 8;
    at.destination += 8;
  }
  args = at;
  _mm_empty();
}

void StoreDib24(const EightPixels& pixels, std::uint8_t* destination) {
  const __m64 blueGreenLow = _mm_unpacklo_pi8(pixels.blue, pixels.green);
  const __m64 blueGreenHigh = _mm_unpackhi_pi8(pixels.blue, pixels.green);
  const __m64 redLow = _mm_unpacklo_pi8(pixels.red, _mm_setzero_si64());
  const __m64 redHigh = _mm_unpackhi_pi8(pixels.red, _mm_setzero_si64());
  // Pixels of 32 bits, the highest byte zero.
  const __m64 pixels01 = _mm_unpacklo_pi16(blueGreenLow, redLow);
  const __m64 pixels23 = _mm_unpackhi_pi16(blueGreenLow, redLow);
  const __m64 pixels45 = _mm_unpacklo_pi16(blueGreenHigh, redHigh);
  const __m64 pixels67 = _mm_unpackhi_pi16(blueGreenHigh, redHigh);
  const __m64 pixels04 = _mm_unpacklo_pi32(pixels01, pixels45);
  const __m64 pixels15 = _mm_unpackhi_pi32(pixels01, pixels45);
  const __m64 pixels26 = _mm_unpacklo_pi32(pixels23, pixels67);
  const __m64 pixels37 = _mm_unpackhi_pi32(pixels23, pixels67);
  // Four pixels fill three 32-bit words; both halves of the registers work on four pixels each.
  const __m64 words03 = _mm_or_si64(pixels04, _mm_slli_pi32(pixels15, 24));
  const __m64 words14 = _mm_or_si64(_mm_srli_pi32(pixels15, 8), _mm_slli_pi32(pixels26, 16));
  const __m64 words25 = _mm_or_si64(_mm_srli_pi32(pixels26, 16), _mm_slli_pi32(pixels37, 8));
  Store64(destination, _mm_unpacklo_pi32(words03, words14));
  Store64(destination + 8, _mm_unpacklo_pi32(words25, _mm_srli_si64(words03, 32)));
  Store64(destination + 16, _mm_unpackhi_pi32(words14, words25));
}

template <PackedOrder order>
void ConvertToDib24(YuvToRgb::Args& args) {
  YuvToRgb::Args at = args;
  const MatrixWords matrix(at.matrix);
  for (std::int32_t group = 0; group < at.groups; ++group) {
    StoreDib24(Convert<order>(Load64(at.source), Load64(at.source + 8), matrix), at.destination);
    at.source += 16;
    at.destination += 24;
  }
  args = at;
  _mm_empty();
}

}  // namespace

template <>
void Yuv422ToDib15::Run<Mmx>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { ConvertToWords<order, Dib15Bytes>(args); });
}

template <>
void Yuv422ToDib16::Run<Mmx>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { ConvertToWords<order, Dib16Bytes>(args); });
}

template <>
void Yuv422ToDib24::Run<Mmx>(Args& args) noexcept {
  WithOrder(args.order, [&args]<PackedOrder order>() { ConvertToDib24<order>(args); });
}

}  // namespace kv_img::copy
