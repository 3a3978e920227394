#pragma once

#include <sys/types.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/formats/byte_source.h"

namespace kv_host {

/// This program again, as the child that decodes: it reads the source, and its standard output is read here. The child
/// ends with this object.
class AvChild {
 public:
  /// Throws FileError when the system cannot start it.
  AvChild(ByteSource& source, std::vector<std::string> arguments);
  AvChild(const AvChild&) = delete;
  AvChild& operator=(const AvChild&) = delete;
  ~AvChild();

  /// Fills `out`; false if the child ended first.
  bool Read(std::span<std::uint8_t> out) const;
  /// Waits for the end of the child, whose output has ended; how it came, for people.
  std::string Ending();

 private:
  int Wait();

  pid_t process_ = -1;
  int output_ = -1;
};

}  // namespace kv_host
