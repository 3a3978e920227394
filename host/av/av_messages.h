#pragma once

#include <string>

#include "host/av/av_peer.h"
#include "host/av/wire.h"

namespace kv_host {

/// What the child says about one file, in the order of the wire. Whatever comes, the values are sound: texts end and are
/// printable, ratios are of positive numbers or 0:0, counts are not negative.
class AvMessages {
 public:
  /// `file` is for errors. Throws FormatError, as all do: what the child found, or how it ended.
  AvMessages(AvPeer& peer, std::string file);

  const KvAvInfo& Info() const { return info_; }

  /// The header of the next frame, whose rows the peer then has; false after the last, `frames` then being the clip's.
  bool NextFrame(KvAvFrame& frame, std::int64_t& frames);

 private:
  WireHeader Expect();
  template <class Struct>
  void Read(const WireHeader& header, WireKind kind, Struct& body);
  [[noreturn]] void ThrowEnding();
  [[noreturn]] void ThrowFailure(const WireHeader& header);

  AvPeer& peer_;
  std::string file_;
  KvAvInfo info_{};
  std::int64_t number_ = -1;
};

}  // namespace kv_host
