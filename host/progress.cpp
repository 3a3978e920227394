#include "host/progress.h"

#include <cstdio>
#include <utility>

#include "host/platform/platform.h"

namespace kv_host {

Progress::Progress(std::string what, std::int64_t total)
    : what_(std::move(what)), total_(total), isShown_(IsErrorTerminal()) {
  if (isShown_) Show();
}

Progress::~Progress() {
  if (isShown_) std::fprintf(stderr, "\r%*s\r", 78, "");
}

void Progress::Advance() {
  ++done_;
  if (isShown_) Show();
}

void Progress::Show() const {
  constexpr int width = 40;
  if (total_ <= 0) {
    std::fprintf(stderr, "\r%s: %lld", what_.c_str(), static_cast<long long>(done_));
    return;
  }
  const int filled = static_cast<int>(width * done_ / total_);
  std::string bar(static_cast<std::size_t>(filled), '#');
  bar.resize(width, '.');
  std::fprintf(stderr, "\r%s: %s %lld/%lld", what_.c_str(), bar.c_str(), static_cast<long long>(done_),
               static_cast<long long>(total_));
}

}  // namespace kv_host
