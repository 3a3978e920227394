#pragma once

#include <cfloat>
#include <cstdint>

namespace kv_img::scanning {

static_assert(FLT_EVAL_METHOD == 0, "every product and sum is rounded to single precision");

/// The first pixel of the viewport along the axis of the pan: `whole` pixels and a `fraction` of 0 to
/// under 1.
struct ViewportStart {
  int whole;
  float fraction;
};

/// Where the viewport of frame `frame` (0 to frames - 1) starts when it moves from one end of the source
/// region to the other. Lengths along the axis in pixels. The source region starts at `start`; `lead`, a
/// fraction of a pixel, is added to the position. With one frame or none the viewport stays at the start.
constexpr ViewportStart StartOfViewport(int start, std::uint32_t sourceLength,
                                        std::uint32_t destinationLength, std::int32_t frames,
                                        std::uint32_t frame, float lead) {
  const float stepSize =
      frames > 1 ? static_cast<float>(sourceLength - destinationLength) / static_cast<float>(frames - 1)
                 : 0.0F;
  const float position = static_cast<float>(start) + static_cast<float>(frame) * stepSize + lead;
  const int whole = static_cast<int>(position);
  return {whole, position - static_cast<float>(whole)};
}
static_assert(StartOfViewport(3, 20, 10, 5, 1, 0).whole == 5);
static_assert(StartOfViewport(3, 20, 10, 5, 1, 0).fraction == 0.5F);
static_assert(StartOfViewport(3, 20, 10, 1, 9, 0.5F).whole == 3);

}  // namespace kv_img::scanning
