#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kv_host {

/// How far a command is, how fast it is and, where the end is known, how long it will take: on standard error and only
/// where that is a terminal. The line goes when the object does.
class Progress {
 public:
  /// `total` 0: nobody knows how many there will be.
  explicit Progress(std::string what, std::int64_t total = 0);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  /// One more is done.
  void Advance();

  /// From now on nothing is shown.
  static void Hide();

 private:
  using Clock = std::chrono::steady_clock;

  void Show() const;

  std::string what_;
  std::int64_t total_;
  std::int64_t done_ = 0;
  Clock::time_point start_ = Clock::now();
  bool isShown_;
};

}  // namespace kv_host
