#include "host/av/clip.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "host/av/properties.h"

namespace kv_av {
namespace {

AVPixelFormat SoftwareOnly(AVCodecContext*, const AVPixelFormat* formats) {
  for (; *formats != AV_PIX_FMT_NONE; ++formats) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(*formats);
    if (format != nullptr && (format->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0) return *formats;
  }
  return AV_PIX_FMT_NONE;
}

}  // namespace

Clip::Clip(const KvAvInput& input, const KvAvOptions& options)
    : options_(options),
      container_(input, options),
      packet_(av_packet_alloc()),
      frame_(av_frame_alloc()),
      samples_(options.dither != 0 ? kv_host::Dither::Ordered : kv_host::Dither::None) {
  if (packet_ == nullptr || frame_ == nullptr) throw Problem{KvAvDamaged, "out of memory"};
  OpenDecoder();
}

void Clip::OpenDecoder() {
  const AVCodecParameters& parameters = *container_.Stream().codecpar;
  const std::string name = avcodec_get_name(parameters.codec_id);
  RequireSize(parameters, options_);
  const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
  // The library's own decoder of these drops alpha.
  const AVDictionaryEntry* alpha = av_dict_get(container_.Stream().metadata, "alpha_mode", nullptr, 0);
  if (alpha != nullptr && std::string_view(alpha->value) == "1") {
    const char* other = parameters.codec_id == AV_CODEC_ID_VP9   ? "libvpx-vp9"
                        : parameters.codec_id == AV_CODEC_ID_VP8 ? "libvpx"
                                                                 : "";
    if (const AVCodec* found = avcodec_find_decoder_by_name(other)) {
      codec = found;
      hasAlphaDecoder_ = true;
    }
  }
  if (codec == nullptr) throw Problem{KvAvDamaged, "the library has no decoder of " + name};
  decoder_.reset(avcodec_alloc_context3(codec));
  if (decoder_ == nullptr || avcodec_parameters_to_context(decoder_.get(), &parameters) < 0) {
    throw Problem{KvAvDamaged, "out of memory"};
  }
  decoder_->thread_count = options_.threads;
  decoder_->max_pixels = options_.mostPixels;
  decoder_->get_format = SoftwareOnly;
  // Without it columns that are cropped on the left come back, up to a multiple of what vectors like.
  decoder_->flags |= AV_CODEC_FLAG_UNALIGNED;
  decoder_->pkt_timebase = container_.Stream().time_base;
  decoder_->err_recognition = AV_EF_CRCCHECK;
  const int opened = avcodec_open2(decoder_.get(), codec, nullptr);
  if (opened < 0) throw Problem{KvAvDamaged, name + ": " + TextOf(opened)};
}

void Clip::Info(KvAvInfo& info) const {
  info = {};
  const AVCodecParameters& parameters = *container_.Stream().codecpar;
  // The container names those of the decoder that drops alpha.
  const bool addsAlpha = hasAlphaDecoder_ && parameters.format == AV_PIX_FMT_YUV420P;
  const AVPixelFormat pixels =
      addsAlpha ? AV_PIX_FMT_YUVA420P : static_cast<AVPixelFormat>(parameters.format);
  Copy(container_.Format().iformat->name, info.container, sizeof info.container);
  Copy(avcodec_get_name(parameters.codec_id), info.codec, sizeof info.codec);
  Copy(av_get_pix_fmt_name(pixels), info.pixels, sizeof info.pixels);
  Copy(av_chroma_location_name(parameters.chroma_location), info.position, sizeof info.position);
  info.stream = container_.Stream().index;
  info.streamCount = static_cast<std::int32_t>(container_.Format().nb_streams);
  for (int i = 0; i < std::min<int>(info.streamCount, KvAvMostStreams); ++i) {
    const AVCodecParameters& other = *container_.Format().streams[i]->codecpar;
    Copy(av_get_media_type_string(other.codec_type), info.streams[i].kind, sizeof info.streams[i].kind);
    Copy(avcodec_get_name(other.codec_id), info.streams[i].codec, sizeof info.streams[i].codec);
  }
  info.width = parameters.width;
  info.height = parameters.height;
  info.interlace = InterlaceOf(parameters.field_order);
  info.range = RangeOf(parameters.color_range, parameters.format);
  info.matrix = MatrixOf(parameters.color_space);
  const AVRational average = container_.Stream().avg_frame_rate;
  const AVRational least = container_.Stream().r_frame_rate;
  Set(average.num > 0 ? average : least, info.rate);
  Set(av_guess_sample_aspect_ratio(&container_.Format(), &container_.Stream(), nullptr), info.aspect);
  info.isVariable = average.num > 0 && least.num > 0 && av_q2d(average) < 0.99 * av_q2d(least) &&
                            info.interlace != KvAvTopFirst && info.interlace != KvAvBottomFirst
                        ? 1
                        : 0;
  const std::uint8_t* matrix =
      av_stream_get_side_data(&container_.Stream(), AV_PKT_DATA_DISPLAYMATRIX, nullptr);
  if (matrix != nullptr) {
    const double turned = av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
    info.rotation = turned == turned ? static_cast<int>((std::lround(-turned) + 360) % 360) : 0;
  }
  if (const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(pixels)) {
    info.hasAlpha = (format->flags & AV_PIX_FMT_FLAG_ALPHA) != 0 ? 1 : 0;
    info.depth = format->comp[0].depth;
  }
  info.frames = container_.Stream().nb_frames > 0 ? container_.Stream().nb_frames : -1;
  info.duration = container_.Format().duration > 0
                      ? static_cast<double>(container_.Format().duration) / AV_TIME_BASE
                      : -1;
}

/// What is wrong with the packet; decoding goes on, so that frames before it come first.
Clip::Fault Clip::FaultOf(const AVPacket& packet) {
  if ((packet.flags & AV_PKT_FLAG_CORRUPT) != 0) return FaultCut;
  const bool hasSlices = decoder_->codec_id == AV_CODEC_ID_FFV1;
  return hasSlices && !slices_.IsIntact(packet) ? FaultDamaged : FaultNone;
}

bool Clip::Receive(char* problem, int& result) {
  const auto fail = [&](int error) {
    std::snprintf(problem, KvAvProblemSize, "%s", TextOf(error).c_str());
    result = KvAvDamaged;
    return false;
  };
  for (;;) {
    const int received = avcodec_receive_frame(decoder_.get(), frame_.get());
    if (received == 0) return true;
    if (received == AVERROR_EOF) {
      if (readError_ != 0) return fail(std::exchange(readError_, 0));
      result = KvAvEnd;
      return false;
    }
    if (received != AVERROR(EAGAIN)) return fail(received);
    int sent = 0;
    const int read = hasPacket_ ? 0 : isAtEnd_ ? AVERROR_EOF : container_.Read(*packet_);
    hasPacket_ = false;
    if (read < 0) {
      // Frames that the decoder still has come first.
      if (!isAtEnd_ && read != AVERROR_EOF) readError_ = read;
      isAtEnd_ = true;
      sent = avcodec_send_packet(decoder_.get(), nullptr);
    } else {
      if (opening_) {
        ++opening_->packets;
        if ((packet_->flags & AV_PKT_FLAG_DISCARD) == 0) times_.push_back(packet_->pts);
      }
      decoder_->reordered_opaque = FaultOf(*packet_);
      sent = avcodec_send_packet(decoder_.get(), packet_.get());
    }
    if (sent < 0 && sent != AVERROR_EOF) return fail(sent);
  }
}

/// What is wrong with the frame; null if nothing is.
const char* Clip::ProblemOfFrame() const {
  if (frame_->width > options_.longestSide || frame_->height > options_.longestSide) return "it is too large";
  if (frame_->reordered_opaque == FaultCut) return "the file ends within it";
  const bool isDamaged = frame_->decode_error_flags != 0 || (frame_->flags & AV_FRAME_FLAG_CORRUPT) != 0 ||
                         frame_->reordered_opaque == FaultDamaged;
  return isDamaged ? "parts of it are missing or damaged" : nullptr;
}

/// The first frame's are the clip's.
void Clip::NoteFields() {
  if (interlace_) return;
  interlace_ = InterlaceOf(container_.Stream().codecpar->field_order);
  if (interlace_ == KvAvFieldsUnknown && frame_->interlaced_frame != 0)
    interlace_ = frame_->top_field_first != 0 ? KvAvTopFirst : KvAvBottomFirst;
}

void Clip::Describe(KvAvFrame& out) {
  const AVFrame& frame = *frame_;
  NoteFields();
  out.interlace = *interlace_;
  out.range = RangeOf(frame.color_range, frame.format);
  out.matrix = MatrixOf(frame.colorspace);
  out.transfer = frame.color_trc == AVCOL_TRC_SMPTE2084      ? KvAvPq
                 : frame.color_trc == AVCOL_TRC_ARIB_STD_B67 ? KvAvHlg
                                                             : KvAvTransferUnknown;
  Set(container_.Stream().avg_frame_rate.num > 0 ? container_.Stream().avg_frame_rate
                                                 : container_.Stream().r_frame_rate,
      out.rate);
  Set(av_guess_sample_aspect_ratio(&container_.Format(), &container_.Stream(), frame_.get()), out.aspect);
  out.number = number_;
  const std::int64_t stamp = frame.best_effort_timestamp;
  const std::int64_t start =
      container_.Stream().start_time == AV_NOPTS_VALUE ? 0 : container_.Stream().start_time;
  out.time = stamp == AV_NOPTS_VALUE ? -1
                                     : (static_cast<double>(stamp) - static_cast<double>(start)) *
                                           av_q2d(container_.Stream().time_base);
}

/// Decodes a few frames, and finds out whether they are those of the packets one by one.
bool Clip::ReadOpening() {
  constexpr std::size_t count = 4;
  std::vector<std::int64_t> shown;
  char problem[KvAvProblemSize];
  int result = KvAvDone;
  opening_.emplace();
  while (shown.size() < count && Receive(problem, result)) {
    NoteFields();
    shown.push_back(frame_->pts);
  }
  if (shown.size() < count) return false;
  std::ranges::sort(times_);
  if (times_.front() == AV_NOPTS_VALUE || std::ranges::adjacent_find(times_) != times_.end()) return false;
  // Pictures that lack what they refer to, as where a clip was cut, are dropped.
  const auto first = std::ranges::find(times_, shown.front());
  if (times_.end() - first < static_cast<std::ptrdiff_t>(count) ||
      !std::equal(shown.begin(), shown.end(), first))
    return false;
  opening_->frames = times_.end() - first;
  opening_->latest = times_.back();
  opening_->dropped = first - times_.begin();
  return true;
}

void Clip::GoNearFirst() {
  // Sooner decoded than found.
  constexpr std::int64_t near = 16;
  if (options_.first < near || !container_.IsFile() || !HasFrameInEachPacket(*container_.Stream().codecpar))
    return;
  const bool isKnown = ReadOpening();
  const Opening opening = *opening_;
  opening_.reset();
  if (isKnown) from_ = FindKeyFrame(container_, *packet_, options_.first, opening);
  if (!from_ || !GoTo(container_, *from_, *packet_)) return Restart();
  avcodec_flush_buffers(decoder_.get());
  isAtEnd_ = false;
  readError_ = 0;
  hasPacket_ = true;
}

/// Begins again, to decode everything.
void Clip::Restart() {
  from_.reset();
  hasPacket_ = false;
  isAtEnd_ = false;
  readError_ = 0;
  container_.Reopen();
  OpenDecoder();
}

/// Whether what was received is of pictures that come before the key frame, which lack what they refer to.
bool Clip::IsBeforeKeyFrame(bool isThere, int result) {
  if (!from_) return false;
  if (isThere ? frame_->pts < from_->pts : result == KvAvDamaged) return true;
  if (isThere && frame_->pts == from_->pts) {
    number_ = from_->frame;
    from_.reset();
    return false;
  }
  Restart();
  return true;
}

int Clip::Next(KvAvFrame& out, char* problem) {
  out = {};
  if (!isPlaced_) GoNearFirst();
  isPlaced_ = true;
  for (;;) {
    int result = KvAvDone;
    bool isThere = Receive(problem, result);
    if (IsBeforeKeyFrame(isThere, result)) continue;
    if (!isThere && result == KvAvEnd) {
      out.number = number_;
      return KvAvEnd;
    }
    if (isThere) {
      Describe(out);
      if (const char* fault = ProblemOfFrame()) {
        std::snprintf(problem, KvAvProblemSize, "%s", fault);
        isThere = false;
      }
    }
    out.number = number_++;
    if (!isThere) {
      if (options_.skip == 0) return KvAvDamaged;
      continue;
    }
    if (out.number < options_.first) return KvAvPassed;
    AVChromaLocation position = frame_->chroma_location;
    if (position == AVCHROMA_LOC_UNSPECIFIED) position = container_.Stream().codecpar->chroma_location;
    return samples_.Take(*frame_, position, out, problem) ? KvAvDone : KvAvDamaged;
  }
}

}  // namespace kv_av
