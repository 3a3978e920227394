// Stops a long call: two threads render a pan of a million frames, meeting at the barrier after each; half a
// second later somebody has seen enough.

#include <chrono>
#include <cstdio>
#include <thread>

#include "frame/interfaces/scanning.h"
#include "image/errors/exceptions.h"
#include "image/image.h"
#include "image/image_rect.h"
#include "run/runner.h"

using namespace kv_img;
using Frame = Image<PixelYUV422>;
using Pan = ScanningAlgorithmInterface<Frame, Frame>;

int main() {
  constexpr std::uint32_t exitRequested = 12603;
  constexpr int frames = 1'000'000;
  const Frame photo(1440, 576);
  Frame view(720, 576);
  const ImageRect path(0, 0, 1439, 575);
  const ImageRect whole(0, 0, 719, 575);
  int shown = 0;

  std::stop_source stop;
  const std::jthread somebody([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    stop.request_stop();
  });
  try {
    const auto& pan = kv_run::Load<Pan>("Scanning", {PixelYUV422::ClassID, PixelYUV422::ClassID});
    kv_run::WorkerPool(2).Run(
        [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
          for (std::uint32_t step = 0; step < frames; ++step) {
            pan.Apply(photo, view, path, whole, 0x01, frames, step, barrier,
                      static_cast<std::int32_t>(index));
            barrier.Wait();  // the frame is whole: here it would be shown, and here a stop arrives
            if (index == 0) ++shown;
          }
        },
        stop.get_token());
  } catch (const kv_std::SpinBarrierException& error) {
    if (error.Code() != exitRequested) throw;
    std::printf("stopped after %d of %d frames\n", shown, frames);
    return 0;
  } catch (const kv_std::KVException& error) {
    std::fprintf(stderr, "%ls\n", error.Message().c_str());
    return 1;
  }
  std::puts("finished before the stop came");
  return 1;
}
