#include "host/av/recording.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace kv_av {
namespace {

constexpr int ioBufferSize = 1 << 16;
/// Of MPEG.
constexpr AVRational fineClock = {1, 90000};

int WriteBytes(void* opaque, std::uint8_t* bytes, int count) {
  const auto& output = *static_cast<const KvAvOutput*>(opaque);
  return output.write(output.context, bytes, count) < 0 ? AVERROR(EIO) : count;
}

/// Muxers go to places that they have written, all counted from the start.
std::int64_t SeekTo(void* opaque, std::int64_t offset, int whence) {
  const auto& output = *static_cast<const KvAvOutput*>(opaque);
  if (whence != SEEK_SET) return AVERROR(ENOSYS);
  return output.seek(output.context, offset) < 0 ? AVERROR(EIO) : offset;
}

void Check(int result, const std::string& what) {
  if (result < 0) throw Problem{KvAvDamaged, what + ": " + TextOf(result)};
}

template <class Pointer>
void RequireMemory(const Pointer& pointer) {
  if (pointer == nullptr) throw Problem{KvAvDamaged, "out of memory"};
}

AVColorSpace SpaceOf(int matrix) {
  return matrix == KvAv709    ? AVCOL_SPC_BT709
         : matrix == KvAv601  ? AVCOL_SPC_SMPTE170M
         : matrix == KvAv2020 ? AVCOL_SPC_BT2020_NCL
                              : AVCOL_SPC_UNSPECIFIED;
}

/// The primaries of the standard that has the matrix.
AVColorPrimaries PrimariesOf(int matrix, int height) {
  const bool hasFiftyFields = height == 576 || height == 288;
  return matrix == KvAv709    ? AVCOL_PRI_BT709
         : matrix == KvAv2020 ? AVCOL_PRI_BT2020
         : matrix != KvAv601  ? AVCOL_PRI_UNSPECIFIED
         : hasFiftyFields     ? AVCOL_PRI_BT470BG
                              : AVCOL_PRI_SMPTE170M;
}

AVColorTransferCharacteristic TransferOf(int transfer, int matrix) {
  return transfer == KvAvPq    ? AVCOL_TRC_SMPTE2084
         : transfer == KvAvHlg ? AVCOL_TRC_ARIB_STD_B67
         : matrix == KvAv709   ? AVCOL_TRC_BT709
         : matrix == KvAv2020  ? AVCOL_TRC_BT2020_10
         : matrix == KvAv601   ? AVCOL_TRC_SMPTE170M
                               : AVCOL_TRC_UNSPECIFIED;
}

}  // namespace

Recording::Recording(const KvAvOutput& output, const KvAvTarget& target)
    : output_(output),
      name_(target.encoder),
      isInterlaced_(target.interlace == KvAvTopFirst || target.interlace == KvAvBottomFirst),
      isTopFirst_(target.interlace == KvAvTopFirst),
      hasTimes_(target.isVariable != 0),
      clock_(hasTimes_ ? fineClock : AVRational{target.rate[1], target.rate[0]}) {
  av_log_set_level(AV_LOG_QUIET);
  packet_.reset(av_packet_alloc());
  RequireMemory(packet_);
  auto* buffer = static_cast<std::uint8_t*>(av_malloc(ioBufferSize));
  io_.reset(avio_alloc_context(buffer, ioBufferSize, 1, &output_, nullptr, WriteBytes,
                               output_.seek == nullptr ? nullptr : SeekTo));
  RequireMemory(io_);
  AVFormatContext* context = nullptr;
  Check(avformat_alloc_output_context2(&context, nullptr, target.container, nullptr), target.container);
  container_.reset(context);
  context->pb = io_.get();
  // Without the time of day and random numbers.
  context->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT;
  stream_ = avformat_new_stream(context, nullptr);
  RequireMemory(stream_);
  OpenEncoder(target);
  Check(avformat_write_header(context, nullptr), target.container);
}

void Recording::Describe(const KvAvTarget& target) {
  AVCodecContext& encoder = *encoder_;
  encoder.width = target.width;
  encoder.height = target.height;
  encoder.pix_fmt = av_get_pix_fmt(target.pixels);
  encoder.framerate = {target.rate[0], target.rate[1]};
  encoder.time_base = av_inv_q(encoder.framerate);
  encoder.sample_aspect_ratio = {target.aspect[0], target.aspect[1] == 0 ? 1 : target.aspect[1]};
  encoder.color_range = target.range == KvAvFull      ? AVCOL_RANGE_JPEG
                        : target.range == KvAvLimited ? AVCOL_RANGE_MPEG
                                                      : AVCOL_RANGE_UNSPECIFIED;
  encoder.colorspace = SpaceOf(target.matrix);
  encoder.color_primaries = PrimariesOf(target.matrix, target.height);
  encoder.color_trc = TransferOf(target.transfer, target.matrix);
  encoder.chroma_sample_location = target.site == KvAvLeft     ? AVCHROMA_LOC_LEFT
                                   : target.site == KvAvCentre ? AVCHROMA_LOC_CENTER
                                                               : AVCHROMA_LOC_UNSPECIFIED;
  encoder.field_order = isInterlaced_                         ? isTopFirst_ ? AV_FIELD_TT : AV_FIELD_BB
                        : target.interlace == KvAvProgressive ? AV_FIELD_PROGRESSIVE
                                                              : AV_FIELD_UNKNOWN;
  if (isInterlaced_) encoder.flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
}

void Recording::OpenEncoder(const KvAvTarget& target) {
  const AVCodec* codec = avcodec_find_encoder_by_name(target.encoder);
  if (codec == nullptr) throw Problem{KvAvRefused, "the library has no encoder " + name_};
  encoder_.reset(avcodec_alloc_context3(codec));
  RequireMemory(encoder_);
  Describe(target);
  const AVFieldOrder order = encoder_->field_order;
  encoder_->thread_count = target.threads;
  encoder_->flags |= AV_CODEC_FLAG_BITEXACT;
  if ((container_->oformat->flags & AVFMT_GLOBALHEADER) != 0) encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  AVDictionary* options = nullptr;
  av_dict_parse_string(&options, target.options, "=", ":", 0);
  const int opened = avcodec_open2(encoder_.get(), codec, &options);
  av_dict_free(&options);
  if (opened < 0) {
    throw Problem{KvAvRefused, name_ + " does not take frames of " + std::to_string(target.width) + "x" +
                                   std::to_string(target.height) + " at " + std::to_string(target.rate[0]) +
                                   ":" + std::to_string(target.rate[1]) + " a second (" + TextOf(opened) +
                                   ")"};
  }
  Check(avcodec_parameters_from_context(stream_->codecpar, encoder_.get()), name_);
  stream_->codecpar->field_order = order;
  stream_->time_base = clock_;
  if (!hasTimes_) stream_->avg_frame_rate = encoder_->framerate;
  stream_->sample_aspect_ratio = encoder_->sample_aspect_ratio;
}

void Recording::NoteTime(double time) {
  const double step = av_q2d(encoder_->time_base);
  const double last = times_.empty() ? -step : static_cast<double>(times_.back()) * av_q2d(clock_);
  const bool isKnown = time >= 0;
  if (isKnown && (times_.empty() || time + later_ <= last)) later_ = last + step - time;
  const double shown = isKnown ? time + later_ : last + step;
  const std::int64_t stamp = std::llround(shown / av_q2d(clock_));
  times_.push_back(times_.empty() ? stamp : std::max(stamp, times_.back() + 1));
}

/// When a frame is shown, in units of clock_. Encoders number those that they decode earlier from below 0 on.
std::int64_t Recording::TimeOf(std::int64_t frame) const {
  if (times_.empty()) return frame;
  const auto last = static_cast<std::int64_t>(times_.size()) - 1;
  const std::int64_t near = std::clamp<std::int64_t>(frame, 0, last);
  return times_[static_cast<std::size_t>(near)] + av_rescale_q(frame - near, encoder_->time_base, clock_);
}

void Recording::Add(std::span<const std::uint8_t> bytes, double time) {
  const std::unique_ptr<AVFrame, Release> frame(av_frame_alloc());
  RequireMemory(frame);
  frame->format = encoder_->pix_fmt;
  frame->width = encoder_->width;
  frame->height = encoder_->height;
  const int size = av_image_get_buffer_size(encoder_->pix_fmt, frame->width, frame->height, 1);
  if (size < 0 || bytes.size() != static_cast<std::size_t>(size)) {
    throw Problem{KvAvDamaged,
                  "a frame has " + std::to_string(bytes.size()) + " bytes, not " + std::to_string(size)};
  }
  Check(av_frame_get_buffer(frame.get(), 0), name_);
  std::array<std::uint8_t*, 4> planes{};
  std::array<int, 4> strides{};
  av_image_fill_arrays(planes.data(), strides.data(), bytes.data(), encoder_->pix_fmt, frame->width,
                       frame->height, 1);
  const std::array<const std::uint8_t*, 4> from = {planes[0], planes[1], planes[2], planes[3]};
  av_image_copy(frame->data, frame->linesize, const_cast<const std::uint8_t**>(from.data()), strides.data(),
                encoder_->pix_fmt, frame->width, frame->height);
  if (hasTimes_) NoteTime(time);
  frame->pts = number_++;
  frame->quality = encoder_->global_quality;
  frame->interlaced_frame = isInterlaced_ ? 1 : 0;
  frame->top_field_first = isTopFirst_ ? 1 : 0;
  frame->sample_aspect_ratio = encoder_->sample_aspect_ratio;
  frame->color_range = encoder_->color_range;
  frame->colorspace = encoder_->colorspace;
  frame->color_primaries = encoder_->color_primaries;
  frame->color_trc = encoder_->color_trc;
  frame->chroma_location = encoder_->chroma_sample_location;
  Send(frame.get());
}

void Recording::Send(const AVFrame* frame) {
  Check(avcodec_send_frame(encoder_.get(), frame), name_);
  for (;;) {
    const int received = avcodec_receive_packet(encoder_.get(), packet_.get());
    if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return;
    Check(received, name_);
    packet_->duration = TimeOf(packet_->pts + 1) - TimeOf(packet_->pts);
    packet_->dts = TimeOf(packet_->dts);
    packet_->pts = TimeOf(packet_->pts);
    av_packet_rescale_ts(packet_.get(), clock_, stream_->time_base);
    packet_->stream_index = stream_->index;
    Check(av_interleaved_write_frame(container_.get(), packet_.get()), container_->oformat->name);
  }
}

void Recording::Finish() {
  Send(nullptr);
  Check(av_write_trailer(container_.get()), container_->oformat->name);
  avio_flush(io_.get());
  Check(io_->error, container_->oformat->name);
}

}  // namespace kv_av
