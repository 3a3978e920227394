#include "host/av/clip.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "host/av/properties.h"

namespace kv_av {
namespace {

constexpr int ioBufferSize = 1 << 16;

int ReadBytes(void* opaque, std::uint8_t* bytes, int count) {
  const auto& input = *static_cast<const KvAvInput*>(opaque);
  const int got = input.read(input.context, bytes, count);
  return got > 0 ? got : got == 0 ? AVERROR_EOF : AVERROR(EIO);
}

std::int64_t Seek(void* opaque, std::int64_t offset, int whence) {
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

AVPixelFormat SoftwareOnly(AVCodecContext*, const AVPixelFormat* formats) {
  for (; *formats != AV_PIX_FMT_NONE; ++formats) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(*formats);
    if (format != nullptr && (format->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0) return *formats;
  }
  return AV_PIX_FMT_NONE;
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

Clip::Clip(const KvAvInput& input, const KvAvOptions& options) : input_(input), options_(options) {
  av_log_set_level(AV_LOG_QUIET);
  packet_.reset(av_packet_alloc());
  frame_.reset(av_frame_alloc());
  if (packet_ == nullptr || frame_ == nullptr) throw Problem{KvAvDamaged, "out of memory"};
  OpenContainer();
  OpenDecoder();
}

void Clip::OpenContainer() {
  auto* buffer = static_cast<std::uint8_t*>(av_malloc(ioBufferSize));
  io_.reset(avio_alloc_context(buffer, ioBufferSize, 0, &input_, ReadBytes, nullptr,
                               input_.position == nullptr ? nullptr : Seek));
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
  container_.reset(context);
  const int found = avformat_find_stream_info(context, nullptr);
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

void Clip::OpenDecoder() {
  const AVCodecParameters& parameters = *stream_->codecpar;
  const std::string name = avcodec_get_name(parameters.codec_id);
  const std::int64_t width = parameters.width;
  const std::int64_t height = parameters.height;
  if (width > options_.longestSide || height > options_.longestSide || width * height > options_.mostPixels) {
    throw Problem{KvAvDamaged, "size " + std::to_string(width) + "x" + std::to_string(height) +
                                   " is beyond the " + std::to_string(options_.longestSide) +
                                   " pixels of a side or the " + std::to_string(options_.mostPixels) +
                                   " of a picture"};
  }
  const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
  // The library's own decoder of these drops alpha.
  const AVDictionaryEntry* alpha = av_dict_get(stream_->metadata, "alpha_mode", nullptr, 0);
  if (alpha != nullptr && std::string_view(alpha->value) == "1") {
    const char* other = parameters.codec_id == AV_CODEC_ID_VP9   ? "libvpx-vp9"
                        : parameters.codec_id == AV_CODEC_ID_VP8 ? "libvpx"
                                                                 : "";
    if (const AVCodec* found = avcodec_find_decoder_by_name(other)) codec = found;
  }
  if (codec == nullptr) throw Problem{KvAvDamaged, "the library has no decoder of " + name};
  decoder_.reset(avcodec_alloc_context3(codec));
  if (decoder_ == nullptr || avcodec_parameters_to_context(decoder_.get(), &parameters) < 0) {
    throw Problem{KvAvDamaged, "out of memory"};
  }
  decoder_->thread_count = options_.threads;
  decoder_->max_pixels = options_.mostPixels;
  decoder_->get_format = SoftwareOnly;
  decoder_->pkt_timebase = stream_->time_base;
  decoder_->err_recognition = AV_EF_CRCCHECK;
  const int opened = avcodec_open2(decoder_.get(), codec, nullptr);
  if (opened < 0) throw Problem{KvAvDamaged, name + ": " + TextOf(opened)};
}

void Clip::Info(KvAvInfo& info) const {
  info = {};
  const AVCodecParameters& parameters = *stream_->codecpar;
  Copy(container_->iformat->name, info.container, sizeof info.container);
  Copy(avcodec_get_name(parameters.codec_id), info.codec, sizeof info.codec);
  Copy(av_get_pix_fmt_name(static_cast<AVPixelFormat>(parameters.format)), info.pixels, sizeof info.pixels);
  Copy(av_chroma_location_name(parameters.chroma_location), info.position, sizeof info.position);
  info.stream = stream_->index;
  info.streamCount = static_cast<std::int32_t>(container_->nb_streams);
  for (int i = 0; i < std::min<int>(info.streamCount, KvAvMostStreams); ++i) {
    const AVCodecParameters& other = *container_->streams[i]->codecpar;
    Copy(av_get_media_type_string(other.codec_type), info.streams[i].kind, sizeof info.streams[i].kind);
    Copy(avcodec_get_name(other.codec_id), info.streams[i].codec, sizeof info.streams[i].codec);
  }
  info.width = parameters.width;
  info.height = parameters.height;
  info.interlace = InterlaceOf(parameters.field_order);
  info.range = RangeOf(parameters.color_range, parameters.format);
  info.matrix = MatrixOf(parameters.color_space);
  const AVRational average = stream_->avg_frame_rate;
  const AVRational least = stream_->r_frame_rate;
  Set(average.num > 0 ? average : least, info.rate);
  Set(av_guess_sample_aspect_ratio(container_.get(), stream_, nullptr), info.aspect);
  info.isVariable = average.num > 0 && least.num > 0 && av_cmp_q(average, least) < 0 &&
                            info.interlace != KvAvTopFirst && info.interlace != KvAvBottomFirst
                        ? 1
                        : 0;
  const std::uint8_t* matrix = av_stream_get_side_data(stream_, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
  if (matrix != nullptr) {
    const double turned = av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
    info.rotation = turned == turned ? (static_cast<int>(-turned) % 360 + 360) % 360 : 0;
  }
  if (const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(parameters.format))) {
    info.hasAlpha = (format->flags & AV_PIX_FMT_FLAG_ALPHA) != 0 ? 1 : 0;
    info.depth = format->comp[0].depth;
  }
  info.frames = stream_->nb_frames > 0 ? stream_->nb_frames : -1;
  info.duration = container_->duration > 0 ? static_cast<double>(container_->duration) / AV_TIME_BASE : -1;
}

bool Clip::Receive(char* problem, int& result) {
  for (;;) {
    const int received = avcodec_receive_frame(decoder_.get(), frame_.get());
    if (received == 0) return true;
    if (received == AVERROR_EOF) {
      result = KvAvEnd;
      return false;
    }
    if (received != AVERROR(EAGAIN)) {
      std::snprintf(problem, KvAvProblemSize, "%s", TextOf(received).c_str());
      result = KvAvDamaged;
      return false;
    }
    int read = 0;
    do {
      av_packet_unref(packet_.get());
      read = isAtEnd_ ? AVERROR_EOF : av_read_frame(container_.get(), packet_.get());
    } while (read == 0 && packet_->stream_index != stream_->index);
    if (read < 0) {
      const bool isBroken = !isAtEnd_ && read != AVERROR_EOF;
      isAtEnd_ = true;
      // Frames that the decoder still has come first.
      const int sent = avcodec_send_packet(decoder_.get(), nullptr);
      if (isBroken || (sent < 0 && sent != AVERROR_EOF)) {
        std::snprintf(problem, KvAvProblemSize, "%s", TextOf(isBroken ? read : sent).c_str());
        result = KvAvDamaged;
        return false;
      }
      continue;
    }
    const bool isCut = (packet_->flags & AV_PKT_FLAG_CORRUPT) != 0;
    const int sent = isCut ? AVERROR_INVALIDDATA : avcodec_send_packet(decoder_.get(), packet_.get());
    if (sent < 0) {
      std::snprintf(problem, KvAvProblemSize, "%s", isCut ? "the file ends within it" : TextOf(sent).c_str());
      result = KvAvDamaged;
      return false;
    }
  }
}

void Clip::Describe(KvAvFrame& out) {
  const AVFrame& frame = *frame_;
  if (number_ == 0) {
    interlace_ = InterlaceOf(stream_->codecpar->field_order);
    if (interlace_ == KvAvFieldsUnknown && frame.interlaced_frame != 0)
      interlace_ = frame.top_field_first != 0 ? KvAvTopFirst : KvAvBottomFirst;
  }
  out.interlace = interlace_;
  out.range = RangeOf(frame.color_range, frame.format);
  out.matrix = MatrixOf(frame.colorspace);
  out.transfer = frame.color_trc == AVCOL_TRC_SMPTE2084      ? KvAvPq
                 : frame.color_trc == AVCOL_TRC_ARIB_STD_B67 ? KvAvHlg
                                                             : KvAvTransferUnknown;
  Set(stream_->avg_frame_rate.num > 0 ? stream_->avg_frame_rate : stream_->r_frame_rate, out.rate);
  Set(av_guess_sample_aspect_ratio(container_.get(), stream_, frame_.get()), out.aspect);
  out.number = number_;
  const std::int64_t stamp = frame.best_effort_timestamp;
  const std::int64_t start = stream_->start_time == AV_NOPTS_VALUE ? 0 : stream_->start_time;
  out.time = stamp == AV_NOPTS_VALUE ? -1 : static_cast<double>(stamp - start) * av_q2d(stream_->time_base);
}

int Clip::Next(KvAvFrame& out, char* problem) {
  out = {};
  for (;;) {
    int result = KvAvDone;
    bool isThere = Receive(problem, result);
    if (!isThere && result == KvAvEnd) {
      out.number = number_;
      return KvAvEnd;
    }
    if (isThere) {
      Describe(out);
      const bool isSized = frame_->width <= options_.longestSide && frame_->height <= options_.longestSide;
      if (!isSized || frame_->decode_error_flags != 0 || (frame_->flags & AV_FRAME_FLAG_CORRUPT) != 0) {
        std::snprintf(problem, KvAvProblemSize, "%s",
                      isSized ? "parts of it are missing or damaged" : "it is too large");
        isThere = false;
      }
    }
    out.number = number_++;
    if (!isThere) {
      if (options_.skip == 0) return KvAvDamaged;
      continue;
    }
    if (out.number < options_.first) continue;
    AVChromaLocation position = frame_->chroma_location;
    if (position == AVCHROMA_LOC_UNSPECIFIED) position = stream_->codecpar->chroma_location;
    return samples_.Take(*frame_, position, out, problem) ? KvAvDone : KvAvDamaged;
  }
}

}  // namespace kv_av
