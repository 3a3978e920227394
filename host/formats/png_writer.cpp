#include <algorithm>
#include <new>
#include <span>

#include "host/formats/format_error.h"
#include "host/formats/png_code_points.h"
#include "host/formats/png_file.h"
#include "host/formats/png_guard.h"

namespace kv_host {
namespace {

struct Output {
  ByteSink& sink;
  png::Failure failure;
};

/// Writes for libpng; false when the system refused. Lets no exception out.
bool Store(Output& output, png_bytep bytes, std::size_t count) {
  try {
    output.sink.Write(std::span<const std::uint8_t>(bytes, count));
  } catch (...) {
    output.failure.exception = std::current_exception();
    return false;
  }
  return true;
}

void OnWrite(png_structp png, png_bytep bytes, std::size_t count) {
  if (!Store(*static_cast<Output*>(png_get_io_ptr(png)), bytes, count)) png_error(png, "write failed");
}

void OnFlush(png_structp) {}

class Encoder {
 public:
  explicit Encoder(ByteSink& sink) : output_{.sink = sink, .failure = {}} {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &output_.failure, png::OnError, png::OnWarning);
    info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
    if (info_ == nullptr) {
      png_destroy_write_struct(&png_, nullptr);
      throw std::bad_alloc();
    }
  }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;
  ~Encoder() { png_destroy_write_struct(&png_, &info_); }

  void Write(const Raster& raster, int colourType) {
    const auto width = static_cast<png_uint_32>(raster.width);
    const auto height = static_cast<png_uint_32>(raster.height);
    const bool isScreenRgb = colourType != PNG_COLOR_TYPE_GRAY &&
                             (raster.matrix == ColourMatrix::Bt601 || raster.matrix == ColourMatrix::Bt709);
    const bool hasCodePoints = raster.matrix == ColourMatrix::Bt2020 && raster.transfer != Transfer::Unknown;
    Run([=, this] {
      png_set_write_fn(png_, &output_, OnWrite, OnFlush);
      png_set_IHDR(png_, info_, width, height, 8, colourType, PNG_INTERLACE_NONE,
                   PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
      // RGB out of 4:2:2 of these matrices has the primaries of sRGB, as closely as screens show them.
      if (isScreenRgb) png_set_sRGB(png_, info_, PNG_sRGB_INTENT_PERCEPTUAL);
      if (hasCodePoints) PutCodePoints(raster.transfer);
      png_write_info(png_, info_);
      png_set_bgr(png_);
    });
    for (int y = 0; y < raster.height; ++y) {
      const png_const_bytep row = raster.planes[0].Row(y).data();
      Run([this, row] { png_write_row(png_, row); });
    }
    Run([this] { png_write_end(png_, info_); });
  }

 private:
  template <class Step>
  void Run(const Step& step) {
    if (png::Succeeds(png_, step)) return;
    if (output_.failure.exception != nullptr) std::rethrow_exception(output_.failure.exception);
    throw FileError(output_.sink.Name(), "cannot be written as PNG: " + output_.failure.text);
  }

  void PutCodePoints(Transfer transfer) {
    png_byte points[] = {png::CodePoints::bt2020,
                         transfer == Transfer::Pq ? png::CodePoints::pq : png::CodePoints::hlg, 0, 1};
    png_unknown_chunk chunk = {};
    std::copy_n(png::CodePoints::chunk, sizeof png::CodePoints::chunk, chunk.name);
    chunk.data = points;
    chunk.size = sizeof points;
    chunk.location = PNG_HAVE_IHDR;
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_ALWAYS, png::CodePoints::chunk, 1);
    png_set_unknown_chunks(png_, info_, &chunk, 1);
  }

  Output output_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

int ColourTypeOf(const Raster& raster, const ByteSink& sink) {
  switch (raster.kind) {
    case RasterKind::Grey8:
      return PNG_COLOR_TYPE_GRAY;
    case RasterKind::Dib24:
      return PNG_COLOR_TYPE_RGB;
    case RasterKind::Dib32:
      return PNG_COLOR_TYPE_RGB_ALPHA;
    default:
      break;
  }
  throw FormatError(
      sink.Name(),
      std::string("a PNG file is written from 24- or 32-bit RGB or 8-bit grey, not ") + NameOf(raster.kind));
}

}  // namespace

void WritePng(const Raster& raster, ByteSink& sink) {
  const int colourType = ColourTypeOf(raster, sink);
  Encoder(sink).Write(raster, colourType);
}

}  // namespace kv_host
