#pragma once

#include <chrono>

#include "host/colours.h"
#include "host/family.h"
#include "host/operation_log.h"
#include "run/runner.h"
#include "run/worker_pool.h"

namespace kv_host {

/// What calls operations and with what.
struct Engine {
  const Family& family;
  const kv_run::WorkerPool& pool;
  OperationLog* log = nullptr;  ///< Where calls are noted, if anywhere.
  ColourOptions colours = {};

  /// Calls an operation on the threads of the pool, as kv_run::Run does, and notes the call under the
  /// algorithm's name.
  template <class Operation, class... Arguments>
  void Run(const char* algorithm, const Operation& operation, Arguments&&... arguments) const {
    Time(algorithm, [&] { kv_run::Run(pool, operation, arguments...); });
  }

  /// Calls `work` on this thread and notes the call.
  template <class Work>
  void Time(const char* algorithm, Work work) const {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    work();
    if (log == nullptr) return;
    const std::chrono::duration<double, std::milli> taken = Clock::now() - begin;
    log->Add(algorithm, family.AnsweredBy(algorithm), taken.count());
  }
};

}  // namespace kv_host
