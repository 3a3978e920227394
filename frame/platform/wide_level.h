#pragma once

#include <cstdint>

namespace kv_img {

/// Instruction sets that the wide kernels are built for; each includes those before it.
#if defined(__aarch64__)
enum class WideLevel : std::uint8_t {
  Neon  ///< Advanced SIMD, 128 bits
};

inline constexpr WideLevel wideLevels[] = {WideLevel::Neon};
#else
enum class WideLevel : std::uint8_t {
  Sse2,       ///< what every x86-64 processor has
  Avx2,       ///< 256 bits
  Avx512,     ///< 512 bits: F, BW, VL and DQ
  Avx512Vbmi  ///< VBMI, bytes exchanged across the whole register, and VNNI, sums of products
};

inline constexpr WideLevel wideLevels[] = {WideLevel::Sse2, WideLevel::Avx2, WideLevel::Avx512,
                                           WideLevel::Avx512Vbmi};
#endif

/// "sse2", "avx2", "avx512" or "avx512vbmi"; "neon" on aarch64.
const char* NameOf(WideLevel level);

/// The highest level that both processor and operating system allow.
WideLevel SupportedLevel();

/// The level that the member with the wide kernels runs at: the supported one, or a lower one that the environment variable
/// KV_LEVEL names. Another word is ignored. Allocates nothing.
WideLevel LevelInForce();

}  // namespace kv_img
