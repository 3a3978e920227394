#include "host/av/av_messages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "host/formats/file_format.h"
#include "host/formats/format_error.h"

namespace kv_host {
namespace {

/// No clip has more frames; numbers up to here can be added to.
constexpr std::int64_t MostFrames = std::int64_t{1} << 53;
/// No clip is longer; times up to here can be counted in any clock of a container.
constexpr double MostSeconds = 1e9;

template <class Struct>
std::span<std::uint8_t> BytesOf(Struct& object) {
  return {reinterpret_cast<std::uint8_t*>(&object), sizeof object};
}

template <std::size_t size>
void MakeText(char (&text)[size]) {
  text[size - 1] = '\0';
  for (char& letter : text) {
    if (letter == '\0') break;
    const auto code = static_cast<unsigned char>(letter);
    if (code < 0x20 || code >= 0x7F) letter = '?';
  }
}

void MakeRatio(std::int32_t (&ratio)[2]) {
  if (ratio[0] <= 0 || ratio[1] <= 0) ratio[0] = ratio[1] = 0;
}

void MakeSound(KvAvInfo& info) {
  MakeText(info.container);
  MakeText(info.codec);
  MakeText(info.pixels);
  MakeText(info.position);
  for (KvAvStream& stream : info.streams) {
    MakeText(stream.kind);
    MakeText(stream.codec);
  }
  info.streamCount = std::clamp<std::int32_t>(info.streamCount, 0, KvAvMostStreams);
  MakeRatio(info.rate);
  MakeRatio(info.aspect);
  if (info.rotation < 0 || info.rotation >= 360) info.rotation = 0;
  info.frames = std::clamp<std::int64_t>(info.frames, -1, MostFrames);
  if (!std::isfinite(info.duration)) info.duration = -1;
}

}  // namespace

AvMessages::AvMessages(AvPeer& peer, std::string file) : peer_(peer), file_(std::move(file)) {
  const WireHeader header = Expect();
  Read(header, WireKind::Info, info_);
  MakeSound(info_);
}

bool AvMessages::NextFrame(KvAvFrame& frame, std::int64_t& frames) {
  const WireHeader header = Expect();
  if (header.kind == WireKind::End) {
    WireEnd end{};
    Read(header, WireKind::End, end);
    frames = std::clamp<std::int64_t>(end.frames, 0, MostFrames);
    return false;
  }
  Read(header, WireKind::Frame, frame);
  MakeRatio(frame.rate);
  MakeRatio(frame.aspect);
  if (!(frame.time >= 0 && frame.time <= MostSeconds)) frame.time = -1;
  number_ = frame.number = std::clamp<std::int64_t>(frame.number, 0, MostFrames);
  return true;
}

/// The header of the next message, which is no failure.
WireHeader AvMessages::Expect() {
  WireHeader header{};
  if (!peer_.Read(BytesOf(header))) ThrowEnding();
  if (header.kind == WireKind::Failure) ThrowFailure(header);
  return header;
}

template <class Struct>
void AvMessages::Read(const WireHeader& header, WireKind kind, Struct& body) {
  if (header.kind != kind || header.bytes != sizeof body || !peer_.Read(BytesOf(body))) ThrowEnding();
}

void AvMessages::ThrowEnding() {
  throw FormatError(file_, peer_.Ending() + " at frame " + std::to_string(number_ + 1));
}

void AvMessages::ThrowFailure(const WireHeader& header) {
  WireFailure failure{};
  Read(header, WireKind::Failure, failure);
  MakeText(failure.problem);
  std::string problem = failure.problem;
  if (failure.result == KvAvUnknownFormat) {
    throw FormatError(file_, 0, "the format is not known; name it: " + FormatNames());
  }
  if (failure.hasFrame != 0) {
    std::array<char, 32> time{};
    if (failure.time >= 0) std::snprintf(time.data(), time.size(), " at %.3f s", failure.time);
    problem = "frame " + std::to_string(failure.number) + time.data() + " cannot be decoded: " + problem;
  }
  throw FormatError(file_, problem);
}

}  // namespace kv_host
