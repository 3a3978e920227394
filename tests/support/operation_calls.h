#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "frame/interfaces/absolute_difference.h"
#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/interfaces/average.h"
#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/blend_boost.h"
#include "frame/interfaces/copy.h"
#include "frame/interfaces/copy_roi.h"
#include "frame/interfaces/feature_find.h"
#include "frame/interfaces/fill_poly.h"
#include "frame/interfaces/parity_change.h"
#include "frame/interfaces/scanning.h"
#include "frame/spin_barrier.h"
#include "image/run_region.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"

// A call of every operation of a member, on pictures of few rows.
namespace kv_test {

using kv_img::Image;
using kv_img::ImageRect;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV411P;
using kv_img::PixelYUV422;
using kv_std::SpinBarrier;
using NoColor = kv_img::PixelNoColor<unsigned char>;

/// Pictures of few rows, with the same bytes in every object.
struct Pictures {
  static constexpr int width = 24;

  /// With `otherRows` destinations and second sources have another height, which every operation refuses.
  explicit Pictures(int pictureRows, int otherRows = 0)
      : rows(pictureRows),
        secondRows(otherRows > 0 ? otherRows : pictureRows),
        rect(0, 0, width - 1, rows - 1),
        runs(rect),
        rawMask(std::make_shared<Grey8>(width, rows)) {}

  template <class PixelClass>
  static TestImage<PixelClass> Make(Random& random, int rows) {
    kv_img::ImageOptions options;
    options.properties.propertyFlag = 1;
    return {random, width, rows, Placement::Any(random), options};
  }

  int rows;
  int secondRows;
  Random random{0x3101};
  ImageRect rect;
  kv_img::RunRegion runs;
  TestImage<PixelYUV422> a = Make<PixelYUV422>(random, rows);
  TestImage<PixelYUV422> b = Make<PixelYUV422>(random, secondRows);
  TestImage<PixelYUV422> frame = Make<PixelYUV422>(random, secondRows);
  TestImage<NoColor> p = Make<NoColor>(random, rows);
  TestImage<NoColor> q = Make<NoColor>(random, rows);
  TestImage<NoColor> mask = Make<NoColor>(random, secondRows);
  TestImage<PixelDIB24> bitmap = Make<PixelDIB24>(random, secondRows);
  TestImage<PixelDIB32> bitmap32 = Make<PixelDIB32>(random, rows);
  TestImage<PixelYUV411P> planar = Make<PixelYUV411P>(random, rows);
  std::shared_ptr<Grey8> rawMask;
};

using Call = std::function<void(Pictures&, SpinBarrier&, std::uint32_t)>;

struct NamedCall {
  const char* name;
  Call call;
  /// Waits at the barrier: its threads cannot be called in turn, and its bytes do not depend on their number.
  bool waits = false;
  /// Does not share the work out: one thread calls it.
  bool isForOne = false;
};

template <class In, class Out>
const auto& CopyOf(const Member& member) {
  return *member.Get<kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>>("Copy",
                                                                            {In::ClassID, Out::ClassID});
}

inline std::vector<NamedCall> CallsOf(const Member& member) {
  const int yuv422 = PixelYUV422::ClassID;
  const int grey = NoColor::ClassID;
  const auto* roi =
      member.Get<kv_img::CopyROIAlgorithmInterface<Yuv422, Yuv422>>("CopyROI", {yuv422, yuv422});
  const auto* difference = member.Get<kv_img::AbsoluteDifferenceAlgorithmInterface<Yuv422, Grey8>>(
      "AbsoluteDifference", {yuv422, grey});
  const auto* average = member.Get<kv_img::AverageAlgorithmInterface<Grey8>>("Average", {grey});
  const auto* filter = member.Get<kv_img::AverageFilterAlgorithmInterface<Grey8>>("AverageFilter", {grey});
  const auto* blend = member.Get<kv_img::BlendBoostAlgorithmInterface<Yuv422>>("BlendBoost", {yuv422});
  const auto* scan =
      member.Get<kv_img::ScanningAlgorithmInterface<Yuv422, Yuv422>>("Scanning", {yuv422, yuv422});
  const auto* color =
      member.Get<kv_img::AlphaLayerColorBasedAlgorithmInterface<Yuv422>>("AlphaLayerColorBased", {yuv422});
  const auto* prob =
      member.Get<kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey8>>("AlphaLayerProbMask", {grey});
  const auto* parity =
      member.Get<kv_img::ParityChangeAlgorithmInterface<Yuv422, Yuv422>>("ParityChange", {yuv422, yuv422});
  const auto* fill = member.Get<kv_img::FillPolyAlgorithmInterface<Dib24>>("FillPoly", {PixelDIB24::ClassID});
  const auto* find = member.Get<kv_img::FeatureFindAlgorithmInterface<Yuv422>>("FeatureFind", {yuv422});
  return {
      {"Copy to DIB24", [&copy = CopyOf<PixelYUV422, PixelDIB24>(member)](
                            Pictures& on, SpinBarrier& barrier,
                            std::uint32_t index) { copy.Apply(*on.a, *on.bitmap, barrier, index); }},
      {"Copy from DIB32", [&copy = CopyOf<PixelDIB32, PixelYUV422>(member)](
                              Pictures& on, SpinBarrier& barrier,
                              std::uint32_t index) { copy.Apply(*on.bitmap32, *on.frame, barrier, index); }},
      {"Copy of planes", [&copy = CopyOf<PixelYUV411P, PixelYUV422>(member)](
                             Pictures& on, SpinBarrier& barrier,
                             std::uint32_t index) { copy.Apply(*on.planar, *on.frame, barrier, index); }},
      {"CopyROI",
       [roi](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         roi->Apply(*on.a, *on.frame, on.rect, on.rect, barrier, index);
       }},
      {"AbsoluteDifference",
       [difference](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         difference->Apply(*on.a, *on.b, *on.mask, on.runs, barrier, index);
       }},
      {"Average",
       [average](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         average->Apply(*on.p, *on.q, *on.mask, on.runs, on.runs, on.runs, barrier, index);
       }},
      {"AverageFilter",
       [filter](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         filter->Apply(*on.p, *on.mask, on.runs, 3, barrier, index);
       }},
      {"BlendBoost",
       [blend](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         blend->Apply(*on.a, *on.b, *on.p, *on.frame, on.runs, barrier, index);
       }},
      {"Scanning",
       [scan](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         const ImageRect part(0, 0, 11, on.rows - 1);
         scan->Apply(*on.a, *on.frame, on.rect, part, 1, 9, 4, barrier, static_cast<std::int32_t>(index));
       }},
      {"AlphaLayerColorBased",
       [color](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         color->Apply(*on.a, *on.b, *on.mask, on.runs, 3, on.rawMask, barrier, index);
       },
       true},
      {"AlphaLayerProbMask",
       [prob](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         prob->Apply(*on.p, *on.q, *on.mask, on.runs, 3, on.rawMask, barrier, index);
       },
       true},
      {"ParityChange",
       [parity](Pictures& on, SpinBarrier& /*barrier*/, std::uint32_t /*index*/) {
         parity->Apply(*on.a, *on.frame, on.rect);
       },
       false, true},
      {"FillPoly",
       [fill](Pictures& on, SpinBarrier& /*barrier*/, std::uint32_t /*index*/) {
         const kv_img::PixelDIB32 opaque(10, 20, 30, 255);
         fill->Apply(*on.bitmap, {{2, 2}, {12.5, 0}, {14, 5.25}, {7, 6}, {1, 4}}, opaque, 0, 0, on.rect);
       },
       false, true},
      {"FeatureFind",
       [find](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         const double at[] = {9, 2};
         double result[2] = {};
         find->LocateFeatureSubPixel(*on.a, *on.b, at, at, result, 1, 1, 1, 1, 0.5, 0.5, 2, nullptr, barrier,
                                     static_cast<int>(index));
       },
       false, true},
  };
}

}  // namespace kv_test
