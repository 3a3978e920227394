#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace kv_host {

/// The child that decodes, as kv sees it. Nothing that it says is trusted.
class AvPeer {
 public:
  AvPeer() = default;
  AvPeer(const AvPeer&) = delete;
  AvPeer& operator=(const AvPeer&) = delete;
  virtual ~AvPeer() = default;

  /// Fills `out` with what comes next; false if the child ended first.
  virtual bool Read(std::span<std::uint8_t> out) = 0;
  /// Where the rows of the frame are whose header came last: its planes one after the other, without gaps.
  virtual std::span<const std::uint8_t> Frame() = 0;
  /// The child may put another frame there.
  virtual void ReleaseFrame() = 0;
  /// Waits for the end of the child, whose output has ended; how it came, for people.
  virtual std::string Ending() = 0;
};

}  // namespace kv_host
