#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "host/formats/png_chunks.h"
#include "host/formats/png_samples.h"
#include "host/formats/png_zlib.h"

namespace kv_host::png {
namespace {

struct Header {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  unsigned depth = 0;
  std::uint8_t colour = grey;
  bool isInterlaced = false;

  unsigned Channels() const {
    constexpr std::array<unsigned, 7> channels = {1, 0, 3, 1, 2, 0, 4};
    return channels[colour];
  }
  std::size_t RowBytes(unsigned columns) const { return (std::size_t{columns} * Channels() * depth + 7) / 8; }
  std::size_t Step() const { return std::max(1U, Channels() * depth / 8); }

  bool IsValid() const {
    if (width == 0 || height == 0 || width > LongestSide || height > LongestSide) return false;
    switch (colour) {
      case grey:
        return depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16;
      case palette:
        return depth == 1 || depth == 2 || depth == 4 || depth == 8;
      case rgb:
      case greyAlpha:
      case rgbAlpha:
        return depth == 8 || depth == 16;
      default:
        return false;
    }
  }
};

/// 16 bits rounded to 8.
std::uint8_t HighByte(unsigned sample) {
  return static_cast<std::uint8_t>((sample * 255 + 32895) >> 16U);
}

class ZlibDecoder {
 public:
  explicit ZlibDecoder(ByteSource& source) : source_(source), chunks_(source) {}

  Raster Read() {
    std::array<std::uint8_t, signature.size()> passedOver{};
    source_.ReadSome(passedOver);
    ReadUntilSamples();
    const bool hasAlpha = header_.colour == greyAlpha || header_.colour == rgbAlpha || !transparent_.empty();
    const bool isGrey = !hasAlpha && header_.colour == grey;
    channels_ = isGrey ? 1 : hasAlpha ? 4 : 3;
    const RasterKind kind = isGrey ? RasterKind::Grey8 : hasAlpha ? RasterKind::Dib32 : RasterKind::Dib24;
    const std::string problem = SizeProblem(header_.width, header_.height);
    if (!problem.empty()) source_.Fail(problem);
    Raster raster = MakeEmptyRaster(kind, static_cast<int>(header_.width), static_cast<int>(header_.height));
    if (!codePoints_.empty()) {
      CodePoints::Of(std::span<const std::uint8_t>(codePoints_).first<CodePoints::size>(), source_)
          .Declare(raster);
    }
    ReadSamples(raster);
    ReadToEnd();
    return raster;
  }

 private:
  void ReadHeader() {
    if (hasHeader_) chunks_.FailInChunk("out of place");
    if (chunks_.Length() != 13) chunks_.FailInChunk("invalid");
    std::array<std::uint8_t, 13> data{};
    chunks_.Take(data);
    chunks_.End();
    header_.width = BigEndian(data);
    header_.height = BigEndian(std::span(data).subspan(4));
    if (std::max(header_.width, header_.height) > 0x7FFFFFFF)
      chunks_.Fail("PNG unsigned integer out of range");
    header_.depth = data[8];
    header_.colour = data[9];
    header_.isInterlaced = data[12] == 1;
    if (!header_.IsValid() || data[10] != 0 || data[11] != 0 || data[12] > 1)
      chunks_.Fail("Invalid IHDR data");
    hasHeader_ = true;
  }

  void ReadUntilSamples() {
    for (;;) {
      chunks_.Begin();
      if (chunks_.Is("IHDR")) {
        ReadHeader();
      } else if (chunks_.Is("IDAT")) {
        if (!hasHeader_) chunks_.FailInChunk("Missing IHDR before IDAT");
        if (header_.colour == palette && !hasPalette_) chunks_.FailInChunk("Missing PLTE before IDAT");
        return;
      } else if (chunks_.Is("IEND")) {
        chunks_.FailInChunk("out of place");
      } else if (chunks_.Is("PLTE")) {
        ReadPalette();
      } else if (chunks_.Is("tRNS")) {
        ReadTransparency();
      } else if (chunks_.Is("cICP") && codePoints_.empty() && chunks_.Length() == CodePoints::size) {
        codePoints_ = chunks_.TakeAll();
        chunks_.End();  // they count with a wrong check sum too
      } else {
        PassOver();
      }
    }
  }

  void PassOver() {
    chunks_.End();
    if (!chunks_.IsAncillary()) chunks_.FailInChunk("unhandled critical chunk");
  }

  /// Colours for other pictures than those with a palette are suggestions for old screens.
  void ReadPalette() {
    if (!hasHeader_) chunks_.FailInChunk("missing IHDR");
    if (hasPalette_) chunks_.FailInChunk("duplicate");
    hasPalette_ = true;
    if (header_.colour == grey || header_.colour == greyAlpha) {
      chunks_.End();
      return;
    }
    const bool isNeeded = header_.colour == palette;
    if (chunks_.Length() > 768 || chunks_.Length() % 3 != 0) {
      chunks_.End();
      if (isNeeded) chunks_.FailInChunk("invalid");
      return;
    }
    if (isNeeded) {
      std::array<std::uint8_t, 768> colours{};
      chunks_.Take(std::span(colours).first(std::min<std::size_t>(chunks_.Length(), 3U << header_.depth)));
      std::ranges::copy(colours, palette_.begin());
    }
    colourCount_ = std::min(chunks_.Length() / 3, 1U << std::min(header_.depth, 8U));
    chunks_.End();
    if (chunks_.Length() == 0) chunks_.Fail("Invalid palette");
  }

  /// What the chunk must hold depends on the colours; one that does not fit does not count.
  void ReadTransparency() {
    if (!hasHeader_) chunks_.FailInChunk("missing IHDR");
    const std::uint32_t length = chunks_.Length();
    const bool fits = (header_.colour == grey && length == 2) || (header_.colour == rgb && length == 6) ||
                      (header_.colour == palette && hasPalette_ && length != 0 && length <= colourCount_);
    if (!fits || !transparent_.empty()) {
      chunks_.End();
      return;
    }
    transparent_ = chunks_.TakeAll();
    if (!chunks_.End()) transparent_.clear();
  }

  void ReadSamples(Raster& raster) {
    SampleReader samples(chunks_);
    std::vector<std::uint8_t>& out = raster.planes[0].bytes;
    if (header_.isInterlaced) {
      std::vector<std::uint8_t> pixels;
      for (const Pass& pass : passes) {
        ReadRows(samples, pass.Columns(header_.width), pass.Rows(header_.width, header_.height), pixels);
      }
      samples.Finish();
      WeavePasses(pixels, channels_, raster);
    } else {
      ReadRows(samples, header_.width, header_.height, out);
      samples.Finish();
    }
  }

  /// Appends rows one by one, so that memory grows with what the file really holds.
  void ReadRows(SampleReader& samples, unsigned columns, unsigned rows,
                std::vector<std::uint8_t>& out) const {
    samples.Start(header_.RowBytes(columns), header_.Step());
    for (unsigned y = 0; y < rows; ++y) {
      const auto row = samples.Next();
      const std::size_t start = out.size();
      out.resize(start + columns * channels_);
      for (unsigned x = 0; x < columns; ++x) Expand(row, x, out.data() + start + x * channels_);
    }
  }

  unsigned Sample(std::span<const std::uint8_t> row, std::size_t index) const {
    if (header_.depth == 8) return row[index];
    if (header_.depth == 16) return row[2 * index] * 256U + row[2 * index + 1];
    const std::size_t bit = index * header_.depth;
    return row[bit / 8] >> (8 - header_.depth - bit % 8) & ((1U << header_.depth) - 1);
  }
  std::uint8_t Scaled(unsigned sample) const {
    if (header_.depth == 16) return HighByte(sample);
    return static_cast<std::uint8_t>(sample * 255 / ((1U << header_.depth) - 1));
  }

  /// Pixel `x` of a row as bytes grey; blue, green, red; or these and alpha.
  void Expand(std::span<const std::uint8_t> row, std::size_t x, std::uint8_t* pixel) const {
    if (header_.colour == palette) {
      const unsigned index = Sample(row, x);
      for (unsigned i = 0; i < 3; ++i) pixel[i] = palette_[3 * index + 2 - i];
      if (channels_ == 4) pixel[3] = index < transparent_.size() ? transparent_[index] : 255;
      return;
    }
    const unsigned channels = header_.Channels();
    std::array<unsigned, 4> samples{};
    for (unsigned i = 0; i < channels; ++i) samples[i] = Sample(row, x * channels + i);
    if (channels_ == 1) {
      pixel[0] = Scaled(samples[0]);
      return;
    }
    for (unsigned i = 0; i < 3; ++i) pixel[i] = Scaled(samples[channels < 3 ? 0 : 2 - i]);
    if (channels_ != 4) return;
    pixel[3] = transparent_.empty()               ? Scaled(samples[channels - 1])
               : IsTransparent(samples, channels) ? 0
                                                  : 255;
  }

  bool IsTransparent(const std::array<unsigned, 4>& samples, unsigned channels) const {
    for (unsigned i = 0; i < channels; ++i) {
      const unsigned value = transparent_[2 * i] * 256U + transparent_[2 * i + 1];
      if (samples[i] != (value & ((1U << header_.depth) - 1))) return false;
    }
    return true;
  }

  void ReadToEnd() {
    for (;;) {
      chunks_.Begin();
      if (chunks_.Is("IEND")) {
        chunks_.End();
        return;
      }
      if (chunks_.Is("IHDR")) chunks_.FailInChunk("out of place");
      chunks_.End();
    }
  }

  ByteSource& source_;
  ChunkReader chunks_;
  Header header_;
  bool hasHeader_ = false;
  bool hasPalette_ = false;
  std::array<std::uint8_t, 768> palette_{};
  unsigned colourCount_ = 0;
  std::vector<std::uint8_t> transparent_;  // the tRNS chunk
  std::vector<std::uint8_t> codePoints_;   // the cICP chunk
  std::size_t channels_ = 1;
};

}  // namespace

Raster ReadByZlib(ByteSource& source) {
  RequireSignature(source);
  return ZlibDecoder(source).Read();
}

}  // namespace kv_host::png
