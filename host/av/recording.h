#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/av/door.h"
#include "host/av/library.h"
#include "host/av/resources.h"

namespace kv_av {

struct ReleaseWithoutInput {
  void operator()(AVFormatContext* context) const { avformat_free_context(context); }
};

/// One video stream on its way into a container. The same frames and threads give the same bytes.
class Recording {
 public:
  /// All of them throw Problem.
  Recording(const KvAvOutput& output, const KvAvTarget& target);
  void Add(std::span<const std::uint8_t> bytes, double time);
  void Finish();

 private:
  void OpenEncoder(const KvAvTarget& target);
  void Describe(const KvAvTarget& target);
  void Send(const AVFrame* frame);
  void NoteTime(double time);
  std::int64_t TimeOf(std::int64_t frame) const;

  KvAvOutput output_;
  std::string name_;  // of the encoder
  bool isInterlaced_;
  bool isTopFirst_;
  bool hasTimes_;                    // each frame its own
  AVRational clock_;                 // the unit of times
  std::vector<std::int64_t> times_;  // of all frames, if they have them
  double later_ = 0;                 // seconds that what comes now is later than it says
  std::unique_ptr<AVIOContext, Release> io_;
  std::unique_ptr<AVFormatContext, ReleaseWithoutInput> container_;
  std::unique_ptr<AVCodecContext, Release> encoder_;
  std::unique_ptr<AVPacket, Release> packet_;
  AVStream* stream_ = nullptr;
  std::int64_t number_ = 0;
};

}  // namespace kv_av
