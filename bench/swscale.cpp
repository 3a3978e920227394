extern "C" {
#include <libavutil/pixelutils.h>
#include <libswscale/swscale.h>
}

#include "bench/contest.h"

namespace kv_bench {
namespace {

template <class In, class Out>
void EnterConversion(Contest& contest, const std::string& operation, AVPixelFormat from, AVPixelFormat to,
                     int flags = SWS_POINT, int matrix = SWS_CS_DEFAULT) {
  contest.Enter(operation, "swscale",
                [from, to, flags, matrix, context = static_cast<SwsContext*>(nullptr), width = 0,
                 height = 0](Scene& scene) mutable {
                  if (width != scene.width || height != scene.height) {
                    sws_freeContext(context);
                    width = scene.width;
                    height = scene.height;
                    context = sws_getContext(scene.width, scene.height, from, scene.width, scene.height, to,
                                             flags, nullptr, nullptr, nullptr);
                    const int* const weights = sws_getCoefficients(matrix);
                    if (matrix != SWS_CS_DEFAULT) {
                      const bool toRgb = std::is_same_v<In, PixelYUV422>;
                      sws_setColorspaceDetails(context, weights, toRgb ? 0 : 1, weights, toRgb ? 1 : 0, 0,
                                               1 << 16, 1 << 16);
                    }
                  }
                  auto& source = scene.Picture<In>();
                  auto& destination = scene.Picture<Out, 1>(std::is_same_v<In, Out>);
                  const std::uint8_t* sourcePlanes[4] = {Start(source)};
                  int sourceStrides[4] = {Stride(source)};
                  if constexpr (std::is_same_v<In, PixelYUV411P>) {
                    using kv_img::PixelComponent;
                    const PixelComponent::COMPONENT planes[] = {PixelComponent::Luma, PixelComponent::Cb,
                                                                PixelComponent::Cr};
                    for (int plane = 0; plane < 3; ++plane) {
                      sourcePlanes[plane] = source.PlaneRow(planes[plane], 0).data();
                      sourceStrides[plane] =
                          static_cast<int>(source.PlaneRow(planes[plane], 1).data() - sourcePlanes[plane]);
                    }
                  }
                  std::uint8_t* destinationPlanes[4] = {Start(destination)};
                  const int destinationStrides[4] = {Stride(destination)};
                  sws_scale(context, sourcePlanes, sourceStrides, 0, scene.height, destinationPlanes,
                            destinationStrides);
                });
}

void EnterSad(Contest& contest, int size, int bits) {
  const std::string operation =
      "FeatureFind " + std::to_string(size) + "x" + std::to_string(size) + " +-" + std::to_string(size);
  const av_pixelutils_sad_fn sad = av_pixelutils_get_sad_fn(bits, bits, 0, nullptr);
  if (sad == nullptr) return;
  // On 8-bit images: there is no such function for packed luma.
  contest.Enter(operation, "libavutil", [size, sad](Scene& scene) {
    auto& first = scene.Picture<PixelGrey>();
    auto& second = scene.Picture<PixelGrey, 1>();
    int least = 1 << 30;
    for (int y = -size; y <= size; ++y) {
      const std::uint8_t* row =
          Start(second) + (scene.height / 2 + y) * Stride(second) + scene.width / 2 - size;
      for (int x = 0; x <= 2 * size; ++x) {
        least = std::min(least, sad(Start(first), Stride(first), row + x, Stride(second)));
      }
    }
    scene.Bytes(0, sizeof least)[0] = static_cast<std::uint8_t>(least);
  });
}

}  // namespace

void EnterSwscale(Contest& contest) {
  EnterConversion<PixelYUV422, PixelYUV422>(contest, "Copy YUV422, bytes swapped", AV_PIX_FMT_YUYV422,
                                            AV_PIX_FMT_UYVY422);
  EnterConversion<PixelYUV411P, PixelYUV422>(contest, "Copy YUV411P to YUV422", AV_PIX_FMT_YUV422P,
                                             AV_PIX_FMT_YUYV422);
  EnterConversion<PixelYUV422, PixelDIB24>(contest, "Copy YUV422 to DIB24", AV_PIX_FMT_YUYV422,
                                           AV_PIX_FMT_BGR24);
  EnterConversion<PixelYUV422, PixelDIB16>(contest, "Copy YUV422 to DIB16", AV_PIX_FMT_YUYV422,
                                           AV_PIX_FMT_RGB565LE);
  EnterConversion<PixelYUV422, PixelDIB15>(contest, "Copy YUV422 to DIB15", AV_PIX_FMT_YUYV422,
                                           AV_PIX_FMT_RGB555LE);
  EnterConversion<PixelDIB32, PixelYUV422>(contest, "Copy DIB32 to YUV422", AV_PIX_FMT_BGRA,
                                           AV_PIX_FMT_YUYV422);
  EnterConversion<PixelDIB24, PixelYUV422>(contest, "Copy DIB24 to YUV422", AV_PIX_FMT_BGR24,
                                           AV_PIX_FMT_YUYV422);
  constexpr int linear = SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
  for (const auto& [filter, flags] :
       {std::pair<std::string, int>{", nearest", SWS_POINT}, {", linear", linear}}) {
    EnterConversion<PixelYUV422, PixelDIB24>(contest, "Color YUV422 to DIB24" + filter, AV_PIX_FMT_YUYV422,
                                             AV_PIX_FMT_BGR24, flags, SWS_CS_ITU709);
    EnterConversion<PixelYUV422, PixelDIB32>(contest, "Color YUV422 to DIB32" + filter, AV_PIX_FMT_YUYV422,
                                             AV_PIX_FMT_BGRA, flags, SWS_CS_ITU709);
    EnterConversion<PixelDIB24, PixelYUV422>(contest, "Color DIB24 to YUV422" + filter, AV_PIX_FMT_BGR24,
                                             AV_PIX_FMT_YUYV422, flags, SWS_CS_ITU709);
    EnterConversion<PixelDIB32, PixelYUV422>(contest, "Color DIB32 to YUV422" + filter, AV_PIX_FMT_BGRA,
                                             AV_PIX_FMT_YUYV422, flags, SWS_CS_ITU709);
  }
  EnterSad(contest, 16, 4);
  EnterSad(contest, 32, 5);
}

}  // namespace kv_bench
