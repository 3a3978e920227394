#pragma once

#include <memory>
#include <type_traits>

#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/interfaces/copy.h"
#include "frame/interfaces/copy_roi.h"
#include "frame/interfaces/scanning.h"
#include "image/image.h"

namespace kv_run {
namespace bands {

// Each operation divides its rows among the threads of the barrier. A few have rules that look at a thread's
// own band, so that their bytes follow the number of threads. For the arguments of a call, MostThreads
// answers the most threads, at least 1 and at most `threads`, that give the bytes of one thread.

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

/// Half a line further down, a band's last row repeats the row above it.
template <class In, class Out>
int MostThreads(int threads, const kv_img::ScanningAlgorithmInterface<In, Out>& /*operation*/,
                const In& /*source*/, const Out& destination, const kv_img::RegionOfSupport& /*sourceRegion*/,
                const kv_img::RegionOfSupport& /*destinationRegion*/, std::uint8_t /*modeFlags*/,
                std::int32_t /*steps*/, std::uint32_t step) {
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

}  // namespace kv_run
