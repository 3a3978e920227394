#pragma once

#include <array>
#include <cstddef>

#include "image/image.h"
#include "plugin/dispatch.h"

namespace kv_plugin {

/// The combinations that every member offers. `Classes` names the member's implementation classes.
template <class Classes>
struct CommonRows {
  template <class PixelClass>
  using Image = kv_img::Image<PixelClass>;
  using YUV422 = kv_img::PixelYUV422;
  using YUVA422 = kv_img::PixelYUVA422;
  using YUV411P = kv_img::PixelYUV411P;
  using DIB15 = kv_img::PixelDIB15;
  using DIB16 = kv_img::PixelDIB16;
  using DIB24 = kv_img::PixelDIB24;
  using DIB32 = kv_img::PixelDIB32;
  using NoColor = kv_img::PixelNoColor<unsigned char>;

  template <class In, class Out>
  static constexpr Row CopyRow() {
    return For<In, Out, typename Classes::template Copy<Image<In>, Image<Out>>>();
  }

  static constexpr Row copy[] = {
      CopyRow<YUV422, DIB24>(),   CopyRow<YUV422, DIB16>(),  CopyRow<YUV422, DIB15>(),
      CopyRow<YUV411P, YUV422>(), CopyRow<DIB24, YUV422>(),  CopyRow<DIB32, YUV422>(),
      CopyRow<DIB32, YUVA422>(),  CopyRow<YUV422, YUV422>(),
  };

  static constexpr Row copyRoi[] = {
      For<YUV422, YUV422, typename Classes::template CopyROI<Image<YUV422>, Image<YUV422>>>(),
      For<YUV411P, YUV422, typename Classes::template CopyROI<Image<YUV411P>, Image<YUV422>>>(),
  };

  static constexpr Row parityChange[] = {
      For<YUV422, YUV422, typename Classes::template ParityChange<Image<YUV422>, Image<YUV422>>>(),
  };

  static constexpr Row alphaLayerProbMask[] = {
      For<NoColor, typename Classes::template AlphaLayerProbMask<Image<NoColor>>>(),
  };

  static constexpr Row alphaLayerColorBased[] = {
      For<YUV422, typename Classes::template AlphaLayerColorBased<Image<YUV422>>>(),
  };

  static constexpr Row averageFilter[] = {
      For<NoColor, typename Classes::template AverageFilter<Image<NoColor>>>(),
  };

  static constexpr Row absoluteDifference[] = {
      For<YUV422, NoColor, typename Classes::template AbsoluteDifference<Image<YUV422>, Image<NoColor>>>(),
  };

  static constexpr Row scanning[] = {
      For<YUV422, YUV422, typename Classes::template Scanning<Image<YUV422>, Image<YUV422>>>(),
  };

  static constexpr Row blendBoost[] = {
      For<YUV422, typename Classes::template BlendBoost<Image<YUV422>>>(),
  };

  static constexpr Row fillPoly[] = {
      For<DIB24, typename Classes::template FillPoly<Image<DIB24>>>(),
  };

  static constexpr Row average[] = {
      For<NoColor, typename Classes::template Average<Image<NoColor>>>(),
  };

  template <class PixelClass>
  static constexpr Row FeatureFindRow() {
    return For<PixelClass, typename Classes::template FeatureFind<Image<PixelClass>>>();
  }

  static constexpr Row featureFind[] = {
      FeatureFindRow<YUV422>(),
      FeatureFindRow<DIB24>(),
      FeatureFindRow<DIB32>(),
  };
};

/// The rows of one table behind those of another.
template <std::size_t first, std::size_t second>
constexpr std::array<Row, first + second> Join(const Row (&a)[first], const Row (&b)[second]) {
  std::array<Row, first + second> joined{};
  for (std::size_t i = 0; i < first; ++i) joined[i] = a[i];
  for (std::size_t i = 0; i < second; ++i) joined[first + i] = b[i];
  return joined;
}

/// The averaging filter also under the identifier of the image type: so the algorithm manager is asked for
/// it.
template <class Classes>
constexpr auto FilterRows() {
  using Grey = kv_img::Image<kv_img::PixelNoColor<unsigned char>>;
  constexpr Row underImageType[] = {For<Grey, typename Classes::template AverageFilter<Grey>>()};
  return Join(CommonRows<Classes>::averageFilter, underImageType);
}

}  // namespace kv_plugin
