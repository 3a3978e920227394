#pragma once

#include <sstream>

namespace kv_host {

/// Text that is put together in memory. Throws std::bad_alloc where a plain string stream would lose the rest
/// of the text and go on.
class TextStream : public std::ostringstream {
 public:
  TextStream() { exceptions(std::ios::badbit); }
};

}  // namespace kv_host
