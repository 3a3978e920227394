#pragma once

#include <tuple>

#include "frame/algorithm_list.h"
#include "frame/implementation_data.h"
#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/copy.h"
#include "image/image.h"

namespace kv_img {

// Forwarding classes: an algorithm of the family as a class that anyone can use, without knowing the member
// that implements it. Each has one holder per module, which AlgorithmManager::LoadImplementation must have
// filled before an operation is called.

/// "AverageFilter" by whichever member was found. Holders exist for 8-bit images and for DIB24.
template <class ImageType>
class AverageFilterAlgorithm final : public AverageFilterAlgorithmInterface<ImageType> {
 public:
  using Interface = AverageFilterAlgorithmInterface<ImageType>;

  static ImplementationData<AverageFilterAlgorithm>& Implementation();

  ImageType& Apply(const ImageType& source, ImageType& destination, const RegionOfSupport& region,
                   std::uint32_t windowSize, kv_std::SpinBarrier& barrier,
                   std::uint32_t threadIndex) const override {
    return Implementation().current->Apply(source, destination, region, windowSize, barrier, threadIndex);
  }
};

/// "Copy" by whichever member was found. A holder exists for every pair of the list of algorithms.
template <class ImageIn, class ImageOut>
class CopyAlgorithm final : public CopyAlgorithmInterface<ImageIn, ImageOut> {
 public:
  using Interface = CopyAlgorithmInterface<ImageIn, ImageOut>;

  static ImplementationData<CopyAlgorithm>& Implementation();

  ImageOut& Apply(const ImageIn& source, ImageOut& destination, kv_std::SpinBarrier& barrier,
                  std::uint32_t threadIndex) const override {
    return Implementation().current->Apply(source, destination, barrier, threadIndex);
  }
};

namespace holders {

template <class Rows>
struct CopyHolders;
template <class... In, class... Out>
struct CopyHolders<TypeList<PixelClasses<In, Out>...>> {
  using Type = std::tuple<ImplementationData<CopyAlgorithm<Image<In>, Image<Out>>>...>;
};

extern std::tuple<ImplementationData<AverageFilterAlgorithm<Image<PixelNoColor<unsigned char>>>>,
                  ImplementationData<AverageFilterAlgorithm<Image<PixelDIB24>>>>
    averageFilter;
extern CopyHolders<algorithms::Copy::AllRows>::Type copy;

}  // namespace holders

template <class ImageType>
ImplementationData<AverageFilterAlgorithm<ImageType>>& AverageFilterAlgorithm<ImageType>::Implementation() {
  return std::get<ImplementationData<AverageFilterAlgorithm>>(holders::averageFilter);
}

template <class ImageIn, class ImageOut>
ImplementationData<CopyAlgorithm<ImageIn, ImageOut>>& CopyAlgorithm<ImageIn, ImageOut>::Implementation() {
  return std::get<ImplementationData<CopyAlgorithm>>(holders::copy);
}

}  // namespace kv_img
