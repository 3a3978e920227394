#pragma once

#include <sys/types.h>

#include <optional>
#include <vector>

#include "host/av/av_peer.h"
#include "host/av/shared_frames.h"
#include "host/formats/byte_source.h"

namespace kv_host {

/// This program again, as the child that decodes: it reads the source, and its standard output is read here. The child
/// ends with this object.
class AvChild final : public AvPeer {
 public:
  /// Frames on their way take at most `mostBytes`. Throws FileError when the system cannot start it.
  AvChild(ByteSource& source, std::int64_t mostBytes, std::vector<std::string> arguments);
  ~AvChild() override;

  bool Read(std::span<std::uint8_t> out) override;
  std::span<const std::uint8_t> Frame() override { return frames_->Place(); }
  void ReleaseFrame() override;
  std::string Ending() override;

 private:
  int End();

  std::optional<SharedFrames> frames_;
  pid_t process_ = -1;
  int status_ = 0;  // once it has ended
  int output_ = -1;
  int freePlaces_ = -1;
};

}  // namespace kv_host
