#include "run/thread_team.h"

#include <algorithm>
#include <chrono>
#include <exception>

#include "run/platform/process.h"

namespace kv_run {
namespace {

using Clock = std::chrono::steady_clock;

/// Spins until `isOver()`, or for as long as is worth while.
template <class Condition>
void Spin(const Condition& isOver) {
  // Who waits for a thread that shares its processor waits in vain.
  static const bool isAlone = std::thread::hardware_concurrency() == 1;
  if (isAlone) return;
  constexpr int looks = 64;
  const auto end = Clock::now() + ThreadTeam::spin;
  do {
    for (int look = 0; look < looks; ++look) {
      if (isOver()) return;
    }
    // Where threads are more than processors, the one that is waited for may need this one's.
    std::this_thread::yield();
  } while (Clock::now() < end);
}

}  // namespace

ThreadTeam::ThreadTeam(int size) : size_(size) {
  threads_.reserve(static_cast<std::size_t>(size));
}

ThreadTeam::~ThreadTeam() {
  {
    const std::lock_guard guard(lock_);
    ends_ = true;
    signal_.fetch_add(1, std::memory_order_relaxed);
  }
  wake_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void ThreadTeam::Start(int count) {
  // The module's code has to stay for as long as the threads do.
  static const bool stays = (KeepModule(), true);
  static_cast<void>(stays);
  while (static_cast<int>(threads_.size()) < std::min(count, size_)) {
    threads_.emplace_back([this] { Serve(); });
    ++free_;
  }
}

bool ThreadTeam::TryToStart(int count) noexcept {
  try {
    Start(count);
    return true;
  } catch (const std::exception&) {
    return false;  // Those that there are do the work.
  }
}

void ThreadTeam::Add(Job& job, int count, std::unique_lock<std::mutex>& lock) noexcept {
  job.wanted = count;
  job.next = jobs_;
  jobs_ = &job;
  wanted_ += count;
  signal_.fetch_add(1, std::memory_order_relaxed);
  int sleepers = std::min(sleeping_, wanted_ - (free_ - sleeping_));
  lock.unlock();
  for (; sleepers > 0; --sleepers) wake_.notify_one();
}

void ThreadTeam::Offer(Job& job, int count) noexcept {
  std::unique_lock lock(lock_);
  TryToStart(count);
  Add(job, std::min(count, static_cast<int>(threads_.size())), lock);
}

ThreadTeam::Reservation::~Reservation() {
  const std::lock_guard guard(team_.lock_);
  team_.reserved_ -= count_;
  if (count_ > 0 && team_.awaiting_ > 0) team_.done_.notify_all();
}

void ThreadTeam::Reservation::TakeFree(int count) noexcept {
  const std::lock_guard guard(team_.lock_);
  team_.TryToStart(count);
  count_ = std::clamp(team_.free_ - team_.reserved_, 0, count);
  team_.reserved_ += count_;
}

void ThreadTeam::Reservation::TakeAll(int count) {
  std::unique_lock lock(team_.lock_);
  team_.Start(count);
  count = std::min(count, team_.size_);
  ++team_.awaiting_;
  team_.done_.wait(lock, [&] { return team_.free_ - team_.reserved_ >= count; });
  --team_.awaiting_;
  count_ = count;
  team_.reserved_ += count_;
}

void ThreadTeam::Reservation::Launch(Job& job) noexcept {
  std::unique_lock lock(team_.lock_);
  job.isAssembled = true;
  // Relaxed, as nobody has seen the job yet: the lock hands it over.
  job.active.store(count_, std::memory_order_relaxed);
  const int count = count_;
  count_ = 0;
  team_.Add(job, count, lock);
}

void ThreadTeam::Close(Job& job) noexcept {
  {
    const std::lock_guard guard(lock_);
    if (!job.isAssembled) {
      wanted_ -= job.wanted;
      job.wanted = 0;
    }
  }
  // Acquire: what a thread wrote before its release in Return is seen once its part is subtracted.
  const auto isDone = [&job] { return job.active.load(std::memory_order_acquire) == 0; };
  Spin(isDone);
  std::unique_lock lock(lock_);
  job.isAwaited = true;
  done_.wait(lock, isDone);
  for (Job** link = &jobs_;; link = &(*link)->next) {
    if (*link == &job) {
      *link = job.next;
      return;
    }
  }
}

ThreadTeam::Job* ThreadTeam::Take() {
  // Who waits for free threads gets them before whoever can do without.
  const bool isForAll = reserved_ == 0 && awaiting_ == 0;
  for (Job* job = jobs_; job != nullptr; job = job->next) {
    if (job->wanted == 0 || !(job->isAssembled || isForAll)) continue;
    if (job->isAssembled) {
      --reserved_;
    } else {
      // Relaxed: the caller reads it after Close has had the lock.
      job->active.fetch_add(1, std::memory_order_relaxed);
    }
    --job->wanted;
    --wanted_;
    --free_;
    return job;
  }
  return nullptr;
}

void ThreadTeam::Return(Job& job) {
  ++free_;
  const bool isAwaited = job.isAwaited || awaiting_ > 0;
  // Release: see Close. The job may be gone once this is done.
  job.active.fetch_sub(1, std::memory_order_release);
  if (isAwaited) done_.notify_all();
}

void ThreadTeam::Rest(std::unique_lock<std::mutex>& lock) {
  // Relaxed here and below: it changes under the lock alone, which is taken before anything is done about it.
  const std::uint32_t seen = signal_.load(std::memory_order_relaxed);
  const auto isCalled = [this, seen] { return signal_.load(std::memory_order_relaxed) != seen; };
  lock.unlock();
  Spin(isCalled);
  lock.lock();
  ++sleeping_;
  wake_.wait(lock, isCalled);
  --sleeping_;
}

void ThreadTeam::Serve() {
  std::unique_lock lock(lock_);
  while (!ends_) {
    Job* const job = Take();
    if (job == nullptr) {
      Rest(lock);
      continue;
    }
    const int index = job->nextIndex++;
    lock.unlock();
    job->run(job->data, index);
    lock.lock();
    Return(*job);
  }
}

}  // namespace kv_run
