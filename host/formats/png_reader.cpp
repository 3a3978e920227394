#include <algorithm>
#include <new>
#include <span>

#include "host/formats/format_error.h"
#include "host/formats/png_file.h"
#include "host/formats/png_guard.h"
#include "host/formats/png_parts.h"

namespace kv_host {
namespace {

/// The bytes that libpng asks for, and what went wrong.
struct Input {
  ByteSource& source;
  png::Failure failure;
  std::size_t missing = 0;
};

/// Reads for libpng; false when there are not enough bytes or the system refused. Lets no exception out.
bool Fetch(Input& input, png_bytep out, std::size_t count) {
  try {
    input.missing = count - input.source.ReadSome({out, count});
  } catch (...) {
    input.failure.exception = std::current_exception();
    return false;
  }
  return input.missing == 0;
}

void OnRead(png_structp png, png_bytep out, std::size_t count) {
  if (!Fetch(*static_cast<Input*>(png_get_io_ptr(png)), out, count)) png_error(png, "read failed");
}

class Decoder {
 public:
  explicit Decoder(ByteSource& source) : input_{.source = source, .failure = {}} {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &input_.failure, png::OnError, png::OnWarning);
    info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
    if (info_ == nullptr) {
      png_destroy_read_struct(&png_, nullptr, nullptr);
      throw std::bad_alloc();
    }
  }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;
  ~Decoder() { png_destroy_read_struct(&png_, &info_, nullptr); }

  Raster Read() {
    ReadHeader();
    const png::CodePoints points = ReadCodePoints();
    const int channels = png_get_channels(png_, info_);
    const RasterKind kind = channels == 1   ? RasterKind::Grey8
                            : channels == 3 ? RasterKind::Dib24
                                            : RasterKind::Dib32;
    Raster raster = MakeEmptyRaster(kind, static_cast<int>(png_get_image_width(png_, info_)),
                                    static_cast<int>(png_get_image_height(png_, info_)));
    points.Declare(raster);
    if (png_get_interlace_type(png_, info_) == PNG_INTERLACE_NONE) {
      ReadRows(raster.planes[0].bytes, raster.planes[0].stride, raster.height);
    } else {
      ReadInterlaced(raster, static_cast<std::size_t>(channels));
    }
    Run([this] { png_read_end(png_, nullptr); });
    return raster;
  }

 private:
  template <class Step>
  void Run(const Step& step) {
    if (!png::Succeeds(png_, step)) Fail();
  }

  [[noreturn]] void Fail() const {
    if (input_.failure.exception != nullptr) std::rethrow_exception(input_.failure.exception);
    if (input_.missing != 0) {
      input_.source.Fail("the file ends early: the PNG picture lacks at least " +
                         std::to_string(input_.missing) + " bytes");
    }
    input_.source.Fail("not a valid PNG file: " + input_.failure.text);
  }

  void ReadHeader() {
    Run([this] {
      png_set_read_fn(png_, &input_, OnRead);
      png_set_user_limits(png_, LongestSide, LongestSide);
      png_set_chunk_malloc_max(png_, png::mostChunkBytes);
      png_set_chunk_cache_max(png_, 64);
      png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_ALWAYS, png::CodePoints::chunk, 1);
      png_read_info(png_, info_);
    });
    const std::string problem =
        SizeProblem(png_get_image_width(png_, info_), png_get_image_height(png_, info_));
    if (!problem.empty()) input_.source.Fail(problem);
    Run([this] {
      png_set_expand(png_);
      png_set_scale_16(png_);
      png_set_bgr(png_);
      const bool alpha = (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0;
      if (alpha || png_get_valid(png_, info_, PNG_INFO_tRNS) != 0) png_set_gray_to_rgb(png_);
      png_read_update_info(png_, info_);
    });
  }

  /// Those of the file, where it has them. Throws FormatError where the samples are not full-range RGB.
  png::CodePoints ReadCodePoints() const {
    png_unknown_chunkp chunks = nullptr;
    const int count = png_get_unknown_chunks(png_, info_, &chunks);
    for (const png_unknown_chunk& chunk : std::span(chunks, static_cast<std::size_t>(count))) {
      const bool isTheirs = std::equal(chunk.name, chunk.name + 4, png::CodePoints::chunk);
      if (!isTheirs || chunk.size != png::CodePoints::size) continue;
      return png::CodePoints::Of(std::span<const std::uint8_t, png::CodePoints::size>(chunk.data, chunk.size),
                                 input_.source);
    }
    return {};
  }

  /// Appends rows one by one, so that memory grows with what the file really holds.
  void ReadRows(std::vector<std::uint8_t>& out, std::size_t stride, int rows) {
    for (int y = 0; y < rows; ++y) {
      const std::size_t start = out.size();
      out.resize(start + stride);
      png_bytep row = out.data() + start;
      Run([this, row] { png_read_row(png_, row, nullptr); });
    }
  }

  /// The seven passes as libpng decodes them, small pictures of every 8th, 4th, 2nd pixel; woven when all are
  /// there.
  void ReadInterlaced(Raster& raster, std::size_t channels) {
    std::vector<std::uint8_t> passes;
    std::vector<std::uint8_t> row(
        raster.planes[0].stride);  // libpng writes a full row, also for a narrow pass
    const auto width = static_cast<unsigned>(raster.width);
    const auto height = static_cast<unsigned>(raster.height);
    for (const png::Pass& pass : png::passes) {
      for (unsigned y = 0; y < pass.Rows(width, height); ++y) {
        const png_bytep start = row.data();
        Run([this, start] { png_read_row(png_, start, nullptr); });
        passes.insert(passes.end(), start, start + pass.Columns(width) * channels);
      }
    }
    png::WeavePasses(passes, channels, raster);
  }

  Input input_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

}  // namespace

Raster ReadPng(ByteSource& source) {
  png::RequireSignature(source);
  return Decoder(source).Read();
}

}  // namespace kv_host
