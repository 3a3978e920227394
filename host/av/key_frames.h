#pragma once

#include <cstdint>
#include <optional>

#include "host/av/container.h"

namespace kv_av {

/// A frame at which decoding can begin.
struct KeyFrame {
  std::int64_t packet;  ///< Its number in the order of the file, from 0.
  std::int64_t frame;   ///< Its number in the order of time, from 0.
  std::int64_t pts, dts, pos;
  int size;
};

/// Whether the codec makes one frame of each packet.
bool HasFrameInEachPacket(const AVCodecParameters& parameters);

/// What was read from the start of a file on.
struct Opening {
  std::int64_t packets = 0;
  std::int64_t frames = 0;   ///< That the decoder makes of them.
  std::int64_t latest = 0;   ///< Of their times.
  std::int64_t dropped = 0;  ///< Frames of which the decoder makes none, for they lack what they refer to.
};

/// The last key frame that is not after frame `first`. Packets are counted, not decoded: those of the index where a file
/// has one of all packets, else what is read after the opening. Empty where it cannot be known.
std::optional<KeyFrame> FindKeyFrame(const Container& container, AVPacket& packet, std::int64_t first,
                                     const Opening& opening);

/// Reads up to this packet, which `packet` then is; false if it was not found.
bool GoTo(Container& container, const KeyFrame& key, AVPacket& packet);

}  // namespace kv_av
