#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <thread>

#include "host/formats/handover.h"
#include "host/formats/picture_reader.h"

namespace kv_host {

/// The frames of a reader, the next one read on a thread of its own while this one is worked on, where that is worth it:
/// of a file with many frames, when there is more than one thread. Of a pipe nothing is read before it is wanted.
class ReadAhead {
 public:
  /// `threads` that a person asked for, 0 where none did. While it lives nobody else reads, and what the reader says of
  /// its place is further on.
  ReadAhead(PictureReader& reader, int threads);
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;
  ~ReadAhead();

  /// As PictureReader::Next.
  std::optional<Raster> Next();
  /// The number of the frame that Next gave last.
  std::int64_t Number() const { return number_; }

 private:
  struct Read {
    std::optional<Raster> frame;
    std::int64_t number = 0;
    std::exception_ptr failure = {};
  };
  Read ReadNext() noexcept;

  PictureReader& reader_;
  std::int64_t number_ = 0;
  Handover<Read> frames_;
  std::thread thread_;
};

}  // namespace kv_host
