#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/av/door.h"
#include "host/av/library.h"
#include "host/av/resources.h"
#include "host/av/samples.h"

namespace kv_av {

/// The video of one container, decoded from front to back. Nothing but the input's bytes is ever read.
class Clip {
 public:
  /// Throws Problem.
  Clip(const KvAvInput& input, const KvAvOptions& options);

  void Info(KvAvInfo& info) const;
  /// KvAvDone, KvAvEnd, or KvAvDamaged with the text of what went wrong.
  int Next(KvAvFrame& frame, char* problem);

 private:
  void OpenContainer();
  void OpenDecoder();
  bool Receive(char* problem, int& result);
  void Describe(KvAvFrame& out);

  KvAvInput input_;
  KvAvOptions options_;
  std::unique_ptr<AVIOContext, Release> io_;
  std::unique_ptr<AVFormatContext, Release> container_;
  std::unique_ptr<AVCodecContext, Release> decoder_;
  std::unique_ptr<AVPacket, Release> packet_;
  std::unique_ptr<AVFrame, Release> frame_;
  AVStream* stream_ = nullptr;
  Samples samples_;
  std::int64_t number_ = 0;  // of the frame that comes next
  int interlace_ = KvAvFieldsUnknown;
  bool isAtEnd_ = false;
};

/// The demuxers that open other files or addresses, or have no file of their own.
bool IsRefused(const AVInputFormat& format);

}  // namespace kv_av
