#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "algorithms/simd/wide_level.h"
#include "bench/contest.h"
#include "frame/interfaces/absolute_difference.h"
#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/interfaces/average.h"
#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/blend_boost.h"
#include "frame/interfaces/color_conversion.h"
#include "frame/interfaces/copy.h"
#include "frame/interfaces/copy_roi.h"
#include "frame/interfaces/feature_find.h"
#include "frame/interfaces/fill_poly.h"
#include "frame/interfaces/parity_change.h"
#include "frame/interfaces/scanning.h"
#include "image/image_rect.h"
#include "tests/support/family.h"
#include "tests/support/member.h"

namespace kv_bench {
namespace {

using kv_img::Image;
using kv_img::ImageRect;
using kv_test::Member;
using Yuv = Image<PixelYUV422>;
using Grey = Image<PixelGrey>;

/// The wide member under the level that it runs at; null for levels that the processor lacks.
std::string ContenderName(const Member& member) {
  using namespace kv_img;
  const std::string full = kv_test::wideMember;
  if (member.Name() == full) return full + " " + NameOf(LevelInForce());
  for (const WideLevel level : wideLevels) {
    if (member.Name() == full + "_" + NameOf(level)) {
      return level < LevelInForce() ? full + " " + NameOf(level) : "";
    }
  }
  return member.Name();
}

/// Enters every member; `run` gets its implementation, a scene, and the thread's part.
template <class Interface, class Run>
void EnterEach(Contest& contest, const std::string& operation, const char* algorithm,
               std::initializer_list<int> ids, Run run) {
  for (const Member& member : kv_test::Members()) {
    const std::string name = ContenderName(member);
    if (name.empty()) continue;
    const auto* implementation = member.Get<Interface>(algorithm, ids);
    if (implementation == nullptr) continue;
    contest.Enter(
        operation, name,
        Part([implementation, run](Scene& scene, kv_std::SpinBarrier& barrier, std::uint32_t thread) {
          run(*implementation, scene, barrier, thread);
        }));
  }
}

/// Two images of one class are in different byte orders when the source `isSwapped`.
template <class In, class Out>
void EnterCopy(Contest& contest, const std::string& operation, double bytesPerPixel, bool isSwapped = false) {
  contest.Add(operation, bytesPerPixel);
  EnterEach<kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>>(
      contest, operation, "Copy", {In::ClassID, Out::ClassID},
      [isSwapped](const auto& copy, Scene& scene, auto& barrier, auto thread) {
        copy.Apply(scene.Picture<In>(), scene.Picture<Out, 1>(isSwapped), barrier, thread);
      });
}

/// With chroma as it is (nearest) and filtered (linear), to or from BT.709.
template <class In, class Out>
void EnterColors(Contest& contest, const std::string& formats, double bytesPerPixel) {
  using kv_img::ChromaPosition;
  using kv_img::ChromaResampling;
  struct Filter {
    const char* name;
    ChromaPosition position;
    ChromaResampling resampling;
  };
  for (const Filter& filter : {Filter{"nearest", ChromaPosition::Left, ChromaResampling::Nearest},
                               Filter{"linear", ChromaPosition::Left, ChromaResampling::Linear},
                               Filter{"linear, centre", ChromaPosition::Centre, ChromaResampling::Linear}}) {
    const std::string operation = "Color " + formats + ", " + filter.name;
    contest.Add(operation, bytesPerPixel);
    const kv_img::YuvColors yuv = {kv_img::ColorMatrix::Bt709, kv_img::ColorRange::Limited, filter.position};
    const kv_img::ColorConversionParameters parameters = {yuv, {}, filter.resampling};
    EnterEach<kv_img::ColorConversionAlgorithmInterface<Image<In>, Image<Out>>>(
        contest, operation, "ColorConversion", {In::ClassID, Out::ClassID},
        [parameters](const auto& convert, Scene& scene, auto& barrier, auto thread) {
          convert.Apply(scene.Picture<In>(), scene.Picture<Out, 1>(), parameters, barrier, thread);
        });
  }
}

void EnterCopyRoi(Contest& contest) {
  contest.Add("CopyROI by an odd column", 4);
  EnterEach<kv_img::CopyROIAlgorithmInterface<Yuv, Yuv>>(
      contest, "CopyROI by an odd column", "CopyROI", {PixelYUV422::ClassID, PixelYUV422::ClassID},
      [](const auto& copy, Scene& scene, auto& barrier, auto thread) {
        const ImageRect from(1, 0, scene.width - 2, scene.height - 1);
        const ImageRect to(0, 0, scene.width - 3, scene.height - 1);
        copy.Apply(scene.Picture<PixelYUV422>(), scene.Picture<PixelYUV422, 1>(), from, to, barrier, thread);
      });
}

void EnterArithmetic(Contest& contest) {
  contest.Add("AbsoluteDifference", 5);
  EnterEach<kv_img::AbsoluteDifferenceAlgorithmInterface<Yuv, Grey>>(
      contest, "AbsoluteDifference", "AbsoluteDifference", {PixelYUV422::ClassID, PixelGrey::ClassID},
      [](const auto& difference, Scene& scene, auto& barrier, auto thread) {
        auto& to = scene.Picture<PixelGrey>();
        difference.Apply(scene.Picture<PixelYUV422>(), scene.Picture<PixelYUV422, 1>(), to, ImageRect(to),
                         barrier, thread);
      });
  contest.Add("Average", 3);
  EnterEach<kv_img::AverageAlgorithmInterface<Grey>>(
      contest, "Average", "Average", {PixelGrey::ClassID},
      [](const auto& average, Scene& scene, auto& barrier, auto thread) {
        auto& to = scene.Picture<PixelGrey, 2>();
        const ImageRect all(to);
        average.Apply(scene.Picture<PixelGrey>(), scene.Picture<PixelGrey, 1>(), to, all, all, all, barrier,
                      thread);
      });
  for (const unsigned windowSize : {3U, 4U, 5U, 9U, 15U, 31U, 255U}) {
    const std::string operation = "AverageFilter " + std::to_string(windowSize);
    contest.Add(operation, 2);
    EnterEach<kv_img::AverageFilterAlgorithmInterface<Grey>>(
        contest, operation, "AverageFilter", {PixelGrey::ClassID},
        [windowSize](const auto& filter, Scene& scene, auto& barrier, auto thread) {
          auto& to = scene.Picture<PixelGrey, 1>();
          filter.Apply(scene.Picture<PixelGrey>(), to, ImageRect(to), windowSize, barrier, thread);
        });
  }
  contest.Add("BlendBoost", 7);
  EnterEach<kv_img::BlendBoostAlgorithmInterface<Yuv>>(
      contest, "BlendBoost", "BlendBoost", {PixelYUV422::ClassID},
      [](const auto& blend, Scene& scene, auto& barrier, auto thread) {
        auto& to = scene.Picture<PixelYUV422, 2>();
        blend.Apply(scene.Picture<PixelYUV422>(), scene.Picture<PixelYUV422, 1>(), scene.Picture<PixelGrey>(),
                    to, scene.Runs(), barrier, thread);
      });
}

void EnterAlpha(Contest& contest) {
  // The intermediate mask is written and read again.
  contest.Add("AlphaLayerColorBased 5", 7);
  EnterEach<kv_img::AlphaLayerColorBasedAlgorithmInterface<Yuv>>(
      contest, "AlphaLayerColorBased 5", "AlphaLayerColorBased", {PixelYUV422::ClassID},
      [](const auto& layer, Scene& scene, auto& barrier, auto thread) {
        auto& to = scene.Picture<PixelGrey>();
        const std::shared_ptr<Grey> between(std::shared_ptr<void>(), &scene.Picture<PixelGrey, 1>());
        layer.Apply(scene.Picture<PixelYUV422>(), scene.Picture<PixelYUV422, 1>(), to, ImageRect(to), 5,
                    between, barrier, thread);
      });
  contest.Add("AlphaLayerProbMask 5", 5);
  EnterEach<kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey>>(
      contest, "AlphaLayerProbMask 5", "AlphaLayerProbMask", {PixelGrey::ClassID},
      [](const auto& layer, Scene& scene, auto& barrier, auto thread) {
        auto& to = scene.Picture<PixelGrey, 2>();
        const std::shared_ptr<Grey> between(std::shared_ptr<void>(), &scene.MoreGrey());
        layer.Apply(scene.Picture<PixelGrey>(), scene.Picture<PixelGrey, 1>(), to, ImageRect(to), 5, between,
                    barrier, thread);
      });
}

void EnterFields(Contest& contest) {
  contest.Add("ParityChange", 4);
  EnterEach<kv_img::ParityChangeAlgorithmInterface<Yuv, Yuv>>(
      contest, "ParityChange", "ParityChange", {PixelYUV422::ClassID, PixelYUV422::ClassID},
      [](const auto& change, Scene& scene, auto& /*barrier*/, auto /*thread*/) {
        change.Apply(scene.Picture<PixelYUV422>(), scene.Picture<PixelYUV422, 1>());
      });
  // Step 7 of 30 is between pixels on both axes.
  for (const bool isHorizontal : {true, false}) {
    const std::string operation = isHorizontal ? "Scanning sideways" : "Scanning upward";
    contest.Add(operation, 4);
    EnterEach<kv_img::ScanningAlgorithmInterface<Yuv, Yuv>>(
        contest, operation, "Scanning", {PixelYUV422::ClassID, PixelYUV422::ClassID},
        [isHorizontal](const auto& scanning, Scene& scene, auto& barrier, auto thread) {
          auto& from = scene.Picture<PixelYUV422>();
          const int way = std::min(64, (isHorizontal ? scene.width : scene.height) / 2);
          const ImageRect view(0, 0, scene.width - 1 - (isHorizontal ? way : 0),
                               scene.height - 1 - (isHorizontal ? 0 : way));
          scanning.Apply(from, scene.Picture<PixelYUV422, 1>(), ImageRect(from), view, isHorizontal ? 1 : 4,
                         30, 7, barrier, static_cast<std::int32_t>(thread));
        });
  }
}

/// A template of exactly `size` by `size`, cut by the corner of its image, looked for around the centre.
void EnterSearch(Contest& contest, int size, bool withMap) {
  const int positions = 2 * size + 1;
  const std::string operation = "FeatureFind " + std::to_string(size) + "x" + std::to_string(size) + " +-" +
                                std::to_string(size) + (withMap ? "" : ", best only");
  contest.Add(operation, 0, 1.0 * size * size * positions * positions);
  EnterEach<kv_img::FeatureFindAlgorithmInterface<Yuv>>(
      contest, operation, "FeatureFind", {PixelYUV422::ClassID},
      [size, withMap](const auto& find, Scene& scene, auto& barrier, auto thread) {
        const int half = size / 2;
        const int corner[2] = {(size - 1) / 2, (size - 1) / 2};
        const int centre[2] = {scene.width / 2, scene.height / 2};
        int result[2] = {0, 0};
        static thread_local kv_img::MatchScoreMap map;
        find.LocateFeature(scene.Picture<PixelYUV422>(), scene.Picture<PixelYUV422, 1>(), corner, centre,
                           result, half, half, size, size, withMap ? &map : nullptr, barrier,
                           static_cast<int>(thread));
      });
}

void EnterPolygon(Contest& contest) {
  contest.Add("FillPoly of 100 corners", 0);
  EnterEach<kv_img::FillPolyAlgorithmInterface<Image<PixelDIB24>>>(
      contest, "FillPoly of 100 corners", "FillPoly", {PixelDIB24::ClassID},
      [](const auto& fill, Scene& scene, auto& /*barrier*/, auto /*thread*/) {
        std::vector<kv_math::Vector2> star;
        for (int corner = 0; corner < 100; ++corner) {
          const double angle = 2 * std::numbers::pi * corner / 100;
          const double radius = scene.height * (corner % 2 == 0 ? 0.6 : 0.3);
          star.emplace_back(scene.width / 2.0 + radius * std::cos(angle),
                            scene.height / 2.0 + radius * std::sin(angle));
        }
        auto& image = scene.Picture<PixelDIB24>();
        fill.Apply(image, star, PixelDIB24(0, 0, 0), 0, 0, ImageRect(image));
      });
}

}  // namespace

void EnterMembers(Contest& contest) {
  EnterCopy<PixelYUV422, PixelYUV422>(contest, "Copy YUV422, bytes swapped", 4, true);
  EnterCopy<PixelYUV422, PixelYUV422>(contest, "Copy YUV422", 4);
  EnterCopy<PixelYUV411P, PixelYUV422>(contest, "Copy YUV411P to YUV422", 4);
  EnterCopy<PixelYUV422, PixelDIB24>(contest, "Copy YUV422 to DIB24", 5);
  EnterCopy<PixelYUV422, PixelDIB16>(contest, "Copy YUV422 to DIB16", 4);
  EnterCopy<PixelYUV422, PixelDIB15>(contest, "Copy YUV422 to DIB15", 4);
  EnterCopy<PixelDIB32, PixelYUV422>(contest, "Copy DIB32 to YUV422", 6);
  EnterCopy<PixelDIB24, PixelYUV422>(contest, "Copy DIB24 to YUV422", 5);
  EnterCopy<PixelDIB32, PixelYUVA422>(contest, "Copy DIB32 to YUVA422", 7);
  EnterColors<PixelYUV422, PixelDIB24>(contest, "YUV422 to DIB24", 5);
  EnterColors<PixelYUV422, PixelDIB32>(contest, "YUV422 to DIB32", 6);
  EnterColors<PixelDIB24, PixelYUV422>(contest, "DIB24 to YUV422", 5);
  EnterColors<PixelDIB32, PixelYUV422>(contest, "DIB32 to YUV422", 6);
  EnterColors<PixelYUV422, PixelYUV422>(contest, "YUV422 to YUV422", 4);
  EnterCopyRoi(contest);
  EnterArithmetic(contest);
  EnterAlpha(contest);
  EnterFields(contest);
  for (const int size : {16, 32}) {
    EnterSearch(contest, size, true);
    EnterSearch(contest, size, false);
  }
  EnterPolygon(contest);
}

}  // namespace kv_bench
