#pragma once

#include <zlib.h>

#include <cstdint>
#include <span>
#include <vector>

#include "host/formats/png_chunks.h"

namespace kv_host::png {

/// The rows of a PNG picture out of its chunks of samples, the first of which has begun: unpacked, without filters.
class SampleReader {
 public:
  explicit SampleReader(ChunkReader& chunks);
  SampleReader(const SampleReader&) = delete;
  SampleReader& operator=(const SampleReader&) = delete;
  ~SampleReader() { inflateEnd(&stream_); }

  /// Starts rows of `bytes` bytes, whose filters look back by `step`; the row above the first one is zero.
  void Start(std::size_t bytes, std::size_t step);
  /// The next row; valid until the next call.
  std::span<const std::uint8_t> Next();
  /// Passes over what follows the last row, and ends the chunk.
  void Finish();

 private:
  void Unpack(std::span<std::uint8_t> out);
  void RefuseWindow() const;
  void Refill();
  void Unfilter(std::uint8_t filter);
  const char* Words(int code) const;

  ChunkReader& chunks_;
  z_stream stream_ = {};
  std::vector<std::uint8_t> input_;
  std::vector<std::uint8_t> row_;  // the filter's number, then the row
  std::vector<std::uint8_t> above_;
  std::size_t step_ = 1;
  bool hasBegun_ = false;
  bool hasEnded_ = false;
};

/// The filter for bytes of a row: what is predicted from the left, above and above left.
std::uint8_t Predict(std::uint8_t filter, std::uint8_t left, std::uint8_t above, std::uint8_t corner);

}  // namespace kv_host::png
