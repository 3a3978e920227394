#pragma once

#include <memory>
#include <thread>
#include <vector>

#include "image/errors/exceptions.h"
#include "tests/support/random.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

// What the tests of both alpha layers share.
namespace kv_test {

using SharedMask = std::shared_ptr<Grey8>;

/// A test image as the caller's intermediate; the image outlives it.
inline SharedMask Lend(TestImage<kv_img::PixelNoColor<unsigned char>>& image) {
  return SharedMask(&*image, [](Grey8*) {});
}

/// A rectangle or ragged runs.
inline std::unique_ptr<kv_img::RegionOfSupport> RandomRegion(Random& random,
                                                             const kv_img::ImageRect& bounds) {
  if (random.OneIn(2)) return std::make_unique<kv_img::ImageRect>(RandomRect(random, bounds));
  return std::make_unique<kv_img::RunRegion>(RandomRuns(random, bounds));
}

/// Calls `work(barrier, index)` on `count` threads, the last of which comes only after a stop was requested:
/// the others have finished the first phase by then or wait at the barrier. Returns the codes that they threw
/// (0: nothing).
template <class Work>
std::vector<std::uint32_t> CallAndStop(int count, Work work) {
  kv_std::SpinBarrier barrier(count);
  std::vector<std::uint32_t> codes(static_cast<std::size_t>(count));
  const auto call = [&](std::uint32_t index) {
    try {
      work(barrier, index);
    } catch (const kv_std::SpinBarrierException& error) {
      codes[index] = error.Code();
    }
  };
  std::vector<std::thread> threads;
  for (std::uint32_t index = 0; index + 1 < codes.size(); ++index) threads.emplace_back(call, index);
  barrier.RequestStop();
  call(static_cast<std::uint32_t>(count - 1));
  for (std::thread& thread : threads) thread.join();
  return codes;
}

}  // namespace kv_test
