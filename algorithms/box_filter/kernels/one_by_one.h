#pragma once

#include "algorithms/box_filter/kernels/box_filter.h"

// Two rows of windows by the kernel for one, for kernel files only.

namespace kv_img::box_filter {
namespace {

template <class Set>
void RunOneByOne(SmallWindowMeansOfTwo::Args& args) noexcept {
  SmallWindowMeans::Args lower{args.groups, {}, args.lower, args.windowSize};
  for (std::uint32_t i = 0; i < args.windowSize; ++i) lower.rows[i] = args.rows[i + 1];
  SmallWindowMeans::Args upper{args.groups, {}, args.upper, args.windowSize};
  for (std::uint32_t i = 0; i < args.windowSize; ++i) upper.rows[i] = args.rows[i];
  SmallWindowMeans::Run<Set>(upper);
  SmallWindowMeans::Run<Set>(lower);
  args.rows[0] = upper.rows[0];
  for (std::uint32_t i = 0; i < args.windowSize; ++i) args.rows[i + 1] = lower.rows[i];
  args.upper = upper.destination;
  args.lower = lower.destination;
}

}  // namespace
}  // namespace kv_img::box_filter
