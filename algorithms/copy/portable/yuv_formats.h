#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "algorithms/copy/portable/blocks.h"
#include "algorithms/copy/stored_row.h"
#include "algorithms/packed422/samples.h"
#include "algorithms/rounding.h"
#include "image/image.h"

namespace kv_img::copy::portable {

/// How the pixels of one format are read and written. Specialised per pixel class:
/// - `Block`, the kind of block that holds its pixels; of a YuvBlock, `hasChroma`;
/// - `Read(buffer, row, x, pixels, block)` fills a block with `pixels` pixels, starting at column x, a
///   multiple of blockPixels;
/// - `Write(buffer, row, x, pixels, block)` writes every sample of these pixels, up to 2 bytes past the last
///   pixel of the row. Bytes of a last group that belong to no pixel stay unchanged.
template <class PixelClass>
struct Format;

template <class PixelClass>
using BufferOf = typename Image<PixelClass>::Buffer;

inline void ReadPacked422(const std::uint8_t* from, PackedSamples samples, int pixels, YuvBlock& block) {
  for (int i = 0; i < pixels; ++i) block.luma[i] = from[samples.Luma(i)];
  for (int pair = 0; pair < PairsOf(pixels); ++pair) {
    block.cb[pair] = from[samples.Cb(2 * pair)];
    block.cr[pair] = from[samples.Cr(2 * pair)];
  }
}

inline void WritePacked422(std::uint8_t* to, PackedSamples samples, int pixels, const YuvBlock& block) {
  InterleaveSamples(block.luma, block.cb, block.cr, pixels, to, samples);
}

template <>
struct Format<PixelYUV422> {
  using Block = YuvBlock;
  using Buffer = BufferOf<PixelYUV422>;
  static constexpr bool hasChroma = true;

  static void Read(const Buffer& buffer, int row, int x, int pixels, Block& block) {
    ReadPacked422(buffer.rows[row] + PixelOffset(x), PackedSamples(buffer.descriptor), pixels, block);
    std::fill_n(block.alpha, pixels, opaque);
  }
  static void Write(const Buffer& buffer, int row, int x, int pixels, const Block& block) {
    WritePacked422(buffer.rows[row] + PixelOffset(x), PackedSamples(buffer.descriptor), pixels, block);
  }
};

template <>
struct Format<PixelYUVA422> {
  using Block = YuvBlock;
  using Buffer = BufferOf<PixelYUVA422>;
  static constexpr bool hasChroma = true;

  static void Read(const Buffer& buffer, int row, int x, int pixels, Block& block) {
    ReadPacked422(ColourRow(buffer, row) + PixelOffset(x), PackedSamples(buffer.descriptor), pixels, block);
    std::copy_n(StoredRow(buffer, PixelComponent::Alpha, row) + x, pixels, block.alpha);
  }
  static void Write(const Buffer& buffer, int row, int x, int pixels, const Block& block) {
    WritePacked422(ColourRow(buffer, row) + PixelOffset(x), PackedSamples(buffer.descriptor), pixels, block);
    std::copy_n(block.alpha, pixels, StoredRow(buffer, PixelComponent::Alpha, row) + x);
  }

 private:
  static std::uint8_t* ColourRow(const Buffer& buffer, int row) {
    return StoredRow(buffer, buffer.descriptor.GetComponent(0), row);
  }
};

template <>
struct Format<PixelYUV411P> {
  using Block = YuvBlock;
  using Buffer = BufferOf<PixelYUV411P>;
  static constexpr bool hasChroma = true;

  static void Read(const Buffer& buffer, int row, int x, int pixels, Block& block) {
    std::copy_n(StoredRow(buffer, buffer.descriptor.GetComponent(0), row) + x, pixels, block.luma);
    std::copy_n(StoredRow(buffer, PixelComponent::Cb, row) + x / 2, PairsOf(pixels), block.cb);
    std::copy_n(StoredRow(buffer, PixelComponent::Cr, row) + x / 2, PairsOf(pixels), block.cr);
    std::fill_n(block.alpha, pixels, opaque);
  }
  static void Write(const Buffer& buffer, int row, int x, int pixels, const Block& block) {
    std::copy_n(block.luma, pixels, StoredRow(buffer, buffer.descriptor.GetComponent(0), row) + x);
    std::copy_n(block.cb, PairsOf(pixels), StoredRow(buffer, PixelComponent::Cb, row) + x / 2);
    std::copy_n(block.cr, PairsOf(pixels), StoredRow(buffer, PixelComponent::Cr, row) + x / 2);
  }
};

/// The mean, rounded down, of samples 2 * index and 2 * index + 1 of `count`; a lone last one counts twice.
inline std::uint8_t MeanOfTwo(const std::uint8_t* samples, int count, int index) {
  return MeanDown(samples[2 * index], samples[std::min(2 * index + 1, count - 1)]);
}

/// Cb Y0 Y1 Cr Y2 Y3: four pixels in six bytes.
template <>
struct Format<PixelYUV411> {
  using Block = YuvBlock;
  using Buffer = BufferOf<PixelYUV411>;
  static constexpr bool hasChroma = true;

  static void Read(const Buffer& buffer, int row, int x, int pixels, Block& block) {
    const std::uint8_t* from = buffer.rows[row] + std::ptrdiff_t{x} / 4 * groupBytes;
    for (int i = 0; i < pixels; ++i) block.luma[i] = from[i / 4 * groupBytes + luma[i % 4]];
    for (int pair = 0; pair < PairsOf(pixels); ++pair) {
      block.cb[pair] = from[pair / 2 * groupBytes + cb];
      block.cr[pair] = from[pair / 2 * groupBytes + cr];
    }
    std::fill_n(block.alpha, pixels, opaque);
  }
  static void Write(const Buffer& buffer, int row, int x, int pixels, const Block& block) {
    std::uint8_t* to = buffer.rows[row] + std::ptrdiff_t{x} / 4 * groupBytes;
    for (int i = 0; i < pixels; ++i) to[i / 4 * groupBytes + luma[i % 4]] = block.luma[i];
    for (int quad = 0; quad < QuadsOf(pixels); ++quad) {
      to[quad * groupBytes + cb] = MeanOfTwo(block.cb, PairsOf(pixels), quad);
      to[quad * groupBytes + cr] = MeanOfTwo(block.cr, PairsOf(pixels), quad);
    }
  }

 private:
  static constexpr int groupBytes = 6;
  static constexpr int cb = 0;
  static constexpr int cr = 3;
  static constexpr int luma[4] = {1, 2, 4, 5};
};

/// Cb Y0 Cr Y1: four pixels in four bytes, of which two share a luma sample.
template <>
struct Format<PixelYUV211> {
  using Block = YuvBlock;
  using Buffer = BufferOf<PixelYUV211>;
  static constexpr bool hasChroma = true;

  static void Write(const Buffer& buffer, int row, int x, int pixels, const Block& block) {
    std::uint8_t* to = buffer.rows[row] + x;
    for (int pair = 0; pair < PairsOf(pixels); ++pair) {
      to[2 * pair + 1] = MeanOfTwo(block.luma, pixels, pair);
    }
    for (int quad = 0; quad < QuadsOf(pixels); ++quad) {
      to[4 * quad] = MeanOfTwo(block.cb, PairsOf(pixels), quad);
      to[4 * quad + 2] = MeanOfTwo(block.cr, PairsOf(pixels), quad);
    }
  }
};

/// Grey is luma without chroma.
template <>
struct Format<PixelNoColor<unsigned char>> {
  using Block = YuvBlock;
  using Buffer = BufferOf<PixelNoColor<unsigned char>>;
  static constexpr bool hasChroma = false;

  static void Read(const Buffer& buffer, int row, int x, int pixels, Block& block) {
    std::copy_n(buffer.rows[row] + x, pixels, block.luma);
    std::fill_n(block.cb, PairsOf(pixels), neutralChroma);
    std::fill_n(block.cr, PairsOf(pixels), neutralChroma);
    std::fill_n(block.alpha, pixels, opaque);
  }
  static void Write(const Buffer& buffer, int row, int x, int pixels, const Block& block) {
    std::copy_n(block.luma, pixels, buffer.rows[row] + x);
  }
};

}  // namespace kv_img::copy::portable
