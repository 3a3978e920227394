#include "host/av/samples.h"

namespace kv_av {

bool Samples::TakeByLibrary(const AVFrame& frame, const AVPixFmtDescriptor& format, KvAvFrame& out) {
  const bool isRgb = (format.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_BAYER)) != 0;
  const bool hasAlpha = isRgb && (format.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
  const bool isGrey = !isRgb && format.nb_components < 3;
  const AVPixelFormat to = hasAlpha ? AV_PIX_FMT_BGRA
                           : isRgb  ? AV_PIX_FMT_BGR24
                           : isGrey ? AV_PIX_FMT_GRAY8
                                    : AV_PIX_FMT_YUV422P;
  const auto from = static_cast<AVPixelFormat>(frame.format);
  if (sws_isSupportedInput(from) == 0) return false;
  constexpr int flags = SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP;
  scaler_.reset(sws_getCachedContext(scaler_.release(), frame.width, frame.height, from, frame.width,
                                     frame.height, to, flags, nullptr, nullptr, nullptr));
  if (scaler_ == nullptr) return false;
  const int pairs = (frame.width + 1) / 2;
  const int rowBytes = hasAlpha ? 4 * frame.width : isRgb ? 3 * frame.width : frame.width;
  out.kind = hasAlpha ? KvAvBgra : isRgb ? KvAvBgr : isGrey ? KvAvGrey : KvAvPlanar;
  // The scaler writes whole vectors.
  constexpr int slack = 64;
  std::array<std::vector<std::uint8_t>*, 3> planes = {&packed_, &chroma_[0].bytes, &chroma_[1].bytes};
  std::array<std::uint8_t*, 4> data = {};
  std::array<int, 4> strides = {};
  const int count = out.kind == KvAvPlanar ? 3 : 1;
  for (int i = 0; i < count; ++i) {
    const auto at = static_cast<std::size_t>(i);
    const int bytes = i == 0 ? rowBytes : pairs;
    strides[at] = (bytes + 2 * slack - 1) / slack * slack;
    planes[at]->resize(static_cast<std::size_t>(strides[at]) * static_cast<std::size_t>(frame.height) +
                       slack);
    data[at] = planes[at]->data();
    Give(out, i, *planes[at], bytes);
    out.stride[i] = strides[at];
  }
  out.path = KvAvByLibrary;
  return sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, data.data(), strides.data()) ==
         frame.height;
}

}  // namespace kv_av
