#pragma once

#include <cstdint>
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

  /// How many pictures there are, where the file's size shows it.
  virtual std::optional<std::int64_t> Length() const { return std::nullopt; }
};

}  // namespace kv_host
