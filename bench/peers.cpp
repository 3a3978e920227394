#include <cstring>

#include "bench/contest.h"

namespace kv_bench {

namespace {

/// Row by row, as rows with padding are copied.
void EnterCopies(Contest& contest) {
  const auto copy = [](auto copyRow) {
    return [copyRow](Scene& scene) {
      auto& from = scene.Picture<PixelYUV422>();
      auto& to = scene.Picture<PixelYUV422, 1>();
      for (int y = 0; y < scene.height; ++y) {
        copyRow(Start(to) + y * Stride(to), Start(from) + y * Stride(from),
                static_cast<std::size_t>(2 * scene.width));
      }
    };
  };
  contest.Enter(
      "Copy YUV422", "memcpy of rows",
      copy([](std::uint8_t* to, const std::uint8_t* from, std::size_t n) { std::memcpy(to, from, n); }));
#if defined(__x86_64__)
  contest.Enter("Copy YUV422", "rep movsb",
                copy([](std::uint8_t* to, const std::uint8_t* from, std::size_t n) {
                  asm volatile("rep movsb" : "+D"(to), "+S"(from), "+c"(n) : : "memory");
                }));
#endif
}

}  // namespace

void EnterPeers(Contest& contest) {
  EnterCopies(contest);
#if defined(KV_HAS_LIBYUV)
  EnterLibyuv(contest);
#endif
#if defined(KV_HAS_SWSCALE)
  EnterSwscale(contest);
#endif
#if defined(KV_HAS_OPENCV)
  EnterOpenCv(contest);
#endif
#if defined(KV_HAS_VPX)
  EnterVpx(contest);
#endif
#if defined(KV_HAS_ZIMG)
  EnterZimg(contest);
#endif
#if defined(KV_HAS_ORC)
  EnterOrc(contest);
#endif
}

}  // namespace kv_bench
