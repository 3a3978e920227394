#include "algorithms/simd/level_cap.h"

#if !defined(KV_LEVEL_CAP)
#define KV_LEVEL_CAP Avx512Vbmi
#endif

namespace kv_img {

constinit const WideLevel levelCap = WideLevel::KV_LEVEL_CAP;

}  // namespace kv_img
