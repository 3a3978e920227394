#pragma once

#include <atomic>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "capi/checks.h"
#include "frame/algorithm_manager_impl.h"
#include "frame/spin_barrier.h"
#include "run/worker_pool.h"

struct kv_context {
  int threads = 1;
  std::string member;
  kv_executor run = nullptr;
  void* runUser = nullptr;
  /// Null for one thread.
  std::unique_ptr<kv_run::WorkerPool> pool;
  std::atomic<std::uint32_t> stops = 0;
  /// Of one thread: it waits for nobody, so that any number of calls may use it. Making one takes longer than the rest of
  /// a small call.
  kv_std::SpinBarrier alone{1};
  /// Memory that calls have given back, for those to come.
  std::mutex keptLock;
  std::vector<std::vector<std::uint8_t>> kept;
};

namespace kv_capi {

/// Memory of a call, taken from its context and given back at the end. Its contents are what they were.
class Scratch {
 public:
  Scratch(kv_context& context, std::size_t bytes);
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch();
  std::uint8_t* Data() { return memory_.data(); }

 private:
  kv_context& context_;
  std::vector<std::uint8_t> memory_;
};

/// One call: what its context and its kv_call ask for.
class Call {
 public:
  Call(kv_context* context, const kv_call* options);

  kv_context& Context() const { return context_; }
  /// For an operation that is called as a whole.
  kv_std::SpinBarrier& Alone() const { return context_.alone; }
  /// Whether the caller chose one member.
  bool NamesMember() const { return !member_.empty(); }

  /// Tasks that work of this many pixels is divided into: enough that a stop is seen soon and threads have a share,
  /// each large enough to be worth it; at most `most`.
  int TasksFor(std::int64_t pixels, int most) const;

  /// Runs body(0) to body(count - 1), on several threads where the call has them; passes on the first failure.
  /// Between tasks the stop flag and the poll function are looked at.
  template <class Body>
  void ForEachTask(int count, Body body) const {
    RunTasks(
        count, [](void* data, int index) { (*static_cast<Body*>(data))(index); }, &body);
  }

  /// The implementation of an algorithm. Fails when no member, or not the one that the call names, has it.
  template <class Interface>
  const Interface& Find(const char* algorithm, std::initializer_list<int> ids) const {
    if (const auto* found = Ask<Interface>(algorithm, ids)) return *found;
    FailNoMember(algorithm);
  }
  template <class Interface>
  const Interface* Ask(const char* algorithm, std::initializer_list<int> ids) const;

 private:
  template <class InterfaceClass>
  struct LookUp {
    using Interface = InterfaceClass;
  };
  void RunTasks(int count, void (*task)(void*, int), void* data) const;
  void LookAtStop() const;
  void Poll() const;
  [[noreturn]] void FailNoMember(const char* algorithm) const;

  kv_context& context_;
  int threads_;
  std::wstring member_;
  kv_poll poll_ = nullptr;
  void* pollUser_ = nullptr;
  std::uint32_t stopsBefore_;
};

template <class Interface>
const Interface* Call::Ask(const char* algorithm, std::initializer_list<int> ids) const {
  const int count = static_cast<int>(ids.size());
  auto& manager = *kv_img::AlgorithmManagerImpl::GetInstance();
  if (!member_.empty()) {
    return static_cast<const Interface*>(manager.AskMember(member_, algorithm, ids.begin(), count));
  }
  static kv_img::ImplementationData<LookUp<Interface>> data;
  try {
    manager.LoadImplementation(algorithm, ids.begin(), count, data);
  } catch (const kv_img::AlgoException&) {
    return nullptr;
  }
  return data.current;
}

/// The rows of a band, `index` of `count`, of `rows` rows.
struct RowsOfTask {
  int first;
  int count;
};
inline RowsOfTask RowsOf(int rows, int count, int index) {
  const auto at = [&](int i) { return static_cast<int>(std::int64_t{rows} * i / count); };
  return {at(index), at(index + 1) - at(index)};
}

/// Divides an operation whose bytes do not follow the bands among the tasks of a call: the operation sees each task
/// as a thread of its own and never waits.
template <class Operation, class... Arguments>
void RunBands(const Call& call, int rows, std::int64_t pixels, const Operation& operation,
              Arguments&&... arguments) {
  const int count = call.TasksFor(pixels, rows);
  if (count == 1) {
    call.ForEachTask(1, [&](int) { operation.Apply(arguments..., call.Alone(), 0); });
    return;
  }
  kv_std::SpinBarrier barrier(count);
  call.ForEachTask(
      count, [&](int index) { operation.Apply(arguments..., barrier, static_cast<std::uint32_t>(index)); });
}

}  // namespace kv_capi
