#include "bench/contest.h"

namespace kv_bench {

void EnterPeers([[maybe_unused]] Contest& contest) {
#if defined(KV_HAS_LIBYUV)
  EnterLibyuv(contest);
#endif
#if defined(KV_HAS_SWSCALE)
  EnterSwscale(contest);
#endif
#if defined(KV_HAS_OPENCV)
  EnterOpenCv(contest);
#endif
#if defined(KV_HAS_ZIMG)
  EnterZimg(contest);
#endif
#if defined(KV_HAS_ORC)
  EnterOrc(contest);
#endif
}

}  // namespace kv_bench
