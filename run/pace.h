#pragma once

#include <atomic>

namespace kv_run {

/// How long an operation took for a pixel in its last calls: what the runner divides calls by. It decides
/// about time alone, never about a byte.
class Pace {
 public:
  /// Of the operation at this address. A few share one.
  static Pace& Of(const void* operation);

  double NanosecondsPerPixel() const { return nanoseconds_.load(std::memory_order_relaxed); }
  /// Notes a part of a call. What is faster counts at once, what is slower by a quarter: a thread that had to
  /// wait for its processor is no slower operation.
  void Note(double pixels, double nanoseconds);

 private:
  /// Before the first call: slower than any operation is on any member.
  static constexpr float unknown = 50;
  /// Relaxed everywhere: any thread's number will do, and nothing else hangs on it.
  std::atomic<float> nanoseconds_ = unknown;
};

}  // namespace kv_run
