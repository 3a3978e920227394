// Decoders' frames of every format, size and stride: frames for kv whose bytes are all there, or a refusal.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "fuzz/check_input.h"
#include "host/av/samples.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace {

using kv_fuzz::Require;

/// A frame whose planes end with their last sample, so that a sanitizer sees what is read after it.
class Decoded {
 public:
  explicit Decoded(FuzzedDataProvider& input) : frame_(av_frame_alloc()) {
    const std::vector<AVPixelFormat>& formats = Formats();
    frame_->format = formats[input.ConsumeIntegralInRange<std::size_t>(0, formats.size() - 1)];
    frame_->width = input.ConsumeIntegralInRange(1, 70);
    frame_->height = input.ConsumeIntegralInRange(1, 40);
    frame_->interlaced_frame = input.ConsumeBool() ? 1 : 0;
    const bool isUpsideDown = input.ConsumeBool();
    const int padding = input.ConsumeIntegralInRange(0, 3) * 16;
    const auto seed = input.ConsumeIntegral<std::uint32_t>();
    const auto format = static_cast<AVPixelFormat>(frame_->format);
    const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(format);
    int rowBytes[4] = {};
    if (av_image_fill_linesizes(rowBytes, format, frame_->width) < 0) return;
    std::ptrdiff_t strides[4] = {};
    for (int i = 0; i < 4; ++i) strides[i] = rowBytes[i];
    std::size_t sizes[4] = {};
    if (av_image_fill_plane_sizes(sizes, format, frame_->height, strides) < 0) return;
    // The scaler reads whole vectors, as decoders have them.
    const bool isPadded = sws_isSupportedInput(format) != 0 && !IsOwn(descriptor);
    for (std::size_t i = 0; i < 4 && sizes[i] > 0; ++i) {
      const bool isPalette = i == 1 && format == AV_PIX_FMT_PAL8;
      const auto row = static_cast<std::size_t>(isPalette ? 1024 : rowBytes[i]);
      const std::size_t rows = isPalette ? 1 : sizes[i] / row;
      const std::size_t stride = row + static_cast<std::size_t>(padding);
      planes_[i].reset(new std::uint8_t[stride * (rows - 1) + row + (isPadded ? 128 : 0)]);
      std::uint32_t random = seed + static_cast<std::uint32_t>(i);
      for (std::size_t at = 0; at < stride * (rows - 1) + row; ++at) {
        random = random * 1664525U + 1013904223U;
        planes_[i][at] = static_cast<std::uint8_t>(random >> 24U);
      }
      const bool isTurned = isUpsideDown && !isPalette && !isPadded;
      frame_->data[i] = planes_[i].get() + (isTurned ? stride * (rows - 1) : 0);
      frame_->linesize[i] = isTurned ? -static_cast<int>(stride) : static_cast<int>(stride);
    }
    isWhole_ = true;
  }

  const AVFrame& Frame() const { return *frame_; }
  bool IsWhole() const { return isWhole_; }

 private:
  struct Free {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  };

  static const std::vector<AVPixelFormat>& Formats() {
    static const std::vector<AVPixelFormat> formats = [] {
      std::vector<AVPixelFormat> all;
      for (const AVPixFmtDescriptor* at = nullptr; (at = av_pix_fmt_desc_next(at)) != nullptr;) {
        if ((at->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0) all.push_back(av_pix_fmt_desc_get_id(at));
      }
      return all;
    }();
    return formats;
  }
  /// Of whole bytes: the scaler has no part in these.
  static bool IsOwn(const AVPixFmtDescriptor& format) {
    constexpr std::uint64_t others =
        AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_FLOAT;
    return (format.flags & others) == 0 && format.comp[0].depth >= 8 && format.comp[0].depth <= 16 &&
           format.name[0] != 'x';
  }

  std::unique_ptr<AVFrame, Free> frame_;
  std::unique_ptr<std::uint8_t[]> planes_[4];
  bool isWhole_ = false;
};

void RequireSound(const KvAvFrame& out) {
  Require(out.planes >= 1 && out.planes <= KvAvMostPlanes, "no planes");
  unsigned sum = 0;
  for (int i = 0; i < out.planes; ++i) {
    const int pairs = (out.width + 1) / 2;
    const bool isPacked = out.kind == KvAvPacked || out.kind == KvAvPackedAlpha;
    const int wanted = out.kind == KvAvPlanar && i > 0 ? pairs
                       : isPacked && i == 0            ? 4 * pairs
                       : out.kind == KvAvBgr           ? 3 * out.width
                       : out.kind == KvAvBgra          ? 4 * out.width
                                                       : out.width;
    Require(out.rowBytes[i] == wanted && std::abs(out.stride[i]) >= wanted, "rows of another length");
    for (int y = 0; y < out.height; ++y) {
      const std::uint8_t* row = out.data[i] + y * out.stride[i];
      for (int x = 0; x < wanted; ++x) sum += row[x];
    }
  }
  // The sum is what reads them.
  Require(sum <= 255U * 4U * 70U * 40U * KvAvMostPlanes, "bytes beyond a byte");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  kv_av::Samples samples(input.ConsumeBool() ? kv_host::Dither::Ordered : kv_host::Dither::None);
  // The scratch is kept from frame to frame.
  while (input.remaining_bytes() > 0) {
    const auto position = static_cast<AVChromaLocation>(input.ConsumeIntegralInRange(0, 7));
    const Decoded decoded(input);
    if (!decoded.IsWhole()) continue;
    KvAvFrame out{};
    char problem[KvAvProblemSize] = "";
    if (samples.Take(decoded.Frame(), position, out, problem)) {
      Require(out.width == decoded.Frame().width && out.height == decoded.Frame().height, "another size");
      RequireSound(out);
    } else {
      Require(*problem != '\0', "a refusal that says nothing");
    }
  }
  return 0;
}
