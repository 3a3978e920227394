#include "host/formats/write_behind.h"

#include <utility>

namespace kv_host {

WriteBehind::WriteBehind(std::function<void(const Raster&)> write)
    : write_(std::move(write)), thread_([this] { Run(); }) {}

WriteBehind::~WriteBehind() {
  frames_.Abandon();
  if (thread_.joinable()) thread_.join();
}

void WriteBehind::Run() noexcept {
  try {
    while (const auto frame = frames_.Take()) write_(*frame);
  } catch (...) {
    failure_ = std::current_exception();
    frames_.Abandon();
  }
}

void WriteBehind::Put(Raster frame) {
  if (!frames_.Put(std::move(frame))) Finish();
}

void WriteBehind::Finish() {
  frames_.Finish();
  if (thread_.joinable()) thread_.join();
  if (failure_) std::rethrow_exception(failure_);
}

}  // namespace kv_host
