#pragma once

#include <algorithm>
#include <chrono>
#include <initializer_list>
#include <type_traits>
#include <utility>

#include "frame/algorithm_manager.h"
#include "run/band_plan.h"
#include "run/pace.h"
#include "run/thread_limit.h"
#include "run/worker_pool.h"

namespace kv_run {

/// The interface class that an operation is looked up by.
template <class InterfaceClass>
struct LookUp {
  using Interface = InterfaceClass;
};

/// The best implementation of an algorithm that the installed family has, such as
/// `Load<CopyAlgorithmInterface<In, Out>>("Copy", {In::ClassID, Out::ClassID})`; identifiers are those of the
/// pixel classes, sources before destinations. It lives to the end of the program. Any thread may call this.
/// Throws AlgoException code 1 naming the algorithm when no member answers.
template <class InterfaceClass>
const InterfaceClass& Load(const char* algorithm, std::initializer_list<int> pixelClassIds) {
  kv_img::ImplementationData<LookUp<InterfaceClass>> data;
  kv_img::AlgorithmManager::GetInstance()->LoadImplementation(algorithm, pixelClassIds.begin(),
                                                              static_cast<int>(pixelClassIds.size()), data);
  return *data.current;
}

/// Calls `operation.Apply(arguments…, barrier, index)` for bands of rows on threads of the pool and returns when
/// all are done. The bytes are those of one thread: a call whose bytes follow the bands of rows gets as few
/// bands as ThreadLimit says. How many bands and threads, BandPlan says. Passes on the first exception, see
/// WorkerPool::RunBands and, for operations whose threads wait for each other, WorkerPool::RunPhases.
template <class Operation, class... Arguments>
void Run(const WorkerPool& pool, const CallOptions& options, const Operation& operation,
         Arguments&&... arguments) {
  const auto apply = [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    operation.Apply(arguments..., barrier, index);
  };
  const CallExtent extent = ExtentOf(arguments...);
  Pace& pace = Pace::Of(&operation);
  BandPlan plan(pool, options, extent, pace.NanosecondsPerPixel());
  if constexpr (hasPhases<Operation>) {
    return pool.RunPhases(apply, ThreadLimit(plan.threads, operation, arguments...), options);
  }
  plan.bands = ThreadLimit(MostWorthWhile(plan, operation, arguments...), operation, arguments...);
  CallOptions limited = options;
  limited.threads = plan.threads;
  pool.RunBands(
      [&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
        const auto begin = std::chrono::steady_clock::now();
        apply(barrier, index);
        const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - begin;
        pace.Note(extent.Pixels() / plan.bands, taken.count());
      },
      plan.bands, limited);
}

/// The same on all threads of the pool, without a stop of its own.
template <class Operation, class... Arguments>
requires(!std::is_same_v<Operation, CallOptions>) void Run(const WorkerPool& pool, const Operation& operation,
                                                           Arguments&&... arguments) {
  Run(pool, CallOptions{}, operation, arguments...);
}

}  // namespace kv_run
