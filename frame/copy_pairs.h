#pragma once

#include "image/pixel.h"

namespace kv_img {

/// A source and a destination pixel class.
template <class In, class Out>
struct PixelPair {};

template <class... Pairs>
struct PixelPairList {};

namespace copy_pairs {
using NoColor = PixelNoColor<unsigned char>;

/// The pairs of pixel classes that "Copy" is looked up for, source first.
using All = PixelPairList<
    PixelPair<PixelYUVA422, PixelYUVA422>, PixelPair<PixelDIB32, PixelYUV422>, PixelPair<NoColor, PixelDIB32>,
    PixelPair<PixelYUV422, PixelYUV422>, PixelPair<PixelYUVA422, PixelDIB24>,
    PixelPair<PixelDIB32, PixelYUVA422>, PixelPair<NoColor, NoColor>, PixelPair<PixelYUV422, PixelYUVA422>,
    PixelPair<PixelYUVA422, PixelDIB32>, PixelPair<PixelDIB32, PixelDIB24>,
    PixelPair<PixelYUV422, PixelYUV411>, PixelPair<PixelYUVA422, NoColor>, PixelPair<PixelDIB32, PixelDIB32>,
    PixelPair<PixelYUV422, PixelYUV411P>, PixelPair<PixelYUV411, PixelYUV422>, PixelPair<PixelDIB32, NoColor>,
    PixelPair<PixelYUV422, PixelYUV211>, PixelPair<PixelYUV411P, PixelYUV422>,
    PixelPair<PixelDIB16, PixelYUV422>, PixelPair<PixelYUV422, PixelDIB15>,
    PixelPair<PixelYUV411P, PixelDIB32>, PixelPair<PixelDIB16, PixelDIB24>,
    PixelPair<PixelYUV422, PixelDIB16>, PixelPair<PixelDIB24, PixelYUV422>,
    PixelPair<PixelDIB15, PixelYUV422>, PixelPair<PixelYUV422, PixelDIB24>,
    PixelPair<PixelDIB24, PixelYUVA422>, PixelPair<PixelDIB15, PixelDIB24>,
    PixelPair<PixelYUV422, PixelDIB32>, PixelPair<PixelDIB24, PixelDIB24>, PixelPair<NoColor, PixelYUV422>,
    PixelPair<PixelYUV422, NoColor>, PixelPair<PixelDIB24, PixelDIB32>, PixelPair<NoColor, PixelYUVA422>,
    PixelPair<PixelYUVA422, PixelYUV422>, PixelPair<PixelDIB24, NoColor>, PixelPair<NoColor, PixelDIB24>>;
}  // namespace copy_pairs

}  // namespace kv_img
