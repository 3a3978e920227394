#include "host/av/av_codecs.h"

#include <algorithm>
#include <array>

#include "host/formats/format_error.h"

namespace kv_host {
namespace {

using enum RasterKind;

constexpr std::array Lossless = {AvSamples{Yuv422Planar, FileFormat::Yuv422p, "yuv422p"},
                                 AvSamples{Yuv422, FileFormat::Yuv422p, "yuv422p"},
                                 AvSamples{Yuva422, FileFormat::Yuv422p, "yuva422p"},
                                 AvSamples{Dib24, FileFormat::Bgr24, "bgr0"},
                                 AvSamples{Dib32, FileFormat::Bgra, "bgra"},
                                 AvSamples{Grey8, FileFormat::Grey, "gray"}};
constexpr std::array Packed422 = {AvSamples{Yuv422, FileFormat::Uyvy, "uyvy422"},
                                  AvSamples{Yuv422Planar, FileFormat::Uyvy, "uyvy422"}};
constexpr std::array Eight422 = {AvSamples{Yuv422Planar, FileFormat::Yuv422p, "yuv422p"},
                                 AvSamples{Yuv422, FileFormat::Yuv422p, "yuv422p"}};
constexpr std::array Ten422 = {AvSamples{Yuv422Planar, FileFormat::Yuv422p10, "yuv422p10le"},
                               AvSamples{Yuv422, FileFormat::Yuv422p10, "yuv422p10le"}};
constexpr std::array Eight420 = {AvSamples{Yuv422Planar, FileFormat::Yuv420p, "yuv420p"},
                                 AvSamples{Yuv422, FileFormat::Yuv420p, "yuv420p"}};
constexpr std::array Photograph = {AvSamples{Yuv422Planar, FileFormat::Yuv422p, "yuvj422p"}};
constexpr std::array Picture = {AvSamples{Dib24, FileFormat::Rgb24, "rgb24"},
                                AvSamples{Dib32, FileFormat::Rgba, "rgba"},
                                AvSamples{Grey8, FileFormat::Grey, "gray"}};

constexpr unsigned All = AvRange | AvFields | AvMatrix | AvSite | AvTransfer;

constexpr AvCodec Ffv1 = {"ffv1", "ffv1", "level=3:slicecrc=1", Lossless, AvFields, 0, 1, 1};
constexpr AvCodec Raw = {"raw", "rawvideo", "", Packed422, 0, 0, 2, 1};
constexpr AvCodec V210 = {"v210", "v210", "", Ten422, 0, 0, 2, 1};
constexpr AvCodec Prores = {
    "prores", "prores_ks", "profile=hq", Ten422, AvFields | AvMatrix | AvTransfer, AvRange, 2, 1};
constexpr AvCodec Mpeg2 = {"mpeg2",
                           "mpeg2video",
                           "flags=+qscale:global_quality=236:g=12:bf=2",
                           Eight422,
                           AvFields | AvMatrix | AvTransfer,
                           AvRange | AvSite,
                           2,
                           2};
constexpr AvCodec H264 = {"h264", "libx264", "crf=18", Eight420, All, 0, 2, 2};
constexpr AvCodec H264Whole = {"h264-422", "libx264", "crf=18", Eight422, All, 0, 2, 2};
constexpr AvCodec Jpeg = {"jpeg", "mjpeg", "flags=+qscale:global_quality=236", Photograph, All | AvTimes, 0,
                          1,      1};
constexpr AvCodec Tiff = {"tiff", "tiff", "", Picture, All | AvTimes, 0, 1, 1};

constexpr std::array InMkv = {&Ffv1, &Raw, &V210, &Prores, &Mpeg2, &H264, &H264Whole};
constexpr std::array InMov = {&Prores, &Ffv1, &Raw, &V210, &Mpeg2, &H264, &H264Whole};
constexpr std::array InMp4 = {&H264, &H264Whole, &Mpeg2};
constexpr std::array InMxf = {&Mpeg2};
constexpr std::array InAvi = {&Ffv1, &Raw, &V210};
constexpr std::array InJpeg = {&Jpeg};
constexpr std::array InTiff = {&Tiff};

std::span<const AvCodec* const> CodecsIn(FileFormat container) {
  switch (container) {
    case FileFormat::Mkv:
      return InMkv;
    case FileFormat::Mov:
      return InMov;
    case FileFormat::Mp4:
      return InMp4;
    case FileFormat::Mxf:
      return InMxf;
    case FileFormat::Avi:
      return InAvi;
    case FileFormat::Jpeg:
      return InJpeg;
    case FileFormat::Tiff:
      return InTiff;
    default:
      return {};
  }
}

}  // namespace

const AvCodec& AvCodecOf(FileFormat container, std::string_view name, const std::string& file) {
  const auto codecs = CodecsIn(container);
  if (codecs.empty()) {
    throw FormatError(file, "a " + std::string(TraitsOf(container).name) +
                                " file has no codec; --codec is for mkv, mov, mp4, mxf and avi");
  }
  if (name.empty()) return *codecs.front();
  const auto found = std::ranges::find(codecs, name, [](const AvCodec* codec) { return codec->name; });
  if (found != codecs.end()) return **found;
  std::string names;
  for (const AvCodec* codec : codecs) names += (names.empty() ? "" : ", ") + std::string(codec->name);
  throw FormatError(file, "kv writes no " + Quoted(name) + " there; a " +
                              std::string(TraitsOf(container).name) + " file is written with " + names);
}

unsigned AvDeclared(FileFormat container, const AvCodec& codec) {
  const unsigned own = container == FileFormat::Mkv ? All | AvTimes
                       : container == FileFormat::Mov || container == FileFormat::Mp4
                           ? AvFields | AvMatrix | AvTransfer | AvTimes
                           : 0U;
  return (own | codec.declares) & ~codec.never;
}

}  // namespace kv_host
