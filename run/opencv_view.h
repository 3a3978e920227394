#pragma once

#include <opencv2/core/mat.hpp>

#include "image/errors/exceptions.h"
#include "image/image.h"

namespace kv_run {

/// The type of a matrix whose elements are pixels of this class.
template <class PixelClass>
inline constexpr int matTypeOf = -1;
template <>
inline constexpr int matTypeOf<kv_img::PixelYUV422> = CV_8UC2;
template <>
inline constexpr int matTypeOf<kv_img::PixelDIB24> = CV_8UC3;
template <>
inline constexpr int matTypeOf<kv_img::PixelDIB32> = CV_8UC4;
template <>
inline constexpr int matTypeOf<kv_img::PixelNoColor<unsigned char>> = CV_8UC1;

/// A matrix as an image, without a copy: CV_8UC2 as packed 4:2:2, CV_8UC3 as 24-bit and CV_8UC4 as 32-bit
/// bitmap (blue first), CV_8UC1 as 8-bit picture. The image reads and writes the matrix's own rows and must
/// not outlive them; a part of a larger matrix works too. `options.layout` is the byte order of 4:2:2:
/// 4098 luma first (YUY2, the default), 4097 chroma first (UYVY); its fields and range go to
/// `options.properties`.
///
/// Some operations may read or write up to 8 bytes past the end of a row whose width is odd or no multiple of
/// eight; their pages say which. For those, take a part of a matrix that is a pixel group wider.
///
/// Throws AlgoException code 2 for a matrix of another type, an empty one, or one with more than two
/// dimensions.
template <class PixelClass>
kv_img::Image<PixelClass> ViewOf(const cv::Mat& mat, const kv_img::ImageOptions& options = {}) {
  static_assert(matTypeOf<PixelClass> >= 0, "no matrix holds pixels of this class");
  if (mat.dims != 2 || mat.type() != matTypeOf<PixelClass> || mat.empty()) {
    throw kv_img::AlgoException(2, L"mat", L"ViewOf");
  }
  return kv_img::Image<PixelClass>(
      mat.cols, mat.rows, kv_img::WrappedRows::Strided(mat.data, static_cast<std::ptrdiff_t>(mat.step[0])),
      options);
}

}  // namespace kv_run
