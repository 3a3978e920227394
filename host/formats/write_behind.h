#pragma once

#include <exception>
#include <functional>
#include <thread>

#include "host/formats/handover.h"
#include "host/formats/raster.h"

namespace kv_host {

/// Writes frames on a thread of its own, in their order, while the next one is made.
class WriteBehind {
 public:
  /// Throws std::system_error where there is no thread to be had.
  explicit WriteBehind(std::function<void(const Raster&)> write);
  WriteBehind(const WriteBehind&) = delete;
  WriteBehind& operator=(const WriteBehind&) = delete;
  /// What was not written yet is dropped.
  ~WriteBehind();

  /// Throws what writing a frame before this one threw.
  void Put(Raster frame);
  /// Waits until all are written; throws what writing one threw. Nothing may be put after it.
  void Finish();

 private:
  void Run() noexcept;

  std::function<void(const Raster&)> write_;
  Handover<Raster> frames_;
  std::exception_ptr failure_;  // the thread's, until it has ended
  std::thread thread_;
};

}  // namespace kv_host
