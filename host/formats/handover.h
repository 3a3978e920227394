#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace kv_host {

/// Values on their way from one thread to another, one at a time.
template <class T>
class Handover {
 public:
  /// Waits until the one before was taken. False, and the value is dropped, once nobody takes any.
  bool Put(T value) {
    if (!AwaitRoom()) return false;
    const std::lock_guard lock(mutex_);
    value_ = std::move(value);
    changed_.notify_all();
    return true;
  }
  /// Waits until the next one can be put at once. False once nobody takes any.
  bool AwaitRoom() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !value_ || isAbandoned_; });
    return !isAbandoned_;
  }
  /// Waits for one; empty once nobody puts any, or takes any.
  std::optional<T> Take() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return value_ || isFinished_ || isAbandoned_; });
    if (isAbandoned_) return std::nullopt;
    std::optional<T> value = std::exchange(value_, std::nullopt);
    changed_.notify_all();
    return value;
  }
  /// Nobody puts any more; the last one may still be taken.
  void Finish() { Set(isFinished_); }
  /// Nobody takes any more.
  void Abandon() { Set(isAbandoned_); }

 private:
  void Set(bool& flag) {
    const std::lock_guard lock(mutex_);
    flag = true;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<T> value_;
  bool isFinished_ = false;
  bool isAbandoned_ = false;
};

}  // namespace kv_host
