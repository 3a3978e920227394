#include "host/av/container.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace kv_av {
namespace {

constexpr int ioBufferSize = 1 << 16;

int ReadBytes(void* opaque, std::uint8_t* bytes, int count) {
  const auto& input = *static_cast<const KvAvInput*>(opaque);
  const int got = input.read(input.context, bytes, count);
  return got > 0 ? got : got == 0 ? AVERROR_EOF : AVERROR(EIO);
}

std::int64_t SeekBytes(void* opaque, std::int64_t offset, int whence) {
  const auto& input = *static_cast<const KvAvInput*>(opaque);
  if (whence == AVSEEK_SIZE) return input.size;
  const std::int64_t base = whence == SEEK_CUR ? *input.position : whence == SEEK_END ? input.size : 0;
  if (offset < -base) return AVERROR(EINVAL);
  return *input.position = base + offset;
}

/// Takes the place of what would open another file or an address.
int RefuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
  return AVERROR(EACCES);
}

bool HasName(std::string_view names, std::string_view name) {
  while (!names.empty()) {
    const std::size_t end = std::min(names.find(','), names.size());
    if (names.substr(0, end) == name) return true;
    names.remove_prefix(std::min(end + 1, names.size()));
  }
  return false;
}

}  // namespace

bool IsRefused(const AVInputFormat& format) {
  constexpr std::string_view refused[] = {"concat",
                                          "hls",
                                          "dash",
                                          "sdp",
                                          "rtsp",
                                          "rtp",
                                          "sap",
                                          "image2",
                                          "imf",
                                          "mlv",
                                          "webm_dash_manifest",
                                          "vobsub",
                                          "lavfi",
                                          "mpjpeg",
                                          "libmodplug",
                                          "libgme",
                                          "libopenmpt",
                                          "applehttp"};
  if ((format.flags & AVFMT_NOFILE) != 0) return true;
  return std::ranges::any_of(refused, [&](std::string_view name) { return HasName(format.name, name); });
}

void RequireSize(const AVCodecParameters& parameters, const KvAvOptions& options) {
  const std::int64_t width = parameters.width;
  const std::int64_t height = parameters.height;
  if (width <= options.longestSide && height <= options.longestSide && width * height <= options.mostPixels)
    return;
  throw Problem{KvAvDamaged, "size " + std::to_string(width) + "x" + std::to_string(height) +
                                 " is beyond the " + std::to_string(options.longestSide) +
                                 " pixels of a side or the " + std::to_string(options.mostPixels) +
                                 " of a picture"};
}

Container::Container(const KvAvInput& input, const KvAvOptions& options) : input_(input), options_(options) {
  av_log_set_level(AV_LOG_QUIET);
  Open();
}

/// Decoders that look for what the container does not tell have the limit of sizes, too.
int Container::FindStreams() const {
  std::vector<AVDictionary*> limits(format_->nb_streams);
  for (AVDictionary*& limit : limits) av_dict_set_int(&limit, "max_pixels", options_.mostPixels, 0);
  const int found = avformat_find_stream_info(format_.get(), limits.data());
  for (AVDictionary*& limit : limits) av_dict_free(&limit);
  return found;
}

void Container::Open() {
  auto* buffer = static_cast<std::uint8_t*>(av_malloc(ioBufferSize));
  io_.reset(avio_alloc_context(buffer, ioBufferSize, 0, &input_, ReadBytes, nullptr,
                               input_.position == nullptr ? nullptr : SeekBytes));
  if (io_ == nullptr) throw Problem{KvAvDamaged, "out of memory"};
  const AVInputFormat* format = nullptr;
  const int score = av_probe_input_buffer2(io_.get(), &format, "", nullptr, 0, 0);
  if (score < 0 || format == nullptr) throw Problem{KvAvUnknownFormat, "no container is recognised"};
  if (IsRefused(*format)) {
    throw Problem{KvAvRefused,
                  std::string(format->name) + " names other files or addresses, and is not read"};
  }
  AVFormatContext* context = avformat_alloc_context();
  if (context == nullptr) throw Problem{KvAvDamaged, "out of memory"};
  context->pb = io_.get();
  context->flags |= AVFMT_FLAG_CUSTOM_IO;
  context->io_open = RefuseToOpen;
  context->protocol_whitelist = av_strdup("none");
  context->max_streams = 256;
  // On failure it releases the context.
  const int opened = avformat_open_input(&context, "", format, nullptr);
  if (opened < 0)
    throw Problem{score < AVPROBE_SCORE_RETRY ? KvAvUnknownFormat : KvAvDamaged,
                  std::string(format->name) + ": " + TextOf(opened)};
  format_.reset(context);
  // What the header has, before anything is made of it.
  for (unsigned i = 0; i < context->nb_streams; ++i) RequireSize(*context->streams[i]->codecpar, options_);
  const int found = FindStreams();
  if (found < 0) throw Problem{KvAvDamaged, std::string(format->name) + ": " + TextOf(found)};
  const int best = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, options_.stream, -1, nullptr, 0);
  if (best < 0) {
    if (options_.stream >= 0) {
      throw Problem{KvAvDamaged, "stream " + std::to_string(options_.stream) +
                                     " is no video stream; there are " + std::to_string(context->nb_streams) +
                                     " streams, which kv info lists"};
    }
    throw Problem{score < AVPROBE_SCORE_RETRY ? KvAvUnknownFormat : KvAvDamaged,
                  std::string("there is no video in it (") + format->name + ")"};
  }
  stream_ = context->streams[best];
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    if (context->streams[i] != stream_) context->streams[i]->discard = AVDISCARD_ALL;
  }
}

int Container::Read(AVPacket& packet) const {
  int read = 0;
  do {
    av_packet_unref(&packet);
    read = av_read_frame(format_.get(), &packet);
  } while (read == 0 && packet.stream_index != stream_->index);
  return read;
}

bool Container::Seek(std::int64_t timestamp) const {
  return IsFile() && av_seek_frame(format_.get(), stream_->index, timestamp, AVSEEK_FLAG_BACKWARD) >= 0;
}

void Container::Reopen() {
  format_.reset();
  io_.reset();
  *input_.position = 0;
  Open();
}

}  // namespace kv_av
