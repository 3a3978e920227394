#include "host/av/key_frames.h"

#include <algorithm>
#include <string_view>

namespace kv_av {
namespace {

/// The time of the key frame before the last one of the index that is not after frame `first`: the frames that follow one in
/// the file and come before it in time are not known from the index.
std::optional<std::int64_t> TimeBefore(AVStream& stream, std::int64_t first) {
  std::optional<std::int64_t> last;
  std::optional<std::int64_t> best;
  std::int64_t frames = 0;
  for (int i = 0; i < avformat_index_get_entries_count(&stream) && frames <= first; ++i) {
    const AVIndexEntry& entry = *avformat_index_get_entry(&stream, i);
    const bool isDiscarded = (entry.flags & AVINDEX_DISCARD_FRAME) != 0;
    if ((entry.flags & AVINDEX_KEYFRAME) != 0 && !isDiscarded) {
      best = last;
      last = entry.timestamp;
    }
    if (!isDiscarded) ++frames;
  }
  return best;
}

/// Counts what the index has before this packet; false if it does not have it.
bool CountBefore(AVStream& stream, const AVPacket& packet, Opening& read) {
  read.packets = 0;
  read.frames = -read.dropped;
  for (int i = 0; i < avformat_index_get_entries_count(&stream); ++i, ++read.packets) {
    const AVIndexEntry& entry = *avformat_index_get_entry(&stream, i);
    if (entry.pos == packet.pos && entry.size == packet.size) return true;
    if ((entry.flags & AVINDEX_DISCARD_FRAME) == 0) ++read.frames;
  }
  return false;
}

}  // namespace

bool HasFrameInEachPacket(const AVCodecParameters& parameters) {
  switch (parameters.codec_id) {
    case AV_CODEC_ID_H264:
      // Fields may have packets of their own.
      return parameters.field_order == AV_FIELD_UNKNOWN || parameters.field_order == AV_FIELD_PROGRESSIVE;
    case AV_CODEC_ID_FFV1:
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_MPEG4:
    case AV_CODEC_ID_HEVC:
    case AV_CODEC_ID_VP9:
      return true;
    default: {
      const AVCodecDescriptor* codec = avcodec_descriptor_get(parameters.codec_id);
      return codec != nullptr && (codec->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
    }
  }
}

std::optional<KeyFrame> FindKeyFrame(const Container& container, AVPacket& packet, std::int64_t first,
                                     const Opening& opening) {
  Opening read = opening;
  AVStream& stream = container.Stream();
  const bool hasWholeIndex = std::string_view(container.Format().iformat->name).starts_with("mov");
  const auto time = hasWholeIndex ? TimeBefore(stream, first) : std::nullopt;
  bool hasSought = time && container.Seek(*time);
  if (time && !hasSought) return std::nullopt;
  std::optional<KeyFrame> best;
  std::optional<KeyFrame> last;
  // Pictures that follow a key frame in the file and come before it in time are fewer.
  constexpr std::int64_t mostReordered = 64;
  while (read.frames <= first + mostReordered && container.Read(packet) == 0) {
    if (packet.pts == AV_NOPTS_VALUE || (hasSought && !CountBefore(stream, packet, read)))
      return std::nullopt;
    hasSought = false;
    if ((packet.flags & AV_PKT_FLAG_DISCARD) == 0) {
      if ((packet.flags & AV_PKT_FLAG_KEY) != 0 && packet.pts > read.latest) {
        if (last && last->frame <= first) best = last;
        last = {read.packets, read.frames, packet.pts, packet.dts, packet.pos, packet.size};
      } else if (last && packet.pts < last->pts) {
        ++last->frame;
      }
      read.latest = std::max(read.latest, packet.pts);
      ++read.frames;
    }
    ++read.packets;
  }
  return last && last->frame <= first ? last : best;
}

bool GoTo(Container& container, const KeyFrame& key, AVPacket& packet) {
  const auto isKey = [&] {
    return packet.pts == key.pts && packet.pos == key.pos && packet.size == key.size;
  };
  if (container.Seek(key.dts == AV_NOPTS_VALUE ? key.pts : key.dts)) {
    for (std::int64_t i = 0; i <= key.packet && container.Read(packet) == 0 && packet.pos <= key.pos; ++i) {
      if (isKey()) return true;
    }
  }
  container.Reopen();
  for (std::int64_t i = 0; i <= key.packet; ++i) {
    if (container.Read(packet) != 0) return false;
  }
  return isKey();
}

}  // namespace kv_av
