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

constexpr std::array<FormatTraits, 10> Formats = {{
    {FileFormat::Y4m, "y4m", false, true, 0, Y4mRasters},
    {FileFormat::Uyvy, "uyvy", true, true, LayoutChromaFirst, PackedRasters},
    {FileFormat::Yuy2, "yuy2", true, true, LayoutLumaFirst, PackedRasters},
    {FileFormat::Uyvya, "uyvya", true, true, LayoutChromaFirst, AlphaRasters},
    {FileFormat::Yuy2a, "yuy2a", true, true, LayoutLumaFirst, AlphaRasters},
    {FileFormat::Bmp, "bmp", false, false, 0, BmpRasters},
    {FileFormat::Pgm, "pgm", false, false, 0, PgmRasters},
    {FileFormat::Ppm, "ppm", false, false, 0, PpmRasters},
    {FileFormat::Pnm, "pnm", false, false, 0, PnmRasters},
    {FileFormat::Png, "png", false, false, 0, PngRasters},
}};

bool BeginsWith(ByteSource& source, std::string_view magic) {
  const auto start = source.Peek(magic.size());
  return std::equal(start.begin(), start.end(), magic.begin(), magic.end(),
                    [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); });
}

}  // namespace

const FormatTraits& TraitsOf(FileFormat format) {
  return *std::find_if(Formats.begin(), Formats.end(),
                       [=](const auto& traits) { return traits.format == format; });
}

std::optional<FileFormat> FormatNamed(std::string_view name) {
  std::string lower(name);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
  for (const FormatTraits& traits : Formats) {
    if (traits.name == lower) return traits.format;
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
  std::string names;
  for (const FormatTraits& traits : Formats) {
    if (!names.empty()) names += ", ";
    names += traits.name;
  }
  return names;
}

}  // namespace kv_host
