#pragma once

#include <optional>

#include "host/formats/raster.h"

namespace kv_host {

/// The pictures of one file, in their order.
class FrameReader {
 public:
  FrameReader() = default;
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;
  virtual ~FrameReader() = default;

  /// The next picture; empty after the last one. Throws FileError or FormatError.
  virtual std::optional<Raster> Next() = 0;
};

}  // namespace kv_host
