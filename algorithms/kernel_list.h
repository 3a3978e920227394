#pragma once

#include <type_traits>

// Every kernel of the family. A set runs no other (algorithms/kernel_sets.h); the check tool and the
// benchmark run each of these in each set.

namespace kv_img {

template <class... Kernels>
struct KernelList {
  template <class Kernel>
  static constexpr bool has = (std::is_same_v<Kernel, Kernels> || ...);
};

namespace alpha {
using Kernels = KernelList<struct CentredDifference, struct ChromaDistance>;
}
namespace arithmetic {
// There is an operation of the same name. NOLINTNEXTLINE(bugprone-forward-declaration-namespace)
using Kernels = KernelList<struct BlendBoost, struct HalvedSum, struct LumaDifference>;
}  // namespace arithmetic
namespace box_filter {
using Kernels = KernelList<struct ReplaceRow, struct SmallWindowMeans, struct WindowMeans>;
}
namespace color {
using Kernels = KernelList<struct DecodeTo24, struct DecodeTo32, struct EncodeFrom24, struct EncodeFrom32,
                           struct GreyOf24, struct GreyOf32, struct GreyOfLuma, struct GreyTo24,
                           struct GreyTo32, struct LumaOfGrey, struct PutAlpha, struct Rearrange24To24,
                           struct Rearrange24To32, struct Rearrange32To24, struct Rearrange32To32,
                           struct Recode, struct TakeAlpha, struct WordsFrom32, struct WordsTo32>;
}
namespace copy {
using Kernels =
    KernelList<struct Dib24ToYuv422, struct Dib32ToYuv422, struct Dib32ToYuva422,
               struct InterleaveChromaFirst, struct InterleaveLumaFirst, struct RegroupPairs,
               struct SwapBytes, struct Yuv422ToDib15, struct Yuv422ToDib16, struct Yuv422ToDib24>;
}
namespace featurefind {
using Kernels = KernelList<struct BilinearSad, struct BlockSad, struct LumaBytes, struct Scores>;
}
namespace parity {
using Kernels = KernelList<struct AverageLines, struct AverageLinesSwapped>;
}
namespace scanning {
using Kernels = KernelList<struct BlendAligned, struct BlendChromaFirstShifted, struct BlendLumaFirstShifted,
                           struct PanChromaFirst, struct PanChromaFirstShifted, struct PanLumaFirst,
                           struct PanLumaFirstShifted>;
}

template <class... Lists>
struct KernelLists {
  template <class Kernel>
  static constexpr bool has = (Lists::template has<Kernel> || ...);
};
using ListedKernels = KernelLists<alpha::Kernels, arithmetic::Kernels, box_filter::Kernels, color::Kernels,
                                  copy::Kernels, featurefind::Kernels, parity::Kernels, scanning::Kernels>;

template <class Kernel>
concept ListedKernel = ListedKernels::has<Kernel>;

}  // namespace kv_img
