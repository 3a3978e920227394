#pragma once

#include <cstdint>
#include <optional>

#include "host/av/door.h"
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

  /// The number of the picture that comes first, where those before it were passed over already.
  virtual std::int64_t FirstNumber() const { return 0; }

  /// What a container declares; null for files without one.
  virtual const KvAvInfo* Declared() const { return nullptr; }

  /// How many pictures there are, where the file's size shows it.
  virtual std::optional<std::int64_t> Length() const { return std::nullopt; }
};

}  // namespace kv_host
