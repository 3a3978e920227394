#pragma once

#include <optional>

#include "host/av/library.h"

namespace kv_av {

/// Checksums of FFV1. The library's decoder puts the picture before in the place of slices whose checksum is wrong, and says
/// so to nobody.
class SliceCheck {
 public:
  /// False if a checksum is wrong, or if the packet needs one before it whose checksum was.
  bool IsIntact(const AVPacket& packet);

 private:
  std::optional<bool> hasSums_;
  bool isBroken_ = false;
};

}  // namespace kv_av
