#pragma once

#include <cstdint>
#include <optional>

namespace kv_host {

/// Some of the pictures of a file, one after the other.
struct FrameRange {
  std::int64_t first = 0;             ///< From 0.
  std::optional<std::int64_t> count;  ///< None: to the last one. A file may end earlier.
};

}  // namespace kv_host
