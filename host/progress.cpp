#include "host/progress.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "host/platform/platform.h"

namespace kv_host {
namespace {

bool isHidden = false;

}  // namespace

Progress::Progress(std::string what, std::int64_t total)
    : what_(std::move(what)), total_(total), isShown_(!isHidden && IsErrorTerminal()) {
  if (isShown_) Show();
}

Progress::~Progress() {
  if (isShown_) std::fprintf(stderr, "\r%*s\r", 78, "");
}

void Progress::Advance() {
  ++done_;
  if (isShown_) Show();
}

void Progress::Hide() {
  isHidden = true;
}

void Progress::Show() const {
  const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  const double rate = seconds > 0 ? static_cast<double>(done_) / seconds : 0;
  if (total_ <= 0) {
    std::fprintf(stderr, "\r%s: %lld, %.1f a second ", what_.c_str(), static_cast<long long>(done_), rate);
    return;
  }
  constexpr int width = 20;
  const int filled = static_cast<int>(width * done_ / total_);
  std::string bar(static_cast<std::size_t>(filled), '#');
  bar.resize(width, '.');
  const auto left =
      rate > 0 ? static_cast<long long>(static_cast<double>(std::max<std::int64_t>(total_ - done_, 0)) / rate)
               : 0;
  std::fprintf(stderr, "\r%s: %lld/%lld %s %.1f a second, %lld:%02lld left ", what_.c_str(),
               static_cast<long long>(done_), static_cast<long long>(total_), bar.c_str(), rate, left / 60,
               left % 60);
}

}  // namespace kv_host
