#pragma once

#include <algorithm>
#include <string_view>
#include <type_traits>

#include "algorithms/copy/copy.h"
#include "algorithms/copy/portable/bitmap_formats.h"
#include "algorithms/copy/portable/bt601.h"
#include "algorithms/copy/portable/yuv_formats.h"

namespace kv_img {
namespace copy {
namespace portable {

/// No kernels: every format has a reader or writer of its own, and blocks of pixels go from one to the other.
struct NoKernels {
  static constexpr std::wstring_view suffix = Scalar::suffix;
};

}  // namespace portable

/// Any readable format into any writable one, every pixel of the row.
template <class PixelIn, class PixelOut>
class RowConverter<portable::NoKernels, Image<PixelIn>, Image<PixelOut>> {
 public:
  RowConverter(const typename Image<PixelIn>::Buffer& source, typename Image<PixelOut>::Buffer& destination)
      : source_(source), destination_(destination) {}

  void Convert(int sourceRow, int destinationRow) const {
    for (int x = 0; x < source_.width; x += portable::blockPixels) {
      const int pixels = std::min(source_.width - x, portable::blockPixels);
      typename In::Block block;
      In::Read(source_, sourceRow, x, pixels, block);
      if constexpr (std::is_same_v<typename In::Block, typename Out::Block>) {
        Out::Write(destination_, destinationRow, x, pixels, block);
      } else {
        typename Out::Block converted;
        Translate(block, pixels, converted);
        Out::Write(destination_, destinationRow, x, pixels, converted);
      }
    }
  }

 private:
  using In = portable::Format<PixelIn>;
  using Out = portable::Format<PixelOut>;

  static void Translate(const portable::YuvBlock& from, int pixels, portable::RgbBlock& to) {
    portable::ToRgb(from, pixels, to);
    std::copy_n(from.alpha, pixels, to.alpha);
  }
  static void Translate(const portable::RgbBlock& from, int pixels, portable::YuvBlock& to) {
    portable::ToLuma(from, pixels, to);
    if constexpr (Out::hasChroma) portable::ToChroma(from, pixels, to);
    std::copy_n(from.alpha, pixels, to.alpha);
  }

  const typename Image<PixelIn>::Buffer& source_;
  typename Image<PixelOut>::Buffer& destination_;
};

}  // namespace copy

/// "Copy" of the pairs that only the portable member offers.
template <class ImageIn, class ImageOut>
class PortableCopyC final : public Copy<copy::portable::NoKernels, ImageIn, ImageOut> {};

}  // namespace kv_img
