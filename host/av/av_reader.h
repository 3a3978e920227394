#pragma once

#include <cstdint>
#include <memory>

#include "host/av/av_log.h"
#include "host/av/av_peer.h"
#include "host/formats/byte_source.h"
#include "host/formats/frame_reader.h"
#include "host/formats/narrow.h"

namespace kv_host {

struct AvOptions {
  int stream = -1;               ///< Of the container, from 0; below 0 the library chooses.
  bool skipDamaged = false;      ///< Damaged frames are left out.
  std::int64_t maxMemory = 0;    ///< Bytes for the decoder; 0: a quarter of the machine.
  int threads = 0;               ///< Of the decoder; 0: what the machine runs at once, 16 at most.
  Dither dither = Dither::None;  ///< For samples of more than 8 bits.
  Ratio rate;                    ///< Given to all frames; 0: that of the file.
  AvLog* log = nullptr;  ///< Gets what is found out. Without it damage after good pictures throws, too.
};

/// The pictures from number `first` on of a file that the module reads, decoded in a child process. Throws FormatError,
/// also where there is no module.
std::unique_ptr<FrameReader> OpenAv(ByteSource& source, const AvOptions& options, std::int64_t first);
/// What such a child says, whoever speaks for it.
std::unique_ptr<FrameReader> ReadAv(ByteSource& source, std::unique_ptr<AvPeer> peer,
                                    const AvOptions& options, std::int64_t first);

}  // namespace kv_host
