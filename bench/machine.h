#pragma once

#include <string>

namespace kv_bench {

/// Processor, its caches and the system, in one line.
std::string DescribeMachine();

/// Frames start at the same place in their pages from here on, as those of capture cards do. Elsewhere they start
/// where the heap has room, and a row takes up to twice as long where a load waits for a store 4 KiB away.
void GiveFramesPagesOfTheirOwn();

// Keeps this thread on the last processor, away from where systems do their own work, and lets it go again.
void PinThread();
void UnpinThread();

}  // namespace kv_bench
