#include <algorithm>

#include "bench/contest.h"
#include "frame/platform/wide_level.h"

// The sums of the VP9 encoder's motion search: four positions a call. Its header is not installed, its static library has
// them.
extern "C" {
void vpx_sad16x16x4d_sse2(const std::uint8_t* source, int sourceStride,
                          const std::uint8_t* const positions[4], int stride, std::uint32_t sums[4]);
void vpx_sad32x32x4d_avx2(const std::uint8_t* source, int sourceStride,
                          const std::uint8_t* const positions[4], int stride, std::uint32_t sums[4]);
}

namespace kv_bench {
namespace {

using Sad = decltype(&vpx_sad16x16x4d_sse2);

void EnterSad(Contest& contest, int size, Sad sad) {
  const std::string operation =
      "FeatureFind " + std::to_string(size) + "x" + std::to_string(size) + " +-" + std::to_string(size);
  // On 8-bit images: there is no such function for packed luma. The last call repeats positions.
  contest.Enter(operation, "libvpx", [size, sad](Scene& scene) {
    auto& first = scene.Picture<PixelGrey>();
    auto& second = scene.Picture<PixelGrey, 1>();
    std::uint32_t least = ~0U;
    for (int y = -size; y <= size; ++y) {
      const std::uint8_t* row =
          Start(second) + (scene.height / 2 + y) * Stride(second) + scene.width / 2 - size;
      for (int x = 0; x <= 2 * size; x += 4) {
        const std::uint8_t* positions[4];
        for (int i = 0; i < 4; ++i) positions[i] = row + std::min(x + i, 2 * size);
        std::uint32_t sums[4];
        sad(Start(first), Stride(first), positions, Stride(second), sums);
        for (const std::uint32_t sum : sums) least = std::min(least, sum);
      }
    }
    scene.Bytes(0, sizeof least)[0] = static_cast<std::uint8_t>(least);
  });
}

}  // namespace

void EnterVpx(Contest& contest) {
  EnterSad(contest, 16, vpx_sad16x16x4d_sse2);
  if (kv_img::SupportedLevel() >= kv_img::WideLevel::Avx2) EnterSad(contest, 32, vpx_sad32x32x4d_avx2);
}

}  // namespace kv_bench
