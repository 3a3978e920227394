#pragma once

namespace kv_test {

// ThreadSanitizer slows threads that spin so much that sixty-four of them hardly end on few processors.
#ifdef KV_LIGHT_LOAD
inline constexpr int mostThreads = 4;
inline constexpr int roundsDivisor = 4;
#else
inline constexpr int mostThreads = 64;
inline constexpr int roundsDivisor = 1;
#endif

}  // namespace kv_test
