#pragma once

#include <array>
#include <string>

#include "host/av/library.h"

namespace kv_av {

/// A refusal or a fault, which becomes a result of the door.
struct Problem {
  int result;
  std::string text;
};

struct Release {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVIOContext* io) const {
    av_freep(&io->buffer);
    avio_context_free(&io);
  }
};

inline std::string TextOf(int error) {
  if (error == AVERROR(ENOMEM)) return "out of memory, see --max-memory";
  // Some decoders have this for everything.
  if (error == AVERROR(EPERM)) return "it is damaged, or memory is short, see --max-memory";
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(error, text.data(), text.size());
  return text.data();
}

}  // namespace kv_av
