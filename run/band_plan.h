#pragma once

#include <cstdint>
#include <type_traits>

#include "image/image.h"
#include "image/region_of_support.h"
#include "run/worker_pool.h"

namespace kv_run {

/// What a call writes: rows, and the columns of the bounding box.
struct CallExtent {
  std::int32_t rows = 0;
  std::uint32_t columns = 0;
  double Pixels() const { return static_cast<double>(rows) * columns; }
};

/// Into how many bands of rows a call is divided, and how many threads take them.
struct BandPlan {
  /// For a call that takes `nanosecondsPerPixel` on one thread:
  /// - a thread for every grain of the pool that is in it, at most those of the pool and of the options, at
  ///   most one a row;
  /// - a band for every thread, or four where a band still takes longer than 0.2 ms, so that threads that
  ///   come late or are interrupted leave their part to others;
  /// - bands of at most 5 ms, between which stops are looked at.
  BandPlan(const WorkerPool& pool, const CallOptions& options, const CallExtent& extent,
           double nanosecondsPerPixel);

  std::int32_t rows;
  int threads;
  int bands;  ///< At least `threads`, unless the operation allows fewer.
};

/// Of an operation's arguments the last region says what is written; without regions the last image does.
template <class... Arguments>
CallExtent ExtentOf(const Arguments&... arguments) {
  CallExtent extent;
  bool isRegion = false;
  const auto measure = [&](const auto& argument) {
    using Argument = std::remove_cvref_t<decltype(argument)>;
    if constexpr (std::is_base_of_v<kv_img::RegionOfSupport, Argument>) {
      isRegion = true;
      extent = {static_cast<std::int32_t>(argument.GetHeight()), argument.GetWidth()};
    } else if constexpr (std::is_base_of_v<kv_img::IImage, Argument>) {
      if (!isRegion) extent = {static_cast<std::int32_t>(argument.GetHeight()), argument.GetWidth()};
    }
  };
  (measure(arguments), ...);
  return extent;
}

}  // namespace kv_run
