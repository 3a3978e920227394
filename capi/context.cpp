#include "capi/context.h"

#include <algorithm>
#include <thread>

namespace kv_capi {
namespace {

constexpr int mostThreads = 256;
/// Less than this is done before another thread has begun.
constexpr std::int64_t leastPixelsOfThread = 32768;
/// At a few nanoseconds for a pixel, the slowest rules take less than 10 ms for this.
constexpr std::int64_t mostPixelsOfSlice = 1 << 20;
constexpr std::size_t mostKept = 64;

std::wstring CheckMember(const char* name, const std::string& member) {
  std::string usable;
  for (const kv_img::LibraryEntry& entry : kv_img::AlgorithmManagerImpl::GetInstance()->UsableLibraries()) {
    std::wstring wide = entry.name;
    const std::string narrow(wide.begin(), wide.end());
    if (narrow == member) return wide;
    usable += (usable.empty() ? "" : ", ") + narrow;
  }
  Fail(KV_NO_MEMBER, "%s is \"%.60s\"; there is no usable member of this name, there are: %s", name,
       member.c_str(), usable.empty() ? "none" : usable.c_str());
}

/// The tasks of a pool on the threads of a host.
void RunOnHost(void* user, int count, void (*task)(void* data, int index), void* data) {
  const auto& context = *static_cast<const kv_context*>(user);
  const std::int32_t answer = context.run(context.runUser, count, task, data);
  if (answer == 0) return;
  Fail(KV_INTERNAL, "the run function of the context answered %d, not 0", static_cast<int>(answer));
}

}  // namespace

Scratch::Scratch(kv_context& context, std::size_t bytes) : context_(context) {
  {
    const std::lock_guard guard(context_.keptLock);
    const auto fits =
        std::ranges::find_if(context_.kept, [&](const auto& one) { return one.capacity() >= bytes; });
    const auto taken = fits != context_.kept.end() || context_.kept.empty() ? fits : context_.kept.end() - 1;
    if (taken != context_.kept.end()) {
      memory_ = std::move(*taken);
      context_.kept.erase(taken);
    }
  }
  if (memory_.size() < bytes) memory_.resize(bytes);
}

Scratch::~Scratch() {
  const std::lock_guard guard(context_.keptLock);
  if (context_.kept.size() < mostKept) context_.kept.push_back(std::move(memory_));
}

Call::Call(kv_context* context, const kv_call* options)
    : context_((CheckPointer("context", context, alignof(kv_context)), *context)),
      threads_(context->threads),
      member_(context->member.begin(), context->member.end()),
      stopsBefore_(context->stops.load()) {
  if (options == nullptr) return;
  CheckStruct("call", options, "kv_call_init");
  CheckRange("call->threads", options->threads, 0, mostThreads);
  CheckReserved("call", AreZero(options->reserved));
  if (options->threads > 0) threads_ = std::min(threads_, static_cast<int>(options->threads));
  if (options->member != nullptr) member_ = CheckMember("call->member", options->member);
  poll_ = options->poll;
  pollUser_ = options->poll_user;
}

int Call::TasksFor(std::int64_t pixels, int most) const {
  std::int64_t count = (pixels + mostPixelsOfSlice - 1) / mostPixelsOfSlice;
  if (threads_ > 1) {
    const std::int64_t shares = std::min<std::int64_t>(threads_, pixels / leastPixelsOfThread);
    // Claimed one by one, several for each thread even out what threads are late.
    if (shares > 1) count = std::max(count, std::min(4 * shares, pixels / leastPixelsOfThread));
  }
  return static_cast<int>(std::clamp<std::int64_t>(count, 1, std::max(most, 1)));
}

void Call::LookAtStop() const {
  if (context_.stops.load(std::memory_order_relaxed) != stopsBefore_) Fail(KV_STOPPED, "stopped by kv_stop");
}

void Call::Poll() const {
  if (poll_ != nullptr && poll_(pollUser_) != 0) Fail(KV_STOPPED, "stopped by the poll function");
}

void Call::RunTasks(int count, void (*task)(void*, int), void* data) const {
  if (std::min(threads_, count) == 1) {
    for (int index = 0; index < count; ++index) {
      LookAtStop();
      Poll();
      task(data, index);
    }
    return;
  }
  kv_run::CallOptions options{.threads = threads_};
  if (poll_ != nullptr) {
    options.poll = [](void* call) {
      static_cast<const Call*>(call)->Poll();
      return false;
    };
    options.user = const_cast<Call*>(this);
  }
  context_.pool->RunBands(
      [&](kv_std::SpinBarrier& /*barrier*/, std::uint32_t index) {
        LookAtStop();
        task(data, static_cast<int>(index));
      },
      count, options);
}

void Call::FailNoMember(const char* algorithm) const {
  const std::string only(member_.begin(), member_.end());
  Fail(KV_NO_MEMBER, "no member of the family offers %s for these formats%s%s%s", algorithm,
       only.empty() ? "" : " (only ", only.c_str(), only.empty() ? "" : " was asked)");
}

}  // namespace kv_capi

using namespace kv_capi;

void kv_context_options_init(kv_context_options* options) {
  if (options == nullptr) return;
  *options = {};
  options->struct_size = sizeof *options;
  options->threads = 1;
}

void kv_call_init(kv_call* call) {
  if (call == nullptr) return;
  *call = {};
  call->struct_size = sizeof *call;
}

kv_status kv_context_new(const kv_context_options* options, kv_context** context) {
  return Guarded([&] {
    CheckPointer("context", context, alignof(kv_context*));
    *context = nullptr;
    auto made = std::make_unique<kv_context>();
    if (options != nullptr) {
      CheckStruct("options", options, "kv_context_options_init");
      CheckRange("options->threads", options->threads, 0, mostThreads);
      CheckReserved("options", AreZero(options->reserved));
      made->threads = options->threads != 0
                          ? options->threads
                          : std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, mostThreads);
      made->run = options->run;
      made->runUser = options->run_user;
      if (options->member != nullptr) {
        made->member = options->member;
        CheckMember("options->member", made->member);
      }
    }
    made->kept.reserve(mostKept);
    if (made->threads > 1) {
      kv_run::PoolOptions pool{.threads = made->threads};
      if (made->run != nullptr) pool.executor = {.run = RunOnHost, .user = made.get()};
      made->pool = std::make_unique<kv_run::WorkerPool>(pool);
    }
    *context = made.release();
  });
}

void kv_context_free(kv_context* context) {
  delete context;
}

kv_status kv_stop(kv_context* context) {
  if (context == nullptr) return Guarded([] { Fail(KV_BAD_ARGUMENT, "context is null"); });
  context->stops.fetch_add(1);
  return KV_OK;
}
