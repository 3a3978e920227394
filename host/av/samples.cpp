#include "host/av/samples.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "host/formats/chroma_rows.h"

namespace kv_av {
namespace {

using kv_host::ChromaRows;

int Halved(int size, int shift) {
  return -((-size) >> shift);
}

ChromaRows RowsOf(AVChromaLocation position) {
  switch (position) {
    case AVCHROMA_LOC_TOPLEFT:
    case AVCHROMA_LOC_TOP:
      return ChromaRows::Upper;
    case AVCHROMA_LOC_BOTTOMLEFT:
    case AVCHROMA_LOC_BOTTOM:
      return ChromaRows::Lower;
    default:
      return ChromaRows::Between;
  }
}

bool IsCentred(AVChromaLocation position) {
  return position == AVCHROMA_LOC_CENTER || position == AVCHROMA_LOC_TOP || position == AVCHROMA_LOC_BOTTOM;
}

/// Whether every sample is a whole byte or word of its own.
bool HasWholeSamples(const AVPixFmtDescriptor& format) {
  constexpr std::uint64_t others = AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL |
                                   AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_PAL;
  if ((format.flags & others) != 0 || std::strncmp(format.name, "xyz", 3) == 0) return false;
  for (int i = 0; i < format.nb_components; ++i) {
    const AVComponentDescriptor& component = format.comp[i];
    if (component.depth < 8 || component.depth > 16 || component.shift + component.depth > 16) return false;
    if (component.depth == 8 && component.shift != 0) return false;
  }
  return true;
}

/// Chroma of a row at one sample for two pixels, out of one for each pixel (then at the left one), or for four.
void PairsOf(const std::uint8_t* in, int width, int shift, bool isCentred, std::uint8_t* out, int pairs) {
  for (int i = 0; i < pairs; ++i) {
    if (shift == 1) {
      out[i] = in[i];
    } else if (shift == 0) {
      const unsigned next = in[std::min(2 * i + 1, width - 1)];
      const unsigned previous = in[std::max(2 * i - 1, 0)];
      out[i] = static_cast<std::uint8_t>((previous + 2U * in[2 * i] + next + 2) >> 2U);
    } else {
      const unsigned own = in[i / 2];
      const unsigned next = in[std::min(i / 2 + 1, width - 1)];
      const unsigned previous = in[std::max(i / 2 - 1, 0)];
      const unsigned other = i % 2 == 0 ? previous : next;
      const unsigned left = i % 2 == 0 ? 2 * own : own + next;
      out[i] = static_cast<std::uint8_t>(isCentred ? (3 * own + other + 2) >> 2U : (left + 1) >> 1U);
    }
  }
}

}  // namespace

void Samples::Component(const AVFrame& frame, const AVPixFmtDescriptor& format, int component,
                        Picture& out) const {
  const AVComponentDescriptor& from = format.comp[component];
  const bool isRgb = (format.flags & AV_PIX_FMT_FLAG_RGB) != 0;
  const bool isChroma = !isRgb && (component == 1 || component == 2);
  out.width = isChroma ? Halved(frame.width, format.log2_chroma_w) : frame.width;
  out.height = isChroma ? Halved(frame.height, format.log2_chroma_h) : frame.height;
  const auto width = static_cast<std::size_t>(out.width);
  out.bytes.resize(width * static_cast<std::size_t>(out.height));
  const kv_host::Dither dither = dither_;
  const bool isBig = (format.flags & AV_PIX_FMT_FLAG_BE) != 0;
  const auto bits = static_cast<unsigned>(from.depth);
  const unsigned mask = (1U << bits) - 1U;
  for (int y = 0; y < out.height; ++y) {
    const std::uint8_t* in =
        frame.data[from.plane] + y * static_cast<std::ptrdiff_t>(frame.linesize[from.plane]) + from.offset;
    std::uint8_t* to = out.bytes.data() + width * static_cast<std::size_t>(y);
    if (frame.format == AV_PIX_FMT_UYYVYY411 && component == 0) {
      // Four in six bytes, which no constant step tells.
      constexpr int places[] = {1, 2, 4, 5};
      const std::uint8_t* start = in - from.offset;
      for (std::size_t x = 0; x < width; ++x) to[x] = start[x / 4 * 6 + places[x % 4]];
    } else if (from.depth == 8 && from.step == 1) {
      std::copy_n(in, width, to);
    } else if (from.depth == 8) {
      for (std::size_t x = 0; x < width; ++x, in += from.step) to[x] = *in;
    } else {
      for (std::size_t x = 0; x < width; ++x, in += from.step) {
        const unsigned word = isBig ? in[0] << 8U | in[1] : in[1] << 8U | in[0];
        const unsigned sample = (word >> static_cast<unsigned>(from.shift)) & mask;
        to[x] = kv_host::Narrow(sample, bits, x, y, dither);
      }
    }
  }
}

void Samples::Give(KvAvFrame& out, int plane, const std::vector<std::uint8_t>& bytes, int rowBytes) const {
  out.data[plane] = bytes.data();
  out.stride[plane] = rowBytes;
  out.rowBytes[plane] = rowBytes;
  out.planes = std::max(out.planes, plane + 1);
}

void Samples::TakeDirect(const AVFrame& frame, KvAvFrame& out) {
  const bool isPlanar = frame.format == AV_PIX_FMT_YUV422P || frame.format == AV_PIX_FMT_YUVJ422P;
  out.path = KvAvDirect;
  out.kind = isPlanar ? KvAvPlanar : frame.format == AV_PIX_FMT_GRAY8 ? KvAvGrey : KvAvPacked;
  out.isChromaFirst = frame.format == AV_PIX_FMT_UYVY422 ? 1 : 0;
  out.planes = isPlanar ? 3 : 1;
  const int pairs = (frame.width + 1) / 2;
  for (int i = 0; i < out.planes; ++i) {
    out.data[i] = frame.data[i];
    out.stride[i] = frame.linesize[i];
    out.rowBytes[i] = out.kind == KvAvPacked ? 4 * pairs : i == 0 ? frame.width : pairs;
  }
}

void Samples::TakeYuv(const AVFrame& frame, const AVPixFmtDescriptor& format, AVChromaLocation position,
                      KvAvFrame& out) {
  const bool hasAlpha = (format.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
  const bool isGrey = format.nb_components < 3;
  for (int i = 0; i < format.nb_components; ++i)
    Component(frame, format, i, components_[static_cast<std::size_t>(i)]);
  const std::vector<std::uint8_t>& luma = components_[0].bytes;
  const auto width = static_cast<std::size_t>(frame.width);
  const auto height = static_cast<std::size_t>(frame.height);
  if (isGrey && !hasAlpha) {
    out.kind = KvAvGrey;
    return Give(out, 0, luma, frame.width);
  }
  if (isGrey) {
    out.kind = KvAvBgra;
    packed_.resize(4 * luma.size());
    for (std::size_t i = 0; i < luma.size(); ++i) {
      std::fill_n(packed_.begin() + static_cast<std::ptrdiff_t>(4 * i), 3, luma[i]);
      packed_[4 * i + 3] = components_[1].bytes[i];
    }
    return Give(out, 0, packed_, 4 * frame.width);
  }
  const int pairs = (frame.width + 1) / 2;
  const auto stride = static_cast<std::size_t>(pairs);
  std::vector<std::uint8_t> row;
  for (std::size_t i = 0; i < 2; ++i) {
    const Picture& stored = components_[i + 1];
    Picture& plane = chroma_[i];
    plane.bytes.resize(stride * height);
    row.resize(static_cast<std::size_t>(stored.width));
    for (int y = 0; y < frame.height; ++y) {
      const std::uint8_t* in =
          stored.bytes.data() + static_cast<std::size_t>(y >> format.log2_chroma_h) * row.size();
      if (format.log2_chroma_h != 0) {
        // 4:1:0 has rows twice as far from each other: it goes by way of the rows in between.
        const int above = format.log2_chroma_h == 1 ? y : y / 2;
        const kv_host::ChromaRow mix = kv_host::ChromaRowAt(
            above, stored.height, RowsOf(position), frame.interlaced_frame != 0 && format.log2_chroma_h == 1);
        const std::uint8_t* a = stored.bytes.data() + static_cast<std::size_t>(mix.nearer) * row.size();
        const std::uint8_t* b = stored.bytes.data() + static_cast<std::size_t>(mix.further) * row.size();
        for (std::size_t x = 0; x < row.size(); ++x) row[x] = kv_host::ChromaSample(a[x], b[x], mix.weight);
        in = row.data();
      }
      PairsOf(in, stored.width, format.log2_chroma_w, IsCentred(position),
              plane.bytes.data() + stride * static_cast<std::size_t>(y), pairs);
    }
  }
  if (!hasAlpha) {
    out.kind = KvAvPlanar;
    Give(out, 0, luma, frame.width);
    Give(out, 1, chroma_[0].bytes, pairs);
    return Give(out, 2, chroma_[1].bytes, pairs);
  }
  out.kind = KvAvPackedAlpha;
  packed_.resize(4 * stride * height);
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < stride; ++x) {
      std::uint8_t* to = packed_.data() + 4 * (y * stride + x);
      to[0] = luma[y * width + 2 * x];
      to[1] = chroma_[0].bytes[y * stride + x];
      to[2] = luma[y * width + std::min(2 * x + 1, width - 1)];
      to[3] = chroma_[1].bytes[y * stride + x];
    }
  }
  Give(out, 0, packed_, 4 * pairs);
  Give(out, 1, components_[3].bytes, frame.width);
}

void Samples::TakeRgb(const AVFrame& frame, const AVPixFmtDescriptor& format, KvAvFrame& out) {
  const bool hasAlpha = (format.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
  const std::size_t count = hasAlpha ? 4 : 3;
  for (std::size_t i = 0; i < count; ++i) Component(frame, format, static_cast<int>(i), components_[i]);
  const std::size_t pixels = components_[0].bytes.size();
  packed_.resize(count * pixels);
  for (std::size_t i = 0; i < pixels; ++i) {
    for (std::size_t k = 0; k < 3; ++k) packed_[count * i + k] = components_[2 - k].bytes[i];
    if (hasAlpha) packed_[4 * i + 3] = components_[3].bytes[i];
  }
  out.kind = hasAlpha ? KvAvBgra : KvAvBgr;
  Give(out, 0, packed_, static_cast<int>(count) * frame.width);
}

void Samples::TakePalette(const AVFrame& frame, KvAvFrame& out) {
  const auto width = static_cast<std::size_t>(frame.width);
  packed_.resize(4 * width * static_cast<std::size_t>(frame.height));
  for (int y = 0; y < frame.height; ++y) {
    const std::uint8_t* in = frame.data[0] + y * static_cast<std::ptrdiff_t>(frame.linesize[0]);
    std::uint8_t* to = packed_.data() + 4 * width * static_cast<std::size_t>(y);
    // An entry is a word of the machine, alpha uppermost: blue, green, red and alpha in its memory.
    for (std::size_t x = 0; x < width; ++x) std::memcpy(to + 4 * x, frame.data[1] + 4 * in[x], 4);
  }
  out.kind = KvAvBgra;
  Give(out, 0, packed_, 4 * frame.width);
}

bool Samples::Take(const AVFrame& frame, AVChromaLocation position, KvAvFrame& out, char* problem) {
  const auto pixels = static_cast<AVPixelFormat>(frame.format);
  const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(pixels);
  out.width = frame.width;
  out.height = frame.height;
  out.path = KvAvByRule;
  out.planes = 0;
  if (format != nullptr && (format->flags & AV_PIX_FMT_FLAG_RGB) == 0 && format->nb_components > 2) {
    const bool isLeft = position == AVCHROMA_LOC_LEFT || position == AVCHROMA_LOC_TOPLEFT ||
                        position == AVCHROMA_LOC_BOTTOMLEFT;
    out.site = isLeft || format->log2_chroma_w == 0 ? KvAvLeft
               : IsCentred(position)                ? KvAvCentre
                                                    : KvAvSiteUnknown;
  }
  const bool isOwn = format != nullptr && HasWholeSamples(*format);
  switch (pixels) {
    case AV_PIX_FMT_UYVY422:
    case AV_PIX_FMT_YUYV422:
      // A last pair that is not whole has no bytes of its own in some decoders.
      if (frame.width % 2 != 0) break;
      [[fallthrough]];
    case AV_PIX_FMT_YUV422P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_GRAY8:
      TakeDirect(frame, out);
      return true;
    case AV_PIX_FMT_PAL8:
      TakePalette(frame, out);
      return true;
    default:
      break;
  }
  if (isOwn && (format->flags & AV_PIX_FMT_FLAG_RGB) != 0) {
    TakeRgb(frame, *format, out);
    return true;
  }
  if (isOwn) {
    TakeYuv(frame, *format, position, out);
    return true;
  }
  if (format != nullptr && TakeByLibrary(frame, *format, out)) return true;
  std::snprintf(problem, KvAvProblemSize, "pixels of the format %s are not converted",
                format == nullptr ? "?" : format->name);
  return false;
}

}  // namespace kv_av
