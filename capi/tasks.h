#pragma once

#include <atomic>
#include <exception>
#include <mutex>
#include <thread>

#include "capi/error.h"

namespace kv_capi {

/// The tasks of one call, claimed one after another by the threads that work on them.
class Tasks {
 public:
  /// `check` throws when the call is to end.
  template <class Check>
  Tasks(int count, void (*task)(void*, int), void* data, const Check& check)
      : count_(count),
        task_(task),
        data_(data),
        check_([](const void* own) { (*static_cast<const Check*>(own))(); }),
        checkData_(&check),
        caller_(std::this_thread::get_id()) {}

  /// Claims and runs tasks until none is left. Never throws.
  void Work() noexcept;
  /// No more tasks are claimed.
  void End() noexcept { hasEnded_ = true; }
  /// Passes on the first failure of any thread.
  void PassOnFailure();

  kv_poll poll = nullptr;
  void* pollUser = nullptr;

 private:
  void Look(bool isCaller) const;

  int count_;
  void (*task_)(void*, int);
  void* data_;
  void (*check_)(const void*);
  const void* checkData_;
  std::thread::id caller_;
  std::atomic<int> next_ = 0;
  std::atomic<bool> hasEnded_ = false;
  std::mutex firstLock_;
  std::exception_ptr first_;
  char firstText_[512] = {};
};

}  // namespace kv_capi
