#include "host/gallery/photograph.h"

#include <algorithm>
#include <cstdlib>

#include "host/conversion.h"
#include "host/formats/picture_reader.h"
#include "host/raster_image.h"

namespace kv_host {
namespace {

constexpr int longestSide = 1280;
constexpr int shortestSide = 192;

/// By what to divide the sides: a long and narrow picture keeps some rows.
int FactorFor(const Raster& picture) {
  const bool isWoven =
      picture.interlace == Interlace::TopFieldFirst || picture.interlace == Interlace::BottomFieldFirst;
  if (isWoven) return 1;  // its fields are two pictures
  const int wanted = (std::max(picture.width, picture.height) + longestSide - 1) / longestSide;
  return std::clamp(std::min(picture.width, picture.height) / shortestSide, 1, wanted);
}

bool HasAlpha(const Raster& picture) {
  return picture.kind == RasterKind::Dib32 || picture.kind == RasterKind::Yuva422;
}

/// A Dib24 or Dib32 picture in boxes of `factor` by `factor` pixels, on white.
Raster Shrunk(const Raster& picture, int factor) {
  Raster small = MakeRaster(RasterKind::Dib24, picture.width / factor, picture.height / factor);
  Describe(small, picture);
  const std::size_t step = picture.kind == RasterKind::Dib32 ? 4 : 3;
  const auto side = static_cast<std::size_t>(factor);
  const auto whole = static_cast<std::uint32_t>(factor * factor * 255);
  for (int y = 0; y < small.height; ++y) {
    std::vector<std::uint32_t> sums(small.planes[0].stride);
    for (int row = y * factor; row < (y + 1) * factor; ++row) {
      const std::uint8_t* in = picture.planes[0].Row(row).data();
      for (std::size_t x = 0; x < static_cast<std::size_t>(small.width) * side; ++x, in += step) {
        const std::uint32_t alpha = step == 4 ? in[3] : 255;
        for (std::size_t i = 0; i < 3; ++i) sums[x / side * 3 + i] += in[i] * alpha + 255 * (255 - alpha);
      }
    }
    std::ranges::transform(sums, small.planes[0].Row(y).begin(), [&](std::uint32_t sum) {
      return static_cast<std::uint8_t>((sum + whole / 2) / whole);
    });
  }
  return small;
}

/// Mean distance of chroma from grey.
double Colourfulness(const Raster& frame) {
  double sum = 0;
  const auto& bytes = frame.planes[0].bytes;
  for (std::size_t i = 1; i < bytes.size(); i += 2) sum += std::abs(bytes[i] - 128);
  return sum / (static_cast<double>(bytes.size()) / 2);
}

/// Shadows blue, lights orange.
void Tint(Raster& frame) {
  auto& bytes = frame.planes[0].bytes;
  for (std::size_t i = 0; i < bytes.size(); i += 4) {
    const int luma = (bytes[i] + bytes[i + 2]) / 2;
    bytes[i + 1] = static_cast<std::uint8_t>(128 + (105 - luma) / 3);
    bytes[i + 3] = static_cast<std::uint8_t>(128 + (luma - 105) / 3);
  }
}

}  // namespace

Photograph ReadPhotograph(const std::string& file, const Engine& engine) {
  Raster picture = *PictureReader(file).Next();
  Photograph photograph;
  const int factor = FactorFor(picture);
  if (factor > 1 || HasAlpha(picture) || picture.kind == RasterKind::Grey8) {
    if (factor > 1) {
      photograph.note = "shown at 1/" + std::to_string(factor) + " of " + std::to_string(picture.width) +
                        "x" + std::to_string(picture.height);
    }
    if (!HasAlpha(picture)) {
      picture = Convert(picture, RasterKind::Dib24, 0, engine);
    } else {
      picture = Convert(picture, RasterKind::Dib32, 0, engine);
    }
    picture = Shrunk(picture, factor);
  }
  // Parts of it are shown, whose height says nothing of the whole's: the matrix is that of small pictures.
  constexpr VideoSide small = {.matrix = ColourMatrix::Bt601};
  if (IsVideo(picture.kind) &&
      (MatrixOf(SideOf(picture), {}) != small.matrix || picture.range == ColourRange::Full)) {
    picture = Convert(picture, RasterKind::Dib24, 0, engine);
  }
  photograph.frame = IsVideo(picture.kind)
                         ? Convert(picture, RasterKind::Yuv422, LayoutLumaFirst, engine)
                         : ConvertToVideo(picture, RasterKind::Yuv422, LayoutLumaFirst, small, engine);
  constexpr double leastColour = 3;
  if (Colourfulness(photograph.frame) < leastColour) {
    Tint(photograph.frame);
    photograph.note += std::string(photograph.note.empty() ? "" : ", ") + "grey: tinted to show colour";
  }
  return photograph;
}

}  // namespace kv_host
