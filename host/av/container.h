#pragma once

#include <cstdint>
#include <memory>

#include "host/av/door.h"
#include "host/av/library.h"
#include "host/av/resources.h"

namespace kv_av {

/// One video stream of an opened file or pipe. Nothing but the input's bytes is ever read.
class Container {
 public:
  /// Throws Problem.
  Container(const KvAvInput& input, const KvAvOptions& options);
  Container(const Container&) = delete;
  Container& operator=(const Container&) = delete;

  AVFormatContext& Format() const { return *format_; }
  AVStream& Stream() const { return *stream_; }
  bool IsFile() const { return input_.position != nullptr; }

  /// The stream's next packet; a result of the library's.
  int Read(AVPacket& packet) const;
  /// Goes to the key frame at or before this time, as far as the format can; Read() shows where that is.
  bool Seek(std::int64_t timestamp) const;
  /// Begins again. Throws Problem.
  void Reopen();

 private:
  void Open();
  int FindStreams() const;

  KvAvInput input_;
  KvAvOptions options_;
  std::unique_ptr<AVIOContext, Release> io_;
  std::unique_ptr<AVFormatContext, Release> format_;
  AVStream* stream_ = nullptr;
};

/// Throws Problem for pictures larger than the options allow.
void RequireSize(const AVCodecParameters& parameters, const KvAvOptions& options);

/// The demuxers that open other files or addresses, or have no file of their own.
bool IsRefused(const AVInputFormat& format);

}  // namespace kv_av
