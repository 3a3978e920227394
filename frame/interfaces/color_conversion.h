#pragma once

#include <cstdint>

#include "frame/interfaces/algorithm_interface.h"
#include "frame/spin_barrier.h"

namespace kv_img {

/// The weights of red, green and blue in luma.
enum class ColorMatrix : std::int32_t {
  Bt601,  ///< standard definition: ITU-R BT.601, Kr 0.299, Kb 0.114
  Bt709,  ///< high definition: ITU-R BT.709, Kr 0.2126, Kb 0.0722
  Bt2020  ///< ultra-high definition: ITU-R BT.2020 with non-constant luminance, Kr 0.2627, Kb 0.0593
};

/// The codes that luma and chroma use. RGB and grey images always use 0 to 255.
enum class ColorRange : std::int32_t {
  Limited,  ///< luma 16 to 235, chroma 16 to 240
  Full      ///< luma 0 to 255, chroma 0.5 to 255.5
};

/// Where the chroma sample of a pixel pair is.
enum class ChromaPosition : std::int32_t {
  Left,   ///< at the left pixel, as in MPEG-2 and H.264
  Centre  ///< halfway between the two pixels, as in JPEG and MPEG-1
};

/// How chroma is moved between the positions of samples and of pixels.
enum class ChromaResampling : std::int32_t {
  Nearest,  ///< up: both pixels take their pair's sample; down: the left pixel's (left) or the mean (centre)
  Linear    ///< weights of a triangle: 1-1 and 1-2-1 (left), 3-1 and 1-1 (centre); samples repeat at the
            ///< borders
};

/// What the numbers of a YUV image mean.
struct YuvColors {
  ColorMatrix matrix = ColorMatrix::Bt601;
  ColorRange range = ColorRange::Limited;
  ChromaPosition chroma = ChromaPosition::Left;

  bool operator==(const YuvColors&) const = default;
};

/// The parameters of "ColorConversion".
struct ColorConversionParameters {
  /// Of the YUV image; of the source where both images are YUV.
  YuvColors yuv = {};
  /// Of the destination where both images are YUV, otherwise not used.
  YuvColors destination = {};
  ChromaResampling resample = ChromaResampling::Linear;
};

/// "ColorConversion": one image into another of the same size, between YUV 4:2:2 of any matrix, range and
/// chroma position and full-range RGB or grey.
///
/// The rule, for components Y, Cb, Cr of range (offset y0, luma span ys, chroma span cs: 16, 219, 224
/// limited, 0, 255, 255 full) and the weights Kr, Kb, Kg = 1 - Kr - Kb of the matrix:
///   R = 255/ys (Y - y0) + 255/cs 2(1 - Kr) (Cr - 128)
///   G = 255/ys (Y - y0) - 255/cs (2(1 - Kb) Kb/Kg (Cb - 128) + 2(1 - Kr) Kr/Kg (Cr - 128))
///   B = 255/ys (Y - y0) + 255/cs 2(1 - Kb) (Cb - 128)
/// and its inverse. In integers, the same everywhere: weights are rounded to multiples of 2^-14 (to RGB and
/// between YUV; of 2^-13 for Cb to B) or of 2^-15 (to YUV; those of a component then sum to what grey needs).
/// Filtered chroma is kept as four times its value, with two bits of fraction, so that the sum of the
/// products is exact; one half is added, the fraction is dropped (rounding down) and the result is clamped to
/// 0 to 255: one rounding, one clamping, both at the end. Results differ from the formula by 1 at most and
/// are the nearest integer in at least 99.7 % of all triples.
///
/// Grey stays grey in every direction: Cb = Cr = 128 gives R = G = B, R = G = B gives Cb = Cr = 128. A grey
/// image is the luma, brought to full range.
///
/// Every pixel of the destination is written. A row of packed 4:2:2 of odd width is 2 * (width + 1) bytes:
/// its last pair is whole. The lone last pixel takes part with that pair's chroma; written, the spare luma
/// repeats the last pixel's. Exactly the pixel groups of the rows are read and written, no byte more. Alpha
/// is copied; a 32-bit destination of a source without alpha is opaque. Field parity plays no part.
template <class ImageIn, class ImageOut>
class ColorConversionAlgorithmInterface : public BinaryAlgorithm<ImageIn, ImageOut> {
 public:
  /// Converts the rows of thread `threadIndex`. Called by every thread of `barrier` with the same images,
  /// which must not overlap; never waits. Throws AlgoMMXException, before a pixel is written: code 1 when the
  /// sizes differ, code 4 naming the parameter when a parameter has none of its values, or "stride" when rows
  /// of packed 4:2:2 of odd width are nearer than 2 * (width + 1) bytes.
  virtual ImageOut& Apply(const ImageIn& source, ImageOut& destination,
                          const ColorConversionParameters& parameters, kv_std::SpinBarrier& barrier,
                          std::uint32_t threadIndex) const = 0;
};

}  // namespace kv_img
