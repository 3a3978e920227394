#pragma once

#include "algorithms/copy/portable/portable_copy.h"
#include "plugin/dispatch.h"

namespace kv_plugin {

/// What kv_algoC alone offers.
namespace portable_rows {

using kv_img::PixelDIB15;
using kv_img::PixelDIB16;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV211;
using kv_img::PixelYUV411;
using kv_img::PixelYUV411P;
using kv_img::PixelYUV422;
using kv_img::PixelYUVA422;
using NoColor = kv_img::PixelNoColor<unsigned char>;

template <class In, class Out>
constexpr Row CopyRow() {
  return For<In, Out, kv_img::PortableCopyC<kv_img::Image<In>, kv_img::Image<Out>>>();
}

/// With the common ones every pair that "Copy" is looked up for.
inline constexpr Row copy[] = {
    CopyRow<PixelYUV422, PixelYUVA422>(), CopyRow<PixelYUV422, PixelYUV411P>(),
    CopyRow<PixelYUV422, PixelYUV411>(),  CopyRow<PixelYUV422, PixelYUV211>(),
    CopyRow<PixelYUV422, PixelDIB32>(),   CopyRow<PixelYUV422, NoColor>(),
    CopyRow<PixelYUVA422, PixelYUV422>(), CopyRow<PixelYUVA422, PixelYUVA422>(),
    CopyRow<PixelYUVA422, PixelDIB24>(),  CopyRow<PixelYUVA422, PixelDIB32>(),
    CopyRow<PixelYUVA422, NoColor>(),     CopyRow<PixelYUV411P, PixelDIB32>(),
    CopyRow<PixelYUV411, PixelYUV422>(),  CopyRow<PixelDIB15, PixelYUV422>(),
    CopyRow<PixelDIB15, PixelDIB24>(),    CopyRow<PixelDIB16, PixelYUV422>(),
    CopyRow<PixelDIB16, PixelDIB24>(),    CopyRow<PixelDIB24, PixelYUVA422>(),
    CopyRow<PixelDIB24, PixelDIB24>(),    CopyRow<PixelDIB24, PixelDIB32>(),
    CopyRow<PixelDIB24, NoColor>(),       CopyRow<PixelDIB32, PixelDIB24>(),
    CopyRow<PixelDIB32, PixelDIB32>(),    CopyRow<PixelDIB32, NoColor>(),
    CopyRow<NoColor, PixelYUV422>(),      CopyRow<NoColor, PixelYUVA422>(),
    CopyRow<NoColor, PixelDIB24>(),       CopyRow<NoColor, PixelDIB32>(),
    CopyRow<NoColor, NoColor>(),
};

}  // namespace portable_rows

}  // namespace kv_plugin
