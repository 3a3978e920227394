#include <libyuv.h>

#include "bench/contest.h"

namespace kv_bench {
namespace {

using kv_img::PixelComponent;

/// 32-bit pixels on the way to others: rows at a time, so that they stay in cache, as a careful user would.
constexpr int rowsAtOnce = 16;

void Yuv422ToRgb(Scene& scene, int (*fromArgb)(const std::uint8_t*, int, std::uint8_t*, int, int, int),
                 std::uint8_t* destination, int stride) {
  auto& from = scene.Picture<PixelYUV422>();
  auto& argb = scene.Bytes(0, static_cast<std::size_t>(4 * scene.width * rowsAtOnce));
  for (int y = 0; y < scene.height; y += rowsAtOnce) {
    const int rows = std::min(rowsAtOnce, scene.height - y);
    libyuv::YUY2ToARGB(Start(from) + y * Stride(from), Stride(from), argb.data(), 4 * scene.width,
                       scene.width, rows);
    fromArgb(argb.data(), 4 * scene.width, destination + y * stride, stride, scene.width, rows);
  }
}

void Rgb24ToYuv422(Scene& scene) {
  auto& from = scene.Picture<PixelDIB24>();
  auto& to = scene.Picture<PixelYUV422, 1>();
  auto& argb = scene.Bytes(0, static_cast<std::size_t>(4 * scene.width * rowsAtOnce));
  for (int y = 0; y < scene.height; y += rowsAtOnce) {
    const int rows = std::min(rowsAtOnce, scene.height - y);
    libyuv::RGB24ToARGB(Start(from) + y * Stride(from), Stride(from), argb.data(), 4 * scene.width,
                        scene.width, rows);
    libyuv::ARGBToYUY2(argb.data(), 4 * scene.width, Start(to) + y * Stride(to), Stride(to), scene.width,
                       rows);
  }
}

/// 4:2:2 split into planes, rows at a time, and these converted with the matrix of BT.709.
void MatrixToRgb(Scene& scene,
                 int (*convert)(const std::uint8_t*, int, const std::uint8_t*, int, const std::uint8_t*, int,
                                std::uint8_t*, int, const libyuv::YuvConstants*, int, int),
                 std::uint8_t* destination, int stride) {
  auto& from = scene.Picture<PixelYUV422>();
  const int half = (scene.width + 1) / 2;
  auto& luma = scene.Bytes(0, static_cast<std::size_t>(scene.width * rowsAtOnce));
  auto& cb = scene.Bytes(1, static_cast<std::size_t>(half * rowsAtOnce));
  auto& cr = scene.Bytes(2, static_cast<std::size_t>(half * rowsAtOnce));
  for (int y = 0; y < scene.height; y += rowsAtOnce) {
    const int rows = std::min(rowsAtOnce, scene.height - y);
    libyuv::YUY2ToI422(Start(from) + y * Stride(from), Stride(from), luma.data(), scene.width, cb.data(),
                       half, cr.data(), half, scene.width, rows);
    convert(luma.data(), scene.width, cb.data(), half, cr.data(), half, destination + y * stride, stride,
            &libyuv::kYuvH709Constants, scene.width, rows);
  }
}

}  // namespace

void EnterLibyuv(Contest& contest) {
  const std::string name = "libyuv";
  contest.Enter("Copy YUV422", name, [](Scene& scene) {
    auto& from = scene.Picture<PixelYUV422>();
    auto& to = scene.Picture<PixelYUV422, 1>();
    libyuv::CopyPlane(Start(from), Stride(from), Start(to), Stride(to), 2 * scene.width, scene.height);
  });
  contest.Enter("Copy YUV411P to YUV422", name, [](Scene& scene) {
    auto& from = scene.Picture<PixelYUV411P>();
    auto& to = scene.Picture<PixelYUV422, 1>();
    const auto plane = [&](PixelComponent::COMPONENT component) {
      return from.PlaneRow(component, 0).data();
    };
    const auto stride = [&](PixelComponent::COMPONENT component) {
      return static_cast<int>(from.PlaneRow(component, 1).data() - plane(component));
    };
    libyuv::I422ToYUY2(plane(PixelComponent::Luma), stride(PixelComponent::Luma), plane(PixelComponent::Cb),
                       stride(PixelComponent::Cb), plane(PixelComponent::Cr), stride(PixelComponent::Cr),
                       Start(to), Stride(to), scene.width, scene.height);
  });
  contest.Enter("Copy YUV422 to DIB24", name, [](Scene& scene) {
    auto& to = scene.Picture<PixelDIB24, 1>();
    Yuv422ToRgb(scene, libyuv::ARGBToRGB24, Start(to), Stride(to));
  });
  contest.Enter("Copy YUV422 to DIB16", name, [](Scene& scene) {
    auto& to = scene.Picture<PixelDIB16, 1>();
    Yuv422ToRgb(scene, libyuv::ARGBToRGB565, Start(to), Stride(to));
  });
  contest.Enter("Copy YUV422 to DIB15", name, [](Scene& scene) {
    auto& to = scene.Picture<PixelDIB15, 1>();
    Yuv422ToRgb(scene, libyuv::ARGBToARGB1555, Start(to), Stride(to));
  });
  contest.Enter("Copy DIB32 to YUV422", name, [](Scene& scene) {
    auto& from = scene.Picture<PixelDIB32>();
    auto& to = scene.Picture<PixelYUV422, 1>();
    libyuv::ARGBToYUY2(Start(from), Stride(from), Start(to), Stride(to), scene.width, scene.height);
  });
  contest.Enter("Copy DIB24 to YUV422", name, Rgb24ToYuv422);
  contest.Enter("Copy DIB32 to YUVA422", name, [](Scene& scene) {
    auto& from = scene.Picture<PixelDIB32>();
    auto& to = scene.Picture<PixelYUVA422, 1>();
    auto& alpha = scene.Picture<PixelGrey>();
    libyuv::ARGBToYUY2(Start(from), Stride(from), Start(to), Stride(to), scene.width, scene.height);
    libyuv::ARGBExtractAlpha(Start(from), Stride(from), Start(alpha), Stride(alpha), scene.width,
                             scene.height);
  });
  contest.Enter("Color YUV422 to DIB24, nearest", name, [](Scene& scene) {
    auto& to = scene.Picture<PixelDIB24, 1>();
    MatrixToRgb(scene, libyuv::I422ToRGB24Matrix, Start(to), Stride(to));
  });
  contest.Enter("Color YUV422 to DIB32, nearest", name, [](Scene& scene) {
    auto& to = scene.Picture<PixelDIB32, 1>();
    MatrixToRgb(scene, libyuv::I422ToARGBMatrix, Start(to), Stride(to));
  });
  // Its encoders know one matrix and take the mean of a pair's chroma.
  contest.Enter("Color DIB32 to YUV422, nearest", name, [](Scene& scene) {
    auto& from = scene.Picture<PixelDIB32>();
    auto& to = scene.Picture<PixelYUV422, 1>();
    libyuv::ARGBToYUY2(Start(from), Stride(from), Start(to), Stride(to), scene.width, scene.height);
  });
  contest.Enter("Color DIB24 to YUV422, nearest", name, Rgb24ToYuv422);
  contest.Enter("Average", name, [](Scene& scene) {
    auto& a = scene.Picture<PixelGrey>();
    auto& b = scene.Picture<PixelGrey, 1>();
    auto& to = scene.Picture<PixelGrey, 2>();
    libyuv::InterpolatePlane(Start(a), Stride(a), Start(b), Stride(b), Start(to), Stride(to), scene.width,
                             scene.height, 128);
  });
  // Of packed pixels as they are, so the mask is read once per byte and not per pixel.
  contest.Enter("BlendBoost", name + " BlendPlane", [](Scene& scene) {
    auto& a = scene.Picture<PixelYUV422>();
    auto& b = scene.Picture<PixelYUV422, 1>();
    auto& to = scene.Picture<PixelYUV422, 2>();
    auto& mask = scene.Bytes(0, static_cast<std::size_t>(2 * scene.width * scene.height));
    libyuv::BlendPlane(Start(a), Stride(a), Start(b), Stride(b), mask.data(), 2 * scene.width, Start(to),
                       Stride(to), 2 * scene.width, scene.height);
  });
  contest.Enter("ParityChange", name + " InterpolatePlane", [](Scene& scene) {
    auto& from = scene.Picture<PixelYUV422>();
    auto& to = scene.Picture<PixelYUV422, 1>();
    libyuv::InterpolatePlane(Start(from), Stride(from), Start(from) + Stride(from), Stride(from), Start(to),
                             Stride(to), 2 * scene.width, scene.height - 1, 128);
  });
}

}  // namespace kv_bench
