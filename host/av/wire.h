#pragma once

#include <cstdint>

#include "host/av/door.h"

namespace kv_host {

/// What the child process says to kv, in this order: the clip, or why there is none; frames; how it ended. Both are the
/// same program, so the structs of the door go as they are in memory.
enum class WireKind : std::uint32_t { Info, Frame, Failure, End };

struct WireHeader {
  WireKind kind;
  std::uint32_t bytes;  ///< Of the struct that follows. The rows of a frame are in the memory that both have.
};

struct WireFailure {
  std::int32_t result;
  std::int32_t hasFrame;  ///< The fault is in a frame: `number` and `time` are its.
  std::int64_t number;
  double time;
  char problem[KvAvProblemSize];
};

struct WireEnd {
  std::int64_t frames;  ///< Of the whole clip.
};

/// The argument that makes the program a child; those after it are the child's.
inline constexpr const char* AvWorkerArgument = "--av-worker";
/// Where the child finds, beside standard input and output: the bytes that kv has taken from a pipe already; the memory of
/// frames; the count of its free places.
enum AvDescriptor : std::int32_t {
  AvAheadDescriptor = 3,
  AvFramesDescriptor,
  AvFreePlacesDescriptor,
  AvDescriptors
};

}  // namespace kv_host
