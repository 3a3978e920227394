#pragma once

#include <cstdint>

#include "algorithms/simd/kernel.h"

namespace kv_img::featurefind {

/// Finds the least of `count` sums, compared as signed values (the largest of all without sums), and stores the mean
/// of each, sums[i] / samples, in `means`, if that is not null.
struct Scores {
  struct Args {
    std::int32_t count;
    const std::uint32_t* sums;
    double samples;
    double* means;
    std::int32_t least;
  };
  static constexpr const char* name = "featurefind/Scores";
  // 64-bit registers hold no doubles.
  static constexpr bool isWithoutMmx = true;
  template <class Set>
  static void Run(Args& args) noexcept;
};

}  // namespace kv_img::featurefind
