#include "check/models/copy_roi_model.h"
#include "check/operation_call.h"
#include "check/region_pairs.h"
#include "frame/interfaces/copy_roi.h"

namespace kv_check {
namespace {

using kv_img::AlgorithmInterface;
using kv_img::Image;
using kv_img::PixelYUV411P;
using kv_img::PixelYUV422;

template <class In>
class CopyRoiRule final : public kv_img::CopyROIAlgorithmInterface<Image<In>, Yuv422> {
  Yuv422& Apply(const Image<In>& source, Yuv422& destination, const kv_img::RegionOfSupport& from,
                const kv_img::RegionOfSupport& to, kv_std::SpinBarrier& barrier,
                std::uint32_t index) const override {
    if (kv_model::RoiIsRefused(source, destination, from, to)) Refuse(2);
    const int threads = barrier.GetThreadCount();
    if constexpr (std::is_same_v<In, PixelYUV411P>) {
      if (kv_model::RoiIsUnevenlyPlaced(from, to)) Refuse(2);
      if (index == 0) kv_model::CopyRoiPlanar(source, destination, from, to, threads);
    } else {
      if (index == 0) kv_model::CopyRoiYuv422(source, destination, from, to, threads);
    }
    return destination;
  }
};

/// Regions that fit their images, and now and then ones that do not.
RegionPair AnyRegions(Random& random, Size from, Size to, bool wantsEvenPlaces) {
  RegionPair pair = RandomRegionPair(random, from, to);
  const auto isOdd = [](const kv_img::RegionOfSupport& region) {
    return region.GetLeft() % 2 != 0 || region.GetWidth() % 2 != 0;
  };
  for (int i = 0; i < 8 && wantsEvenPlaces && (isOdd(*pair.source) || isOdd(*pair.destination)); ++i) {
    pair = RandomRegionPair(random, from, to);
  }
  if (random.OneIn(20)) pair.source = std::move(RandomRegionPair(random, from, to).source);
  return pair;
}

template <class In>
Comparison CompareRoiCopies(Random& random, const AlgorithmInterface& reference,
                            const AlgorithmInterface& other) {
  const Size from{random.Between(1, 90), random.Between(1, 9)};
  const Size to{random.OneIn(2) ? from.width : random.Between(1, 90), random.Between(1, 9)};
  const int threads = random.Between(1, 9);
  const RegionPair regions = AnyRegions(random, from, to, std::is_same_v<In, PixelYUV411P>);
  // Planar rows run past short spans by up to their own length.
  const auto slack = 2 * static_cast<std::size_t>(from.width) + 16;
  return CompareCalls<kv_img::CopyROIAlgorithmInterface<Image<In>, Image<PixelYUV422>>>(
      reference, other,
      [&](const auto& copy, auto& /*values*/, Image<In>& source, Image<PixelYUV422>& destination) {
        InTurn(threads, [&](auto& barrier, std::uint32_t index) {
          copy.Apply(source, destination, *regions.source, *regions.destination, barrier, index);
        });
      },
      AnyImage<In>(random, from.width, from.height, slack),
      AnyImage<PixelYUV422>(random, to.width, to.height, slack));
}

}  // namespace

void AddCopyRoiOperations(std::vector<OperationCase>& list) {
  AddRows<kv_img::algorithms::CopyROI>(list, []<class In>(kv_img::PixelClasses<In, PixelYUV422>) {
    return RowCheck{CompareRoiCopies<In>, RuleOf<CopyRoiRule<In>>()};
  });
}

}  // namespace kv_check
