#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/av/door.h"
#include "host/av/library.h"
#include "host/formats/narrow.h"

namespace kv_av {

/// Makes the frames of the door out of the decoder's. What the family takes as it is goes through; other 4:2:x, 4:4:4, RGB and
/// grey of 8 to 16 bits by rules of our own (docs/files.md); the rest by libswscale. The scratch is kept.
class Samples {
 public:
  explicit Samples(kv_host::Dither dither = kv_host::Dither::None) : dither_(dither) {}

  /// Fills kind, size, planes and path. False, and `problem`, for pixels that nobody converts.
  bool Take(const AVFrame& frame, AVChromaLocation position, KvAvFrame& out, char* problem);

 private:
  struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;
  };

  void TakeDirect(const AVFrame& frame, KvAvFrame& out);
  void TakeYuv(const AVFrame& frame, const AVPixFmtDescriptor& format, AVChromaLocation position,
               KvAvFrame& out);
  void TakeRgb(const AVFrame& frame, const AVPixFmtDescriptor& format, KvAvFrame& out);
  void TakePalette(const AVFrame& frame, KvAvFrame& out);
  bool TakeByLibrary(const AVFrame& frame, const AVPixFmtDescriptor& format, KvAvFrame& out);
  void Component(const AVFrame& frame, const AVPixFmtDescriptor& format, int component, Picture& out) const;
  void Give(KvAvFrame& out, int plane, const std::vector<std::uint8_t>& bytes, int rowBytes) const;

  kv_host::Dither dither_;
  std::array<Picture, 4> components_;
  std::array<Picture, 2> chroma_;
  std::vector<std::uint8_t> packed_;
  std::unique_ptr<SwsContext, decltype(&sws_freeContext)> scaler_{nullptr, sws_freeContext};
};

}  // namespace kv_av
