#pragma once

#include <mmintrin.h>

#include <cstdint>
#include <cstring>

// Unaligned access to 64-bit SIMD words, for kernel files of the mmx set only.
namespace {

[[maybe_unused]] inline __m64 Load64(const std::uint8_t* source) {
  __m64 word;
  std::memcpy(&word, source, sizeof word);
  return word;
}

[[maybe_unused]] inline void Store64(std::uint8_t* destination, __m64 word) {
  std::memcpy(destination, &word, sizeof word);
}

/// Four bytes in the low half, zeros above.
[[maybe_unused]] inline __m64 Load32(const std::uint8_t* source) {
  std::int32_t word = 0;
  std::memcpy(&word, source, sizeof word);
  return _mm_cvtsi32_si64(word);
}

/// The low four bytes.
[[maybe_unused]] inline void Store32(std::uint8_t* destination, __m64 word) {
  const std::int32_t low = _mm_cvtsi64_si32(word);
  std::memcpy(destination, &low, sizeof low);
}

}  // namespace
