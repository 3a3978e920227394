#pragma once

#include "algorithms/copy/kernels/interleave.h"
#include "algorithms/copy/kernels/regroup_pairs.h"
#include "algorithms/copy/kernels/rgb_to_yuv.h"
#include "algorithms/copy/kernels/swap_bytes.h"
#include "algorithms/copy/kernels/yuv_to_rgb.h"
#include "frame/member_name.h"

namespace kv_img::copy {

/// Plain C++, the reference.
struct ScalarKernels : MemberC {
  static constexpr auto Dib24ToYuv422 = scalar::Dib24ToYuv422;
  static constexpr auto Dib32ToYuv422 = scalar::Dib32ToYuv422;
  static constexpr auto Dib32ToYuva422 = scalar::Dib32ToYuva422;
  static constexpr auto InterleaveChromaFirst = scalar::InterleaveChromaFirst;
  static constexpr auto InterleaveLumaFirst = scalar::InterleaveLumaFirst;
  static constexpr auto RegroupPairs = scalar::RegroupPairs;
  static constexpr auto SwapBytes = scalar::SwapBytes;
  static constexpr auto Yuv422ToDib15 = scalar::Yuv422ToDib15;
  static constexpr auto Yuv422ToDib16 = scalar::Yuv422ToDib16;
  static constexpr auto Yuv422ToDib24 = scalar::Yuv422ToDib24;
};

/// 64-bit words.
struct MmxKernels : MemberMMX {
  static constexpr auto Dib24ToYuv422 = mmx::Dib24ToYuv422;
  static constexpr auto Dib32ToYuv422 = mmx::Dib32ToYuv422;
  static constexpr auto Dib32ToYuva422 = mmx::Dib32ToYuva422;
  static constexpr auto InterleaveChromaFirst = mmx::InterleaveChromaFirst;
  static constexpr auto InterleaveLumaFirst = mmx::InterleaveLumaFirst;
  static constexpr auto RegroupPairs = mmx::RegroupPairs;
  static constexpr auto SwapBytes = mmx::SwapBytes;
  static constexpr auto Yuv422ToDib15 = mmx::Yuv422ToDib15;
  static constexpr auto Yuv422ToDib16 = mmx::Yuv422ToDib16;
  static constexpr auto Yuv422ToDib24 = mmx::Yuv422ToDib24;
};

/// The widest registers of processor and system.
struct WideKernels : MemberSSE2 {
  static constexpr auto Dib24ToYuv422 =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::Dib24ToYuv422<level>(args); });
  static constexpr auto Dib32ToYuv422 =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::Dib32ToYuv422<level>(args); });
  static constexpr auto Dib32ToYuva422 =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::Dib32ToYuva422<level>(args); });
  static constexpr auto InterleaveChromaFirst =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::InterleaveChromaFirst<level>(args); });
  static constexpr auto InterleaveLumaFirst =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::InterleaveLumaFirst<level>(args); });
  static constexpr auto RegroupPairs =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::RegroupPairs<level>(args); });
  static constexpr auto SwapBytes =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::SwapBytes<level>(args); });
  static constexpr auto Yuv422ToDib15 =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::Yuv422ToDib15<level>(args); });
  static constexpr auto Yuv422ToDib16 =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::Yuv422ToDib16<level>(args); });
  static constexpr auto Yuv422ToDib24 =
      ByLevel([]<WideLevel level>(auto& args) noexcept { wide::Yuv422ToDib24<level>(args); });
};

}  // namespace kv_img::copy
