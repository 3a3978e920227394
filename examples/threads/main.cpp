// Calls on threads that the host has of its own, and a call that is stopped: by a token, and by asking.

#include <cstdio>
#include <stop_token>
#include <thread>
#include <vector>

#include "frame/interfaces/copy.h"
#include "image/errors/exceptions.h"
#include "image/image.h"
#include "run/runner.h"

using namespace kv_img;
using Frame = Image<PixelYUV422>;
using Bitmap = Image<PixelDIB24>;
using CopyToBitmap = CopyAlgorithmInterface<Frame, Bitmap>;

namespace {

// A host's threads: here one for each task, as a host's queue would have them waiting.
void RunTasks(void* /*user*/, int count, void (*task)(void* data, int index), void* data) {
  std::vector<std::jthread> threads;
  for (int index = 0; index < count; ++index) threads.emplace_back(task, data, index);
}

bool isLate = false;
bool IsLate() {
  return isLate;
}

}  // namespace

int main() try {
  constexpr std::uint32_t exitRequested = 12603;
  const Frame frame(1920, 1080);
  Bitmap bitmap(1920, 1080);
  const auto& copy = kv_run::Load<CopyToBitmap>("Copy", {PixelYUV422::ClassID, PixelDIB24::ClassID});
  const kv_run::WorkerPool own({.threads = 4, .executor = {.run = RunTasks, .isConcurrent = true}});
  kv_run::Run(own, copy, frame, bitmap);

  std::stop_source stop;
  kv_run::CallOptions options;
  options.threads = 2;                            // at most
  options.stop = stop.get_token();                // for this call alone
  options.poll = [](void*) { return IsLate(); };  // true: enough
  kv_run::Run(own, options, copy, frame, bitmap);

  isLate = true;
  try {
    kv_run::Run(own, options, copy, frame, bitmap);
  } catch (const kv_std::SpinBarrierException& error) {
    if (error.Code() != exitRequested) throw;
    std::puts("stopped");
    return 0;
  }
  std::puts("nobody stopped it");
  return 1;
} catch (const kv_std::KVException& error) {
  std::fprintf(stderr, "%ls\n", error.Message().c_str());
  return 1;
}
