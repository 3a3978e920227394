#pragma once

#include <cstdint>

namespace kv_run {

/// Keeps the module that this code is part of in memory from now on, for threads that run its code until the
/// process ends.
void KeepModule();

/// How often this process is a fork's child since the first call: a child counts one more than its parent
/// did, none of whose other threads it has. Always 0 on systems without fork.
std::uint32_t ForkCount() noexcept;

}  // namespace kv_run
