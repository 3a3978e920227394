#include <zimg.h>

#include <memory>
#include <utility>

#include "bench/contest.h"

namespace kv_bench {
namespace {

using kv_img::PixelComponent;

struct FreeGraph {
  void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
};
using Graph = std::unique_ptr<zimg_filter_graph, FreeGraph>;

zimg_image_format FormatOf(const Scene& scene, bool isRgb) {
  zimg_image_format format;
  zimg_image_format_default(&format, ZIMG_API_VERSION);
  format.width = static_cast<unsigned>(scene.width);
  format.height = static_cast<unsigned>(scene.height);
  format.pixel_type = ZIMG_PIXEL_BYTE;
  format.subsample_w = isRgb ? 0 : 1;
  format.color_family = isRgb ? ZIMG_COLOR_RGB : ZIMG_COLOR_YUV;
  format.matrix_coefficients = isRgb ? ZIMG_MATRIX_RGB : ZIMG_MATRIX_BT709;
  format.pixel_range = isRgb ? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;
  format.chroma_location = ZIMG_CHROMA_LEFT;
  return format;
}

Graph MakeGraph(const Scene& scene, bool toRgb, zimg_resample_filter_e filter) {
  const zimg_image_format from = FormatOf(scene, !toRgb);
  const zimg_image_format to = FormatOf(scene, toRgb);
  zimg_graph_builder_params parameters;
  zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
  parameters.resample_filter = parameters.resample_filter_uv = filter;
  parameters.dither_type = ZIMG_DITHER_NONE;
  parameters.cpu_type = ZIMG_CPU_AUTO_64B;
  return Graph(zimg_filter_graph_build(&from, &to, &parameters));
}

/// Planes to planes: it knows no packed pixels, and is timed without the packing that a user needs too.
void EnterConversion(Contest& contest, const std::string& operation, bool toRgb,
                     zimg_resample_filter_e filter) {
  const auto graph = std::make_shared<Graph>();
  const auto size = std::make_shared<std::pair<int, int>>();
  contest.Enter(operation, "zimg, planes", [=](Scene& scene) {
    if (*size != std::pair(scene.width, scene.height)) {
      *graph = MakeGraph(scene, toRgb, filter);
      *size = {scene.width, scene.height};
    }
    auto& video = scene.Picture<PixelYUV411P>();
    std::uint8_t* const rgb[] = {Start(scene.Picture<PixelGrey>()), Start(scene.Picture<PixelGrey, 1>()),
                                 Start(scene.Picture<PixelGrey, 2>())};
    const int rgbStride = Stride(scene.Picture<PixelGrey>());
    zimg_image_buffer_const from = {};
    zimg_image_buffer to = {};
    from.version = to.version = ZIMG_API_VERSION;
    const PixelComponent::COMPONENT components[] = {PixelComponent::Luma, PixelComponent::Cb,
                                                    PixelComponent::Cr};
    for (int plane = 0; plane < 3; ++plane) {
      std::uint8_t* const start = video.PlaneRow(components[plane], 0).data();
      const std::ptrdiff_t stride = video.PlaneRow(components[plane], 1).data() - start;
      from.plane[plane].data = toRgb ? start : rgb[plane];
      from.plane[plane].stride = toRgb ? stride : rgbStride;
      from.plane[plane].mask = to.plane[plane].mask = ZIMG_BUFFER_MAX;
      to.plane[plane].data = toRgb ? rgb[plane] : start;
      to.plane[plane].stride = toRgb ? rgbStride : stride;
    }
    std::size_t memoryBytes = 0;
    zimg_filter_graph_get_tmp_size(graph->get(), &memoryBytes);
    constexpr std::size_t alignment = 64;
    std::uint8_t* const memory = scene.Bytes(3, memoryBytes + alignment).data();
    const std::size_t before = alignment - reinterpret_cast<std::uintptr_t>(memory) % alignment;
    zimg_filter_graph_process(graph->get(), &from, &to, memory + before, nullptr, nullptr, nullptr, nullptr);
  });
}

}  // namespace

void EnterZimg(Contest& contest) {
  EnterConversion(contest, "Color YUV422 to DIB24, nearest", true, ZIMG_RESIZE_POINT);
  EnterConversion(contest, "Color YUV422 to DIB24, linear", true, ZIMG_RESIZE_BILINEAR);
  EnterConversion(contest, "Color DIB24 to YUV422, nearest", false, ZIMG_RESIZE_POINT);
  EnterConversion(contest, "Color DIB24 to YUV422, linear", false, ZIMG_RESIZE_BILINEAR);
}

}  // namespace kv_bench
