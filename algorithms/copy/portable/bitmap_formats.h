#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "algorithms/copy/bitmap_component.h"
#include "algorithms/copy/portable/yuv_formats.h"

namespace kv_img::copy::portable {

/// Pixels of three or four bytes, in either order.
template <class PixelClass, int pixelBytes>
struct ByteFormat {
  using Block = RgbBlock;
  using Buffer = BufferOf<PixelClass>;

  static void Read(const Buffer& buffer, int row, int x, int pixels, Block& block) {
    const std::uint8_t* from = buffer.rows[row] + std::ptrdiff_t{pixelBytes} * x;
    const Offsets at(buffer.descriptor);
    for (int i = 0; i < pixels; ++i, from += pixelBytes) {
      block.blue[i] = from[at.blue];
      block.green[i] = from[at.green];
      block.red[i] = from[at.red];
      block.alpha[i] = pixelBytes == 4 ? from[at.alpha] : opaque;
    }
  }
  static void Write(const Buffer& buffer, int row, int x, int pixels, const Block& block) {
    std::uint8_t* to = buffer.rows[row] + std::ptrdiff_t{pixelBytes} * x;
    const Offsets at(buffer.descriptor);
    for (int i = 0; i < pixels; ++i, to += pixelBytes) {
      to[at.blue] = block.blue[i];
      to[at.green] = block.green[i];
      to[at.red] = block.red[i];
      if constexpr (pixelBytes == 4) to[at.alpha] = block.alpha[i];
    }
  }

 private:
  struct Offsets {
    std::ptrdiff_t blue, green, red, alpha;

    explicit Offsets(const PixelDescriptorDIB& descriptor)
        : blue(OffsetOf<PixelClass>(BitmapComponent::Blue, descriptor)),
          green(OffsetOf<PixelClass>(BitmapComponent::Green, descriptor)),
          red(OffsetOf<PixelClass>(BitmapComponent::Red, descriptor)),
          alpha(OffsetOf<PixelClass>(BitmapComponent::Alpha, descriptor)) {}
  };
};

template <>
struct Format<PixelDIB24> : ByteFormat<PixelDIB24, 3> {};
template <>
struct Format<PixelDIB32> : ByteFormat<PixelDIB32, 4> {};

/// Widens five and six bits to eight by repeating the upper bits in the lower ones.
constexpr std::uint8_t Widen5(int bits) {
  return static_cast<std::uint8_t>(bits << 3 | bits >> 2);
}
constexpr std::uint8_t Widen6(int bits) {
  return static_cast<std::uint8_t>(bits << 2 | bits >> 4);
}
static_assert(Widen5(31) == 255 && Widen5(16) == 132 && Widen6(63) == 255 && Widen6(32) == 130);

/// Little-endian words: from the lowest bit, five bits of blue, `greenBits` of green, five of red.
template <class PixelClass, int greenBits>
struct WordFormat {
  using Block = RgbBlock;
  using Buffer = BufferOf<PixelClass>;

  static void Read(const Buffer& buffer, int row, int x, int pixels, Block& block) {
    const std::uint8_t* from = buffer.rows[row] +
                               OffsetOf<PixelClass>(BitmapComponent::Blue, buffer.descriptor) +
                               std::ptrdiff_t{2} * x;
    for (int i = 0; i < pixels; ++i, from += 2) {
      const int word = from[0] | from[1] << 8;
      const int green = word >> 5 & ((1 << greenBits) - 1);
      block.blue[i] = Widen5(word & 31);
      block.green[i] = greenBits == 5 ? Widen5(green) : Widen6(green);
      block.red[i] = Widen5(word >> (5 + greenBits) & 31);
      block.alpha[i] = opaque;
    }
  }
};

template <>
struct Format<PixelDIB15> : WordFormat<PixelDIB15, 5> {};
template <>
struct Format<PixelDIB16> : WordFormat<PixelDIB16, 6> {};

}  // namespace kv_img::copy::portable
