#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>
#include <vector>

#include "host/formats/png_parts.h"
#include "host/formats/png_samples.h"
#include "host/formats/png_zlib.h"

namespace kv_host::png {
namespace {

void PutBigEndian(std::uint32_t value, std::vector<std::uint8_t>& out) {
  for (const unsigned shift : {24U, 16U, 8U, 0U}) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

void WriteChunk(const char (&name)[5], std::span<const std::uint8_t> data, ByteSink& sink) {
  std::vector<std::uint8_t> chunk;
  PutBigEndian(static_cast<std::uint32_t>(data.size()), chunk);
  chunk.insert(chunk.end(), name, name + 4);
  chunk.insert(chunk.end(), data.begin(), data.end());
  const auto sum = crc32(0, chunk.data() + 4, static_cast<uInt>(chunk.size() - 4));
  PutBigEndian(static_cast<std::uint32_t>(sum), chunk);
  sink.Write(chunk);
}

/// Packs rows into chunks of samples.
class SampleWriter {
 public:
  explicit SampleWriter(ByteSink& sink) : sink_(sink), packed_(8192) {
    const int code = deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15, 8, Z_FILTERED);
    if (code != Z_OK) throw std::bad_alloc();
    Empty();
  }
  SampleWriter(const SampleWriter&) = delete;
  SampleWriter& operator=(const SampleWriter&) = delete;
  ~SampleWriter() { deflateEnd(&stream_); }

  void Write(std::vector<std::uint8_t>& row) {
    stream_.next_in = row.data();
    stream_.avail_in = static_cast<uInt>(row.size());
    while (stream_.avail_in != 0) {
      deflate(&stream_, Z_NO_FLUSH);
      if (stream_.avail_out == 0) Flush();
    }
  }
  void Finish() {
    while (deflate(&stream_, Z_FINISH) != Z_STREAM_END) Flush();
    Flush();
  }

 private:
  void Empty() {
    stream_.next_out = packed_.data();
    stream_.avail_out = static_cast<uInt>(packed_.size());
  }
  void Flush() {
    const std::size_t size = packed_.size() - stream_.avail_out;
    if (size != 0) WriteChunk("IDAT", std::span(packed_).first(size), sink_);
    Empty();
  }

  ByteSink& sink_;
  z_stream stream_ = {};
  std::vector<std::uint8_t> packed_;
};

/// A row by each filter; the one whose differences are the smallest packs best, as a rule.
class RowFilter {
 public:
  RowFilter(std::size_t bytes, std::size_t step)
      : step_(step), above_(bytes, 0), best_(bytes + 1), tried_(bytes + 1) {}

  std::vector<std::uint8_t>& Filter(std::span<const std::uint8_t> row) {
    std::uint64_t least = ~std::uint64_t{0};
    for (std::uint8_t filter = 0; filter < 5; ++filter) {
      const std::uint64_t sum = Try(filter, row);
      if (sum >= least) continue;
      least = sum;
      best_.swap(tried_);
    }
    std::ranges::copy(row, above_.begin());
    return best_;
  }

 private:
  std::uint64_t Try(std::uint8_t filter, std::span<const std::uint8_t> row) {
    std::uint64_t sum = 0;
    tried_[0] = filter;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::uint8_t left = i < step_ ? std::uint8_t{0} : row[i - step_];
      const std::uint8_t corner = i < step_ ? std::uint8_t{0} : above_[i - step_];
      const auto difference = static_cast<std::uint8_t>(row[i] - Predict(filter, left, above_[i], corner));
      tried_[i + 1] = difference;
      sum += difference < 128 ? difference : 256U - difference;
    }
    return sum;
  }

  std::size_t step_;
  std::vector<std::uint8_t> above_;
  std::vector<std::uint8_t> best_;
  std::vector<std::uint8_t> tried_;
};

}  // namespace

void WriteByZlib(const Raster& raster, ByteSink& sink) {
  const ColourType colour = ColourTypeOf(raster, sink);
  sink.Write(signature);
  std::vector<std::uint8_t> header;
  PutBigEndian(static_cast<std::uint32_t>(raster.width), header);
  PutBigEndian(static_cast<std::uint32_t>(raster.height), header);
  header.insert(header.end(), {8, static_cast<std::uint8_t>(colour), 0, 0, 0});
  WriteChunk("IHDR", header, sink);
  constexpr std::array<std::uint8_t, 1> perceptual = {0};
  if (IsScreenRgb(raster)) WriteChunk("sRGB", perceptual, sink);
  const std::vector<std::uint8_t> points = CodePointsOf(raster);
  if (!points.empty()) WriteChunk("cICP", points, sink);

  const std::size_t step = colour == grey ? 1 : colour == rgb ? 3 : 4;
  const std::size_t bytes = step * static_cast<std::size_t>(raster.width);
  SampleWriter samples(sink);
  RowFilter filter(bytes, step);
  std::vector<std::uint8_t> row;
  for (int y = 0; y < raster.height; ++y) {
    const auto source = raster.planes[0].Row(y);
    row.assign(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(bytes));
    for (std::size_t x = 0; step > 1 && x < bytes; x += step) std::swap(row[x], row[x + 2]);
    samples.Write(filter.Filter(row));
  }
  samples.Finish();
  WriteChunk("IEND", {}, sink);
}

}  // namespace kv_host::png
