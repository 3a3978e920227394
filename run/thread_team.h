#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace kv_run {

/// Threads that start once, when they are first of use, and stay: they take part in the calls of any number
/// of callers. After its part a thread spins for `spin`, then it sleeps.
class ThreadTeam {
 public:
  static constexpr std::chrono::microseconds spin{100};

  /// A caller's work, in the caller's memory. `run(data, index)` is called once on every thread that takes
  /// part, with its own index from 1; it must not throw.
  struct Job {
    void (*run)(void* data, int index);
    void* data;

   private:
    friend class ThreadTeam;
    Job* next = nullptr;
    int wanted = 0;
    int nextIndex = 1;
    bool isAssembled = false;
    bool isAwaited = false;
    std::atomic<int> active = 0;

   public:
    Job(void (*work)(void*, int), void* argument) : run(work), data(argument) {}
  };

  /// For at most `size` threads, none of which is started yet.
  explicit ThreadTeam(int size);
  ThreadTeam(const ThreadTeam&) = delete;
  ThreadTeam& operator=(const ThreadTeam&) = delete;
  /// Ends the threads. No call may be running.
  ~ThreadTeam();

  /// Offers a job to at most `count` threads: whichever are free join until Close. Without threads, also when
  /// the system gives none, nobody joins.
  void Offer(Job& job, int count) noexcept;

  /// Free threads that are kept for a job.
  class Reservation {
   public:
    explicit Reservation(ThreadTeam& team) : team_(team) {}
    Reservation(const Reservation&) = delete;
    Reservation& operator=(const Reservation&) = delete;
    ~Reservation();
    int Count() const { return count_; }
    /// Keeps at most `count` threads that are free now.
    void TakeFree(int count) noexcept;
    /// Keeps `count` threads, at most the team's size: starts them, or waits until they are free. Throws when
    /// the system gives none.
    void TakeAll(int count);
    /// Calls the job on all threads that are kept.
    void Launch(Job& job) noexcept;

   private:
    ThreadTeam& team_;
    int count_ = 0;
  };

  /// Nobody joins the job any more; returns when all who did are done.
  void Close(Job& job) noexcept;

 private:
  void Start(int count);
  bool TryToStart(int count) noexcept;
  void Add(Job& job, int count, std::unique_lock<std::mutex>& lock) noexcept;
  Job* Take();
  void Return(Job& job);
  void Rest(std::unique_lock<std::mutex>& lock);
  void Serve();

  std::mutex lock_;  ///< Guards everything below.
  std::condition_variable wake_;
  std::condition_variable done_;
  std::vector<std::thread> threads_;
  const int size_;
  Job* jobs_ = nullptr;
  int free_ = 0;      ///< Started threads that are in no job.
  int sleeping_ = 0;  ///< Of these, those that do not spin.
  int wanted_ = 0;    ///< By all jobs.
  int reserved_ = 0;  ///< Of the free ones, those that are kept for a job.
  int awaiting_ = 0;  ///< Callers that wait for free threads.
  bool ends_ = false;
  /// Changes with every offer. A hint for threads that spin: what it announces is read under the lock.
  std::atomic<std::uint32_t> signal_ = 0;
};

}  // namespace kv_run
