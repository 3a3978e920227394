// A child that says anything: whole frames of its rows, or an error of one line.

#include <fuzzer/FuzzedDataProvider.h>

#include <cctype>
#include <cmath>
#include <cstring>
#include <deque>
#include <memory>
#include <vector>

#include "fuzz/check_frame.h"
#include "host/av/av_reader.h"
#include "host/av/wire.h"
#include "host/formats/format_error.h"

namespace {

using kv_fuzz::Require;
using kv_host::WireKind;

/// Its messages are sound ones with some bytes replaced.
class Liar final : public kv_host::AvPeer {
 public:
  explicit Liar(FuzzedDataProvider& input)
      : input_(input), rows_(input.ConsumeIntegralInRange<std::size_t>(0, 40000)) {
    for (std::size_t i = 0; i < rows_.size(); ++i) rows_[i] = static_cast<std::uint8_t>(i * 7);
    Say(WireKind::Info, KvAvInfo{});
  }

  bool Read(std::span<std::uint8_t> out) override {
    while (said_.size() < out.size() && input_.remaining_bytes() > 0) SayAnything();
    if (said_.size() < out.size()) return false;
    std::copy_n(said_.begin(), out.size(), out.begin());
    said_.erase(said_.begin(), said_.begin() + static_cast<std::ptrdiff_t>(out.size()));
    return true;
  }
  std::span<const std::uint8_t> Frame() override { return rows_; }
  void ReleaseFrame() override {}
  std::string Ending() override { return "it ended"; }

  std::uint8_t RowByte(std::size_t at) const { return rows_[at]; }

 private:
  template <class Struct>
  void Say(WireKind kind, Struct body) {
    auto* bytes = reinterpret_cast<std::uint8_t*>(&body);
    for (int i = input_.ConsumeIntegralInRange(0, 6); i > 0; --i) {
      const auto at = input_.ConsumeIntegralInRange<std::size_t>(0, sizeof body - 1);
      const std::string patch = input_.ConsumeRandomLengthString(16);
      std::memcpy(bytes + at, patch.data(), std::min(patch.size(), sizeof body - at));
    }
    const bool isWrong = input_.ConsumeIntegral<std::uint8_t>() == 1;
    const kv_host::WireHeader header = {
        .kind = isWrong ? static_cast<WireKind>(input_.ConsumeIntegral<std::uint32_t>()) : kind,
        .bytes = isWrong ? input_.ConsumeIntegral<std::uint32_t>() : static_cast<std::uint32_t>(sizeof body)};
    const auto* start = reinterpret_cast<const std::uint8_t*>(&header);
    said_.insert(said_.end(), start, start + sizeof header);
    said_.insert(said_.end(), bytes, bytes + sizeof body);
  }

  void SayAnything() {
    switch (input_.ConsumeIntegralInRange(0, 9)) {
      case 0:
        return Say(WireKind::Info, KvAvInfo{});
      case 1:
        return Say(WireKind::Failure, kv_host::WireFailure{});
      case 2:
        return Say(WireKind::End, kv_host::WireEnd{});
      default:
        KvAvFrame frame{};
        frame.kind = input_.ConsumeIntegralInRange(0, 6);
        frame.width = input_.ConsumeIntegralInRange(0, 300);
        frame.height = input_.ConsumeIntegralInRange(0, 100);
        return Say(WireKind::Frame, frame);
    }
  }

  FuzzedDataProvider& input_;
  std::vector<std::uint8_t> rows_;
  std::deque<std::uint8_t> said_;
};

void RequireText(std::string_view text) {
  for (const char letter : text)
    Require(std::isprint(static_cast<unsigned char>(letter)) != 0, "a text of other bytes");
}

void RequireRatio(int above, int below) {
  Require((above > 0 && below > 0) || (above == 0 && below == 0), "a ratio that is none");
}

void RequireSound(const KvAvInfo& info) {
  Require(info.streamCount >= 0 && info.streamCount <= KvAvMostStreams, "a count of streams");
  for (const char* text : {info.container, info.codec, info.pixels, info.position}) RequireText(text);
  for (const KvAvStream& stream : info.streams) RequireText(stream.kind + std::string(stream.codec));
  RequireRatio(info.rate[0], info.rate[1]);
  RequireRatio(info.aspect[0], info.aspect[1]);
  Require(info.rotation >= 0 && info.rotation < 360 && info.frames >= -1 && std::isfinite(info.duration),
          "a number that is none");
}

void RequireRows(const kv_host::Raster& frame, const Liar& liar) {
  std::size_t at = 0;
  for (const kv_host::Plane& plane : frame.planes) {
    for (const std::uint8_t byte : plane.bytes) Require(byte == liar.RowByte(at++), "rows of another place");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  kv_host::ByteSource source("/dev/null");
  kv_host::AvLog log;
  kv_host::AvOptions options;
  if (input.ConsumeBool()) options.log = &log;
  const std::int64_t first = input.ConsumeIntegralInRange(0, 3);
  auto peer = std::make_unique<Liar>(input);
  const Liar& liar = *peer;
  try {
    const auto reader = kv_host::ReadAv(source, std::move(peer), options, first);
    RequireSound(*reader->Declared());
    while (const auto frame = reader->Next()) {
      kv_fuzz::RequireWhole(*frame);
      RequireRows(*frame, liar);
      RequireRatio(frame->frameRate.numerator, frame->frameRate.denominator);
      RequireRatio(frame->pixelAspect.numerator, frame->pixelAspect.denominator);
    }
    Require(!reader->Next(), "a frame after the last");
    for (const kv_host::AvNote& note : log.notes) {
      for (const double time : note.times) Require(std::isfinite(time), "a time that is none");
    }
  } catch (const kv_host::FormatError& error) {
    Require(std::string(error.what()).find('\n') == std::string::npos, "an error of several lines");
  }
  return 0;
}
