#include "tests/models/model_family.h"

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "frame/algorithm_list.h"
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
#include "image/errors/exceptions.h"
#include "image/run_region.h"
#include "tests/models/absolute_difference_model.h"
#include "tests/models/alpha_layer_model.h"
#include "tests/models/average_model.h"
#include "tests/models/blend_boost_model.h"
#include "tests/models/copy_model.h"
#include "tests/models/copy_planar_model.h"
#include "tests/models/copy_rgb_to_yuv_model.h"
#include "tests/models/copy_roi_model.h"
#include "tests/models/copy_yuv_to_rgb_model.h"
#include "tests/models/feature_find_model.h"
#include "tests/models/parity_change_model.h"
#include "tests/models/portable_copy_model.h"
#include "tests/models/scanning_model.h"

namespace kv_model {
namespace {

using kv_img::Image;
using kv_img::PixelDIB15;
using kv_img::PixelDIB16;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV411P;
using kv_img::PixelYUV422;
using kv_img::PixelYUVA422;
using kv_img::RegionOfSupport;
using kv_std::SpinBarrier;
using NoColor = kv_img::PixelNoColor<unsigned char>;
using Frame = Image<PixelYUV422>;
using Grey = Image<NoColor>;

[[noreturn]] void Refuse(std::uint32_t code) {
  throw kv_img::AlgoMMXException(code, L"model", L"");
}

template <class A, class B>
bool HaveEqualSizes(const A& a, const B& b) {
  return a.GetWidth() == b.GetWidth() && a.GetHeight() == b.GetHeight();
}

// "Copy", by the model of each pair.
void CopyAll(const Frame& from, Frame& to, int threads) {
  CopyYuv422(from, to, threads);
}
void CopyAll(const Frame& from, Image<PixelDIB24>& to, int threads) {
  CopyYuv422ToDib24(from, to, threads);
}
void CopyAll(const Frame& from, Image<PixelDIB15>& to, int threads) {
  CopyYuv422ToDibWords(from, to, threads, WordOf15Bits);
}
void CopyAll(const Frame& from, Image<PixelDIB16>& to, int threads) {
  CopyYuv422ToDibWords(from, to, threads, WordOf16Bits);
}
void CopyAll(const Image<PixelDIB24>& from, Frame& to, int threads) {
  CopyDib24ToYuv422(from, to, threads);
}
void CopyAll(const Image<PixelDIB32>& from, Frame& to, int threads) {
  CopyDib32ToYuv422(from, to, threads);
}
void CopyAll(const Image<PixelDIB32>& from, Image<PixelYUVA422>& to, int threads) {
  CopyDib32ToYuva422(from, to, threads);
}
void CopyAll(const Image<PixelYUV411P>& from, Frame& to, int threads) {
  CopyPlanarToYuv422(from, to, threads);
}
template <class In, class Out>
void CopyAll(const In& from, Out& to, int threads) {
  PortableCopy(from, to, threads);
}

template <class In, class Out>
class CopyOfModel final : public kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>> {
  Image<Out>& Apply(const Image<In>& source, Image<Out>& destination, SpinBarrier& barrier,
                    std::uint32_t index) const override {
    if (!HaveEqualSizes(source, destination)) Refuse(1);
    if (index == 0) CopyAll(source, destination, barrier.GetThreadCount());
    return destination;
  }
};

template <class In>
class CopyRoiOfModel final : public kv_img::CopyROIAlgorithmInterface<Image<In>, Frame> {
  Frame& Apply(const Image<In>& source, Frame& destination, const RegionOfSupport& from,
               const RegionOfSupport& to, SpinBarrier& barrier, std::uint32_t index) const override {
    if (RoiIsRefused(source, destination, from, to)) Refuse(2);
    const int threads = barrier.GetThreadCount();
    if constexpr (std::is_same_v<In, PixelYUV411P>) {
      if (RoiIsUnevenlyPlaced(from, to)) Refuse(2);
      if (index == 0) CopyRoiPlanar(source, destination, from, to, threads);
    } else {
      if (index == 0) CopyRoiYuv422(source, destination, from, to, threads);
    }
    return destination;
  }
};

class ParityChangeOfModel final : public kv_img::ParityChangeAlgorithmInterface<Frame, Frame> {
  Frame& Apply(const Frame& source, Frame& destination, const RegionOfSupport& region) const override {
    if (!region.IsInside(kv_img::ImageRect(source)) || !region.IsInside(kv_img::ImageRect(destination)))
      Refuse(1);
    ChangeParityOfRegion(source, destination, region);
    return destination;
  }
  Frame& Apply(const Frame& source, Frame& destination) const override {
    if (!HaveEqualSizes(source, destination)) Refuse(1);
    ChangeParityOfImage(source, destination);
    return destination;
  }
};

class ScanningOfModel final : public kv_img::ScanningAlgorithmInterface<Frame, Frame> {
  Frame& Apply(const Frame& source, Frame& destination, const RegionOfSupport& from,
               const RegionOfSupport& to, std::uint8_t mode, std::int32_t steps, std::uint32_t step,
               SpinBarrier& barrier, std::int32_t index) const override {
    const bool isHorizontal = (mode & 3) != 0;
    const bool isVertical = !isHorizontal && (mode & 12) != 0;
    if (to.GetWidth() > from.GetWidth() || to.GetHeight() > from.GetHeight() ||
        (isHorizontal && to.GetHeight() != from.GetHeight()) ||
        (isVertical && to.GetWidth() != from.GetWidth())) {
      Refuse(2);
    }
    if (index == 0) {
      const auto& fromRect = static_cast<const kv_img::ImageRect&>(from);
      const auto& toRect = static_cast<const kv_img::ImageRect&>(to);
      Scan(source, destination, fromRect, toRect, mode, steps, step, barrier.GetThreadCount());
    }
    return destination;
  }
};

class BlendBoostOfModel final : public kv_img::BlendBoostAlgorithmInterface<Frame> {
  Frame& Apply(const Frame& b, const Frame& a, const Mask& mask, Frame& destination,
               const RegionOfSupport& region, SpinBarrier& barrier, std::uint32_t index) const override {
    if (region.GetRegionType() != 3) Refuse(4);
    if (!HaveEqualSizes(a, destination) || !HaveEqualSizes(b, destination)) Refuse(1);
    if (a.GetPixelLayout() != b.GetPixelLayout()) Refuse(6);
    // Row after row, for a run that is refused leaves the rows above it written.
    const int rows = std::max(region.GetBottom() - region.GetTop() + 1, 0);
    const int threads = barrier.GetThreadCount();
    const int first = region.GetTop() + rows * static_cast<int>(index) / threads;
    const int end = region.GetTop() + rows * static_cast<int>(index + 1) / threads;
    for (int row = first; row < end; ++row) {
      const int left = region.GetLeft(row);
      const int right = region.GetRight(row);
      if ((right - left + 1) % 4 != 0 || right - left + 1 < 0) {
        throw kv_img::AlgoMotionException(4, L"model", L"");
      }
      BlendBoost(b, a, mask, destination, kv_img::ImageRect(left, row, right, row));
    }
    return destination;
  }
};

/// Prepares, and paints nothing.
class FillPolyOfModel final : public kv_img::FillPolyAlgorithmInterface<Image<PixelDIB24>> {
  Image<PixelDIB24>& Apply(Image<PixelDIB24>& image, const std::vector<kv_math::Vector2>& /*vertices*/,
                           const kv_img::Pixel& /*colour*/, int /*unused1*/, int /*unused2*/,
                           const RegionOfSupport& /*region*/) const override {
    return image;
  }
};

class AbsoluteDifferenceOfModel final : public kv_img::AbsoluteDifferenceAlgorithmInterface<Frame, Grey> {
  Grey& Apply(const Frame& first, const Frame& second, Grey& destination, const RegionOfSupport& region,
              SpinBarrier& /*barrier*/, std::uint32_t index) const override {
    if (!HaveEqualSizes(first, destination) || !HaveEqualSizes(second, destination)) Refuse(1);
    if (first.GetPixelLayout() != second.GetPixelLayout()) Refuse(6);
    if (index == 0) AbsoluteDifference(first, second, destination, region);
    return destination;
  }
};

class AverageOfModel final : public kv_img::AverageAlgorithmInterface<Grey> {
  Grey& Apply(const Grey& first, const Grey& second, Grey& destination, const RegionOfSupport& firstRegion,
              const RegionOfSupport& secondRegion, const RegionOfSupport& outputRegion,
              SpinBarrier& /*barrier*/, std::uint32_t index) const override {
    if (!HaveEqualSizes(first, destination) || !HaveEqualSizes(second, destination)) Refuse(1);
    if (index == 0) Average(first, second, destination, firstRegion, secondRegion, outputRegion);
    return destination;
  }
};

void Smooth(const Grey& source, Grey& destination, const RegionOfSupport& region, std::uint32_t windowSize) {
  if (!HaveEqualSizes(source, destination)) Refuse(1);
  if (windowSize < 1 || windowSize > 255) Refuse(4);
  AverageFilter(source, destination, region, static_cast<int>(windowSize));
}

class AverageFilterOfModel final : public kv_img::AverageFilterAlgorithmInterface<Grey> {
  Grey& Apply(const Grey& source, Grey& destination, const RegionOfSupport& region, std::uint32_t windowSize,
              SpinBarrier& /*barrier*/, std::uint32_t index) const override {
    if (index == 0) Smooth(source, destination, region, windowSize);
    return destination;
  }
};

/// One thread makes its own intermediate.
class ColorLayerOfModel final : public kv_img::AlphaLayerColorBasedAlgorithmInterface<Frame> {
  Mask& Apply(const Frame& first, const Frame& second, Mask& destination, const RegionOfSupport& region,
              std::uint32_t windowSize, std::shared_ptr<Mask> /*intermediate*/, SpinBarrier& /*barrier*/,
              std::uint32_t /*index*/) const override {
    if (!HaveEqualSizes(first, second) || !HaveEqualSizes(first, destination)) Refuse(1);
    if (first.GetPixelLayout() != second.GetPixelLayout()) Refuse(6);
    Grey raw(static_cast<int>(first.GetWidth()), static_cast<int>(first.GetHeight()));
    ColorRawMask(first, second, raw, region);
    Smooth(raw, destination, region, windowSize);
    return destination;
  }
};

class ProbLayerOfModel final : public kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey> {
  Grey& Apply(const Grey& p, const Grey& q, Grey& destination, const RegionOfSupport& region,
              std::uint32_t gain, std::uint32_t windowSize, std::shared_ptr<Grey> /*intermediate*/,
              SpinBarrier& /*barrier*/, std::uint32_t /*index*/) const override {
    if (!HaveEqualSizes(p, q) || !HaveEqualSizes(p, destination)) Refuse(1);
    Grey raw(static_cast<int>(p.GetWidth()), static_cast<int>(p.GetHeight()));
    ProbRawMask(p, q, raw, region, gain);
    Smooth(raw, destination, region, windowSize);
    return destination;
  }
  Grey& Apply(const Grey& p, const Grey& q, Grey& destination, const RegionOfSupport& region,
              std::uint32_t windowSize, std::shared_ptr<Grey> intermediate, SpinBarrier& barrier,
              std::uint32_t index) const override {
    return Apply(p, q, destination, region, 1U, windowSize, std::move(intermediate), barrier, index);
  }
};

template <class PixelClass>
class FeatureFindOfModel final : public kv_img::FeatureFindAlgorithmInterface<Image<PixelClass>> {
  using ImageType = Image<PixelClass>;

  /// Records the scores, which come row after row, at their grid points.
  static void Record(const Outcome& outcome, kv_img::MatchScoreMap* map, const int first[2],
                     const int last[2]) {
    if (map == nullptr) return;
    map->Reset({first[0], first[1], last[0], last[1]});
    std::size_t next = 0;
    const kv_img::ImageRect& rect = map->Rect();
    for (int y = rect.GetTop(); y <= rect.GetBottom(); ++y) {
      for (int x = rect.GetLeft(); x <= rect.GetRight(); ++x) map->Store(x, y, outcome.scores.at(next++));
    }
  }

  void LocateFeature(const ImageType& image1, const ImageType& image2, const int point1[2],
                     const int point2[2], int result[2], int hw, int hh, int rangeX, int rangeY,
                     kv_img::MatchScoreMap* map, SpinBarrier& /*barrier*/, int /*index*/) const override {
    const Outcome outcome =
        kv_model::LocateFeature(image1, image2, point1, point2, result, hw, hh, rangeX, rangeY);
    if (outcome.isRefused) Refuse(1);
    const Template t(image1, point1[0], point1[1], hw, hh);
    const auto limit = [&](unsigned size, int part) { return static_cast<int>(size) - part - 1; };
    const int first[2] = {t.ox + std::max(point2[0] - hw - rangeX, 0),
                          t.oy + std::max(point2[1] - hh - rangeY, 0)};
    const int last[2] = {t.ox + std::min(point2[0] - hw + rangeX, limit(image2.GetWidth(), t.tw)),
                         t.oy + std::min(point2[1] - hh + rangeY, limit(image2.GetHeight(), t.th))};
    Record(outcome, map, first, last);
  }
  void LocateFeatureNoMap(const ImageType& image1, const ImageType& image2, const int point1[2],
                          const int point2[2], int result[2], int hw, int hh, int rangeX, int rangeY,
                          SpinBarrier& barrier, int index) const override {
    LocateFeature(image1, image2, point1, point2, result, hw, hh, rangeX, rangeY, nullptr, barrier, index);
  }
  void LocateFeatureSubPixel(const ImageType& image1, const ImageType& image2, const double point1[2],
                             const double point2[2], double result[2], int hw, int hh, double rangeX,
                             double rangeY, double stepX, double stepY, int levels,
                             kv_img::SubPixelScoreMap* map, SpinBarrier& /*barrier*/,
                             int /*index*/) const override {
    const Outcome outcome = kv_model::LocateFeatureSubPixel(image1, image2, point1, point2, result, hw, hh,
                                                            rangeX, rangeY, stepX, stepY, levels);
    Finish(outcome, map);
  }
  void RefineFeature(const ImageType& image1, const ImageType& image2, const double point1[2],
                     const double point2[2], double result[2], int hw, int hh, double rangeX, double rangeY,
                     double stepX, double stepY, int level, int levels, kv_img::SubPixelScoreMap* map,
                     SpinBarrier& /*barrier*/, int /*index*/) const override {
    const Outcome outcome = kv_model::RefineFeature(image1, image2, point1, point2, result, hw, hh, rangeX,
                                                    rangeY, stepX, stepY, level, levels);
    Finish(outcome, map);
  }

  /// The scores alone, in a grid of one row.
  static void Finish(const Outcome& outcome, kv_img::SubPixelScoreMap* map) {
    if (outcome.isRefused) Refuse(1);
    if (map == nullptr || outcome.scores.empty()) return;
    const auto columns = static_cast<double>(outcome.scores.size());
    map->Reset({0, 0, columns - 1, 0}, 1, 1);
    for (std::size_t i = 0; i < outcome.scores.size(); ++i) {
      map->Store(static_cast<double>(i), 0, outcome.scores[i]);
    }
  }
};

using Key = std::pair<std::string, std::vector<int>>;
// Shared pointers know what they delete; the interfaces have no virtual destructor.
using Models = std::map<Key, std::shared_ptr<kv_img::AlgorithmInterface>>;

template <class... In, class... Out>
void AddCopies(Models& models, kv_img::TypeList<kv_img::PixelClasses<In, Out>...> /*rows*/) {
  ((models[{"Copy", {In::ClassID, Out::ClassID}}] = std::make_unique<CopyOfModel<In, Out>>()), ...);
}

Models MakeModels() {
  Models models;
  AddCopies(models, kv_img::algorithms::Copy::AllRows{});
  const int yuv422 = PixelYUV422::ClassID;
  const int grey = NoColor::ClassID;
  models[{"CopyROI", {yuv422, yuv422}}] = std::make_unique<CopyRoiOfModel<PixelYUV422>>();
  models[{"CopyROI", {PixelYUV411P::ClassID, yuv422}}] = std::make_unique<CopyRoiOfModel<PixelYUV411P>>();
  models[{"ParityChange", {yuv422, yuv422}}] = std::make_unique<ParityChangeOfModel>();
  models[{"Scanning", {yuv422, yuv422}}] = std::make_unique<ScanningOfModel>();
  models[{"BlendBoost", {yuv422}}] = std::make_unique<BlendBoostOfModel>();
  models[{"FillPoly", {PixelDIB24::ClassID}}] = std::make_unique<FillPolyOfModel>();
  models[{"AbsoluteDifference", {yuv422, grey}}] = std::make_unique<AbsoluteDifferenceOfModel>();
  models[{"Average", {grey}}] = std::make_unique<AverageOfModel>();
  for (const int id : {grey, int{Grey::ClassID}}) {
    models[{"AverageFilter", {id}}] = std::make_unique<AverageFilterOfModel>();
  }
  models[{"AlphaLayerColorBased", {yuv422}}] = std::make_unique<ColorLayerOfModel>();
  models[{"AlphaLayerProbMask", {grey}}] = std::make_unique<ProbLayerOfModel>();
  models[{"FeatureFind", {yuv422}}] = std::make_unique<FeatureFindOfModel<PixelYUV422>>();
  models[{"FeatureFind", {PixelDIB24::ClassID}}] = std::make_unique<FeatureFindOfModel<PixelDIB24>>();
  models[{"FeatureFind", {PixelDIB32::ClassID}}] = std::make_unique<FeatureFindOfModel<PixelDIB32>>();
  return models;
}

}  // namespace

kv_img::AlgorithmInterface* ModelOf(const kv_check::OperationCase& operation) {
  static const Models models = MakeModels();
  const auto found = models.find({operation.algorithm, operation.ids});
  return found == models.end() ? nullptr : found->second.get();
}

}  // namespace kv_model
