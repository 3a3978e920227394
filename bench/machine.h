#pragma once

#include <string>

namespace kv_bench {

/// Processor, its caches and the system, in one line.
std::string DescribeMachine();

// Keeps this thread on the last processor, away from where systems do their own work, and lets it go again.
void PinThread();
void UnpinThread();

}  // namespace kv_bench
