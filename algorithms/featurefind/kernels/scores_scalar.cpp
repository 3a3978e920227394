#include <limits>

#include "algorithms/featurefind/kernels/scores.h"

namespace kv_img::featurefind {

template <>
void Scores::Run<Scalar>(Args& args) noexcept {
  args.least = std::numeric_limits<std::int32_t>::max();
  for (std::int32_t i = 0; i < args.count; ++i) {
    const auto score = static_cast<std::int32_t>(args.sums[i]);
    args.least = score < args.least ? score : args.least;
    if (args.means != nullptr) args.means[i] = static_cast<double>(args.sums[i]) / args.samples;
  }
}

}  // namespace kv_img::featurefind
