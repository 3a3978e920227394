#include "capi/tasks.h"

#include <cstring>

namespace kv_capi {

void Tasks::Look(bool isCaller) const {
  check_(checkData_);
  if (isCaller && poll != nullptr && poll(pollUser) != 0) Fail(KV_STOPPED, "stopped by the poll function");
}

void Tasks::Work() noexcept {
  const bool isCaller = std::this_thread::get_id() == caller_;
  while (!hasEnded_.load(std::memory_order_relaxed)) {
    try {
      if (next_.load(std::memory_order_relaxed) >= count_) return;
      Look(isCaller);
      const int index = next_.fetch_add(1);
      if (index >= count_) return;
      task_(data_, index);
    } catch (...) {
      hasEnded_ = true;
      const std::lock_guard guard(firstLock_);
      if (first_) return;
      first_ = std::current_exception();
      StatusOf(first_);
      std::strncpy(firstText_, LastError(), sizeof firstText_ - 1);
    }
  }
}

void Tasks::PassOnFailure() {
  if (!first_) return;
  const kv_status status = StatusOf(first_);
  SetLastError(firstText_);
  throw Failure{status};
}

}  // namespace kv_capi
