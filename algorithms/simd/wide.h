#pragma once

// The widest register of the level that a kernel file is compiled for, under names that do not depend on it.
// For kernel files of the wide set only: they are compiled once per level, with KV_WIDE_LEVEL set to 0
// (SSE2; on aarch64 Advanced SIMD), 1 (AVX2), 2 (AVX-512) or 3 (VBMI and VNNI too). Everything here has internal linkage, so that no
// function compiled for a wide level can become the copy that others call.

#include "algorithms/simd/wide_arithmetic.h"
#include "algorithms/simd/wide_registers.h"
#include "algorithms/simd/wide_shuffles.h"
#include "algorithms/simd/wide_walk.h"
