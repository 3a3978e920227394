#include <algorithm>
#include <new>
#include <span>

#include "host/formats/format_error.h"
#include "host/formats/png_file.h"
#include "host/formats/png_guard.h"
#include "host/formats/png_parts.h"

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
    std::vector<std::uint8_t> points = png::CodePointsOf(raster);
    Run([&, this] {
      png_set_write_fn(png_, &output_, OnWrite, OnFlush);
      png_set_IHDR(png_, info_, width, height, 8, colourType, PNG_INTERLACE_NONE,
                   PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
      if (png::IsScreenRgb(raster)) png_set_sRGB(png_, info_, PNG_sRGB_INTENT_PERCEPTUAL);
      if (!points.empty()) PutCodePoints(points);
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

  void PutCodePoints(std::span<std::uint8_t> points) {
    png_unknown_chunk chunk = {};
    std::copy_n(png::CodePoints::chunk, sizeof png::CodePoints::chunk, chunk.name);
    chunk.data = points.data();
    chunk.size = points.size();
    chunk.location = PNG_HAVE_IHDR;
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_ALWAYS, png::CodePoints::chunk, 1);
    png_set_unknown_chunks(png_, info_, &chunk, 1);
  }

  Output output_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

}  // namespace

void WritePng(const Raster& raster, ByteSink& sink) {
  const int colourType = png::ColourTypeOf(raster, sink);
  Encoder(sink).Write(raster, colourType);
}

}  // namespace kv_host
