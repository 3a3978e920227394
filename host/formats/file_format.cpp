#include "host/formats/file_format.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "host/formats/file_name.h"

namespace kv_host {
namespace {

using enum RasterKind;

constexpr std::array Y4mRasters = {Yuv422Planar, Yuv422};
constexpr std::array PackedRasters = {Yuv422, Yuv422Planar};
constexpr std::array AlphaRasters = {Yuva422};
constexpr std::array BmpRasters = {Dib24, Dib32, Dib16, Dib15, Grey8};
constexpr std::array PgmRasters = {Grey8};
constexpr std::array PpmRasters = {Dib24};
constexpr std::array PnmRasters = {Dib24, Grey8};
constexpr std::array PngRasters = {Dib24, Dib32, Grey8};

constexpr std::array PlanarRasters = {Yuv422Planar, Yuv422};
constexpr std::array Bitmap24Rasters = {Dib24};
constexpr std::array Bitmap32Rasters = {Dib32};

using enum ChromaPlanes;

constexpr RawTraits Packed = {Yuv422, {}};
constexpr RawTraits PackedCrFirst = {Yuv422, {}, {.unit = 4, .first = 1, .second = 3}};
constexpr RawTraits PackedAlpha = {Yuva422, {}};
constexpr RawTraits Planes422 = {Yuv422Planar, PlaneStorage{.chroma = Pair}};
constexpr RawTraits Planes422Nv = {Yuv422Planar, PlaneStorage{.chroma = Pair, .isInterleaved = true}};
constexpr RawTraits Planes422Ten = {Yuv422Planar, PlaneStorage{.chroma = Pair, .isTenBit = true}};
constexpr RawTraits Planes420 = {Yuv422Planar, PlaneStorage{.chroma = Half}};
constexpr RawTraits Planes420Nv = {Yuv422Planar, PlaneStorage{.chroma = Half, .isInterleaved = true}};
constexpr RawTraits WordsOfThree = {Yuv422Planar, {}};
constexpr RawTraits GreyRows = {Grey8, PlaneStorage{.chroma = None}};
constexpr RawTraits Rows24 = {Dib24, {}};
constexpr RawTraits Rows24RedFirst = {Dib24, {}, {.unit = 3, .first = 0, .second = 2}};
constexpr RawTraits Rows32 = {Dib32, {}};
constexpr RawTraits Rows32RedFirst = {Dib32, {}, {.unit = 4, .first = 0, .second = 2}};

constexpr std::array<FormatTraits, 29> Formats = {{
    {FileFormat::Y4m, "y4m", {}, nullptr, true, 0, Y4mRasters},
    {FileFormat::Uyvy, "uyvy", "uyvy422", &Packed, true, LayoutChromaFirst, PackedRasters},
    {FileFormat::Yuy2, "yuy2", "yuyv422", &Packed, true, LayoutLumaFirst, PackedRasters},
    {FileFormat::Yvyu, "yvyu", "yvyu422", &PackedCrFirst, true, LayoutLumaFirst, PackedRasters},
    {FileFormat::Uyvya, "uyvya", {}, &PackedAlpha, true, LayoutChromaFirst, AlphaRasters},
    {FileFormat::Yuy2a, "yuy2a", {}, &PackedAlpha, true, LayoutLumaFirst, AlphaRasters},
    {FileFormat::Nv16, "nv16", {}, &Planes422Nv, true, 0, PlanarRasters},
    {FileFormat::Yuv422p, "yuv422p", {}, &Planes422, true, 0, PlanarRasters},
    {FileFormat::Yuv420p, "yuv420p", "i420", &Planes420, true, 0, PlanarRasters},
    {FileFormat::Nv12, "nv12", {}, &Planes420Nv, true, 0, PlanarRasters},
    {FileFormat::V210, "v210", {}, &WordsOfThree, true, 0, PlanarRasters},
    {FileFormat::Yuv422p10, "yuv422p10le", "yuv422p10", &Planes422Ten, true, 0, PlanarRasters},
    {FileFormat::Grey, "gray", "grey", &GreyRows, true, 0, PgmRasters},
    {FileFormat::Bgr24, "bgr24", {}, &Rows24, true, 0, Bitmap24Rasters},
    {FileFormat::Rgb24, "rgb24", {}, &Rows24RedFirst, true, 0, Bitmap24Rasters},
    {FileFormat::Bgra, "bgra", {}, &Rows32, true, 0, Bitmap32Rasters},
    {FileFormat::Rgba, "rgba", {}, &Rows32RedFirst, true, 0, Bitmap32Rasters},
    {FileFormat::Bmp, "bmp", {}, nullptr, false, 0, BmpRasters},
    {FileFormat::Pgm, "pgm", {}, nullptr, false, 0, PgmRasters},
    {FileFormat::Ppm, "ppm", {}, nullptr, false, 0, PpmRasters},
    {FileFormat::Pnm, "pnm", {}, nullptr, false, 0, PnmRasters},
    {FileFormat::Png, "png", {}, nullptr, false, 0, PngRasters},
    {FileFormat::Mkv, "mkv", {}, nullptr, true, 0, {}, "matroska"},
    {FileFormat::Mov, "mov", {}, nullptr, true, 0, {}, "mov"},
    {FileFormat::Mp4, "mp4", {}, nullptr, true, 0, {}, "mp4"},
    {FileFormat::Mxf, "mxf", {}, nullptr, true, 0, {}, "mxf"},
    {FileFormat::Avi, "avi", {}, nullptr, true, 0, {}, "avi"},
    {FileFormat::Jpeg, "jpg", "jpeg", nullptr, false, 0, {}, "image2pipe"},
    {FileFormat::Tiff, "tiff", "tif", nullptr, false, 0, {}, "image2pipe"},
}};

bool BeginsWith(ByteSource& source, std::string_view magic) {
  const auto start = source.Peek(magic.size());
  return std::equal(start.begin(), start.end(), magic.begin(), magic.end(),
                    [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); });
}

template <class Predicate>
std::string NamesOf(Predicate isWanted) {
  std::string names;
  for (const FormatTraits& traits : Formats) {
    if (!isWanted(traits)) continue;
    if (!names.empty()) names += ", ";
    names += traits.name;
  }
  return names;
}

}  // namespace

const FormatTraits& TraitsOf(FileFormat format) {
  static const FormatTraits any = [] {
    FormatTraits traits{};
    traits.format = FileFormat::Av;
    traits.name = "av";
    traits.stream = true;
    return traits;
  }();
  if (format == FileFormat::Av) return any;
  return *std::find_if(Formats.begin(), Formats.end(),
                       [=](const auto& traits) { return traits.format == format; });
}

std::optional<FileFormat> FormatNamed(std::string_view name) {
  if (name.empty()) return std::nullopt;
  std::string lower(name);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
  for (const FormatTraits& traits : Formats) {
    if (traits.name == lower || traits.alias == lower) return traits.format;
  }
  return std::nullopt;
}

std::optional<FileFormat> FormatOfExtension(const std::string& fileName) {
  const std::string extension = Utf8Name(PathOf(fileName).extension());
  if (extension.size() < 2) return std::nullopt;
  return FormatNamed(std::string_view(extension).substr(1));
}

std::optional<FileFormat> FormatOfContent(ByteSource& source) {
  const auto start = source.Peek(2);
  if (start.size() < 2) return std::nullopt;
  switch (start[0]) {
    case 'Y':
      return BeginsWith(source, "YUV4MPEG2") ? std::optional(FileFormat::Y4m) : std::nullopt;
    case 0x89:
      return BeginsWith(source, "\x89PNG\r\n\x1A\n") ? std::optional(FileFormat::Png) : std::nullopt;
    case 'B':
      return start[1] == 'M' ? std::optional(FileFormat::Bmp) : std::nullopt;
    case 'P':
      break;
    default:
      return std::nullopt;
  }
  switch (start[1]) {
    case '1':
    case '2':
    case '4':
    case '5':
      return FileFormat::Pgm;
    case '3':
    case '6':
      return FileFormat::Ppm;
    default:
      return std::nullopt;
  }
}

std::string FormatNames() {
  return NamesOf([](const FormatTraits& traits) { return traits.muxer == nullptr; });
}

std::string WritableFormatNames() {
  return NamesOf([](const FormatTraits&) { return true; });
}

std::string RawFormatNames() {
  return NamesOf([](const FormatTraits& traits) { return traits.raw != nullptr; });
}

}  // namespace kv_host
