#pragma once

#include <initializer_list>
#include <utility>

#include "frame/algorithm_manager.h"
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

/// Calls `operation.Apply(arguments…, barrier, index)` on every thread of the pool, each of which works on
/// its own rows, and returns when all have come back. The bytes are those of one thread: a call whose bytes
/// follow the bands of rows gets as few threads as ThreadLimit says. Passes on the first exception, see
/// WorkerPool::Run.
template <class Operation, class... Arguments>
void Run(const WorkerPool& pool, const Operation& operation, Arguments&&... arguments) {
  pool.Run([&](kv_std::SpinBarrier& barrier,
               std::uint32_t index) { operation.Apply(arguments..., barrier, index); },
           ThreadLimit(pool.ThreadCount(), operation, arguments...));
}

}  // namespace kv_run
