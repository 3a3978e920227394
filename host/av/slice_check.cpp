#include "host/av/slice_check.h"

extern "C" {
#include <libavutil/crc.h>
#include <libavutil/intreadwrite.h>
}

namespace kv_av {
namespace {

constexpr int SizeBytes = 3;
constexpr int SumBytes = 5;  // a state and the checksum

enum class Slices { Intact, Damaged, Unknown };

/// A packet is slices, each with its size after it, and with its checksum if it has one.
Slices SlicesOf(const AVPacket& packet, bool hasSums) {
  const int tail = hasSums ? SizeBytes + SumBytes : SizeBytes;
  bool isIntact = true;
  int end = packet.size;
  while (end > tail) {
    const int size = static_cast<int>(AV_RB24(packet.data + end - tail)) + tail;
    if (size > end) return Slices::Unknown;
    end -= size;
    if (hasSums &&
        av_crc(av_crc_get_table(AV_CRC_32_IEEE), 0, packet.data + end, static_cast<std::size_t>(size)) != 0) {
      isIntact = false;
    }
  }
  return end != 0 ? Slices::Unknown : isIntact ? Slices::Intact : Slices::Damaged;
}

}  // namespace

bool SliceCheck::IsIntact(const AVPacket& packet) {
  // Older versions of the codec have neither.
  if (!hasSums_) {
    hasSums_ = SlicesOf(packet, false) == Slices::Unknown && SlicesOf(packet, true) != Slices::Unknown;
  }
  if ((packet.flags & AV_PKT_FLAG_KEY) != 0) isBroken_ = false;
  if (*hasSums_ && SlicesOf(packet, true) != Slices::Intact) isBroken_ = true;
  return !isBroken_;
}

}  // namespace kv_av
