#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kv_host {

/// Memory that kv and its child both see, with two places for frames on their way, which take turns. Its size is sealed, so
/// that nobody can shrink it below a reader. Pages that no frame has needed take no memory.
class SharedFrames {
 public:
  static constexpr int Places = 2;

  /// Maps what Create() has made, for reading, or for writing too. Nothing is mapped if the system refuses.
  SharedFrames(int descriptor, bool isWritten);
  SharedFrames(const SharedFrames&) = delete;
  SharedFrames& operator=(const SharedFrames&) = delete;
  ~SharedFrames();

  /// A descriptor of new memory of at most this many bytes; below 0 if the system refuses.
  static int Create(std::int64_t mostBytes);

  bool IsMapped() const { return bytes_ != nullptr; }
  /// The place whose turn it is.
  std::span<std::uint8_t> Place() const { return {bytes_ + turn_ * placeSize_, placeSize_}; }
  void NextTurn() { turn_ = (turn_ + 1) % Places; }

 private:
  std::uint8_t* bytes_ = nullptr;
  std::size_t placeSize_ = 0;
  std::size_t turn_ = 0;
};

}  // namespace kv_host
