#pragma once

#include <cstddef>

namespace kv_host {

/// Watches `operator new`: the largest block that anybody asked for since the watch began.
class AllocationWatch {
 public:
  AllocationWatch();
  std::size_t LargestBlock() const;
};

}  // namespace kv_host
