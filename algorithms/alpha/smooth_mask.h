#pragma once

#include "frame/algorithm_manager.h"
#include "frame/forwarding_algorithms.h"
#include "frame/row_band.h"

namespace kv_img::alpha {

using Mask = Image<PixelNoColor<unsigned char>>;

/// The family's best averaging filter. Throws AlgoException code 1 if no member has one.
///
/// Deliberately loaded with the identifier of the image type: members register "AverageFilter" under the
/// identifier of the pixel class, so the filter is that of a member that knows both.
inline AverageFilterAlgorithm<Mask> AverageFilter() {
  const int classId = Mask::ClassID;
  AlgorithmManager::GetInstance()->LoadImplementation("AverageFilter", &classId, 1,
                                                      AverageFilterAlgorithm<Mask>::Implementation());
  return {};
}

/// The second phase of an alpha layer. The filter reads rows of other bands, so all threads must finish the
/// raw mask first.
inline void SmoothMask(const Mask& rawMask, Mask& destination, const RegionOfSupport& region,
                       std::uint32_t windowSize, kv_std::SpinBarrier& barrier, std::uint32_t threadIndex) {
  barrier.Wait();
  AverageFilter().Apply(rawMask, destination, region, windowSize, barrier, threadIndex);
}

/// Calls `work(row, first column, last column)` for the rows of a thread.
template <class RowWork>
void ForEachRun(const RegionOfSupport& region, const kv_std::SpinBarrier& barrier, std::uint32_t threadIndex,
                RowWork work) {
  const RowBand band = BandOf(region, barrier, threadIndex);
  for (int row = band.first; row <= band.last; ++row) work(row, region.GetLeft(row), region.GetRight(row));
}

}  // namespace kv_img::alpha
