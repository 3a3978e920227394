#pragma once

#include <algorithm>
#include <memory>
#include <type_traits>

#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/copy.h"
#include "frame/interfaces/copy_roi.h"
#include "frame/interfaces/scanning.h"
#include "image/image.h"
#include "run/band_plan.h"

namespace kv_run {
namespace bands {

// Each operation divides its rows into bands, one for every thread of the barrier. A few have rules that look
// at a band, so that their bytes follow the number of bands. For the arguments of a call, MostThreads answers
// the most bands, at least 1 and at most `threads`, that give the bytes of one thread.

using Packed = kv_img::Image<kv_img::PixelYUV422>;
using Grey = kv_img::Image<kv_img::PixelNoColor<unsigned char>>;

/// Rows that are moved to another field are moved within a band, and the row at its edge is repeated.
template <class In, class Out>
bool IsShifted(const In& source, const Out& destination) {
  return source.GetProperties().fieldParity != destination.GetProperties().fieldParity;
}

/// What same-layout copies ask before they take memory as one block.
inline bool IsBlock(const Packed& source, const Packed& destination) {
  const auto& from = source.GetPixelBuffer();
  const auto& to = destination.GetPixelBuffer();
  return source.GetPixelLayout() == destination.GetPixelLayout() && from.properties == to.properties &&
         (from.properties.propertyFlag == 0 || from.properties.propertyMode == 2) &&
         from.storageFlag == to.storageFlag;
}

inline bool HasFullWidth(const kv_img::RegionOfSupport& region, const Packed& image) {
  return region.GetLeft() == 0 && region.GetRight() == static_cast<int>(image.GetWidth()) - 1;
}

template <class In, class Out>
int MostThreads(int threads, const kv_img::CopyAlgorithmInterface<In, Out>& /*operation*/, const In& source,
                const Out& destination) {
  if constexpr (std::is_same_v<In, Packed> && std::is_same_v<Out, Packed>) {
    if (IsBlock(source, destination)) {
      // Each thread copies an equal share, and what the division leaves over is not copied.
      const std::uint64_t total = destination.GetPixelBuffer().totalBytes;
      if (source.GetPixelBuffer().totalBytes != total) return 1;
      while (total % static_cast<std::uint64_t>(threads) != 0) --threads;
      return threads;
    }
  }
  return IsShifted(source, destination) ? 1 : threads;
}

template <class In, class Out>
int MostThreads(int threads, const kv_img::CopyROIAlgorithmInterface<In, Out>& /*operation*/,
                const In& source, const Out& destination, const kv_img::RegionOfSupport& sourceRegion,
                const kv_img::RegionOfSupport& destinationRegion) {
  if constexpr (std::is_same_v<In, Packed> && std::is_same_v<Out, Packed>) {
    // Of a block every thread copies the size of the whole region, past the region's end.
    if (IsBlock(source, destination) && sourceRegion.IsRectangular() && HasFullWidth(sourceRegion, source) &&
        HasFullWidth(destinationRegion, destination)) {
      return 1;
    }
  }
  return IsShifted(source, destination) ? 1 : threads;
}

/// Half a line further down, a band's last row repeats the row above it. Layouts that do not fit are refused in
/// each band, after its first pixel.
template <class In, class Out>
int MostThreads(int threads, const kv_img::ScanningAlgorithmInterface<In, Out>& /*operation*/,
                const In& source, const Out& destination, const kv_img::RegionOfSupport& /*sourceRegion*/,
                const kv_img::RegionOfSupport& /*destinationRegion*/, std::uint8_t /*modeFlags*/,
                std::int32_t /*steps*/, std::uint32_t step) {
  if (source.GetPixelLayout() != destination.GetPixelLayout()) return 1;
  return destination.GetProperties().fieldParity == (step & 1U) ? threads : 1;
}

// Without an intermediate image each thread makes one of its own, which holds the raw mask of its band alone.

template <class ImageType>
int MostThreads(int threads, const kv_img::AlphaLayerColorBasedAlgorithmInterface<ImageType>& /*operation*/,
                const ImageType& /*first*/, const ImageType& /*second*/, const Grey& /*destination*/,
                const kv_img::RegionOfSupport& /*region*/, std::uint32_t /*windowSize*/,
                const std::shared_ptr<Grey>& intermediate) {
  return intermediate ? threads : 1;
}

template <class ImageType>
int MostThreads(int threads, const kv_img::AlphaLayerProbMaskAlgorithmInterface<ImageType>& /*operation*/,
                const ImageType& /*p*/, const ImageType& /*q*/, const ImageType& /*destination*/,
                const kv_img::RegionOfSupport& /*region*/, std::uint32_t /*gain*/,
                std::uint32_t /*windowSize*/, const std::shared_ptr<ImageType>& intermediate) {
  return intermediate ? threads : 1;
}

template <class ImageType>
int MostThreads(int threads, const kv_img::AlphaLayerProbMaskAlgorithmInterface<ImageType>& /*operation*/,
                const ImageType& /*p*/, const ImageType& /*q*/, const ImageType& /*destination*/,
                const kv_img::RegionOfSupport& /*region*/, std::uint32_t /*windowSize*/,
                const std::shared_ptr<ImageType>& intermediate) {
  return intermediate ? threads : 1;
}

template <class ImageType>
std::true_type HasPhases(const kv_img::AlphaLayerColorBasedAlgorithmInterface<ImageType>*);
template <class ImageType>
std::true_type HasPhases(const kv_img::AlphaLayerProbMaskAlgorithmInterface<ImageType>*);
std::false_type HasPhases(const void*);

/// A band of the filter starts by adding up the rows of a window.
template <class ImageType>
int MostWorthWhile(const BandPlan& plan,
                   const kv_img::AverageFilterAlgorithmInterface<ImageType>& /*operation*/,
                   const ImageType& /*source*/, const ImageType& /*destination*/,
                   const kv_img::RegionOfSupport& /*region*/, std::uint32_t windowSize) {
  constexpr std::uint32_t windows = 8;
  const auto rows = static_cast<std::uint32_t>(plan.rows);
  return std::max(plan.threads, static_cast<int>(rows / (windows * std::clamp(windowSize, 1U, 256U))));
}

}  // namespace bands

/// The most threads, at most `threads`, on which `operation.Apply(arguments…)` gives the bytes that one
/// thread gives: all of them, but for calls whose bytes follow the bands of rows.
template <class Operation, class... Arguments>
int ThreadLimit(int threads, const Operation& operation, const Arguments&... arguments) {
  if constexpr (requires { bands::MostThreads(threads, operation, arguments...); }) {
    return bands::MostThreads(threads, operation, arguments...);
  } else {
    return threads;
  }
}

/// Whether the threads of an operation wait for each other, so that all have to run at once.
template <class Operation>
inline constexpr bool hasPhases = decltype(bands::HasPhases(static_cast<const Operation*>(nullptr)))::value;

/// The most bands of a plan that cost no more than their rows do.
template <class Operation, class... Arguments>
int MostWorthWhile(const BandPlan& plan, const Operation& operation, const Arguments&... arguments) {
  if constexpr (requires { bands::MostWorthWhile(plan, operation, arguments...); }) {
    return std::min(plan.bands, bands::MostWorthWhile(plan, operation, arguments...));
  } else {
    return plan.bands;
  }
}

}  // namespace kv_run
