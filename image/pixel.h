#pragma once

#include <cstdint>

#include "image/export.h"

namespace kv_img {

/// A pixel as a value that any bitmap pixel can be built from.
class KV_IMAGE_API Pixel {
 public:
  virtual ~Pixel();
  /// Components 0 to 255; alpha 255 is opaque.
  virtual std::uint8_t GetBlue() const = 0;
  virtual std::uint8_t GetGreen() const = 0;
  virtual std::uint8_t GetRed() const = 0;
  virtual std::uint8_t GetAlpha() const = 0;

 protected:
  Pixel() = default;
  Pixel(const Pixel&) = default;
  Pixel& operator=(const Pixel&) = default;
};

// Every pixel class publishes three constants: ClassID, its unique identifier (the key by which members are
// asked for implementations); NbrOfBitsPerPixel, bits that a pixel takes in its row (in a packed or luma row
// of the planar classes); ComponentTypeSize, bytes of a component.

/// Packed YUV 4:2:2, the main video format: two pixels share four bytes.
class KV_IMAGE_API PixelYUV422 {
 public:
  static const std::int32_t ClassID;
  static const std::uint32_t NbrOfBitsPerPixel;
  static const std::uint32_t ComponentTypeSize;
};

/// YUV 4:2:2 rows followed by a plane of alpha rows.
class KV_IMAGE_API PixelYUVA422 {
 public:
  static const std::int32_t ClassID;
  static const std::uint32_t NbrOfBitsPerPixel;
  static const std::uint32_t ComponentTypeSize;
};

/// Planar YUV: luma rows, then Cb rows, then Cr rows; a chroma sample belongs to two pixels of its row.
class KV_IMAGE_API PixelYUV411P {
 public:
  static const std::int32_t ClassID;
  static const std::uint32_t NbrOfBitsPerPixel;
  static const std::uint32_t ComponentTypeSize;
};

/// Packed YUV 4:1:1: four pixels share six bytes, Cb Y0 Y1 Cr Y2 Y3.
class KV_IMAGE_API PixelYUV411 {
 public:
  static const std::int32_t ClassID;
  static const std::uint32_t NbrOfBitsPerPixel;
  static const std::uint32_t ComponentTypeSize;
};

/// YUV 2:1:1: luma and chroma at half the horizontal resolution, two pixels share a luma sample.
class KV_IMAGE_API PixelYUV211 {
 public:
  static const std::int32_t ClassID;
  static const std::uint32_t NbrOfBitsPerPixel;
  static const std::uint32_t ComponentTypeSize;
};

/// 24-bit bitmap pixel: blue, green, red. Also a value, opaque.
class KV_IMAGE_API PixelDIB24 final : public Pixel {
 public:
  static const std::int32_t ClassID;
  static const std::uint32_t NbrOfBitsPerPixel;
  static const std::uint32_t ComponentTypeSize;

  PixelDIB24(std::uint8_t blue, std::uint8_t green, std::uint8_t red);
  explicit PixelDIB24(const Pixel& other);
  PixelDIB24(const PixelDIB24&) = default;
  PixelDIB24& operator=(const PixelDIB24&) = default;
  ~PixelDIB24() override;

  std::uint8_t GetBlue() const override { return blue_; }
  std::uint8_t GetGreen() const override { return green_; }
  std::uint8_t GetRed() const override { return red_; }
  std::uint8_t GetAlpha() const override { return 255; }

 private:
  std::uint8_t blue_;
  std::uint8_t green_;
  std::uint8_t red_;
};

/// 32-bit bitmap pixel: blue, green, red, alpha. Also a value.
class KV_IMAGE_API PixelDIB32 final : public Pixel {
 public:
  static const std::int32_t ClassID;
  static const std::uint32_t NbrOfBitsPerPixel;
  static const std::uint32_t ComponentTypeSize;

  PixelDIB32(std::uint8_t blue, std::uint8_t green, std::uint8_t red, std::uint8_t alpha = 255);
  explicit PixelDIB32(const Pixel& other);
  PixelDIB32(const PixelDIB32&) = default;
  PixelDIB32& operator=(const PixelDIB32&) = default;
  ~PixelDIB32() override;

  std::uint8_t GetBlue() const override { return blue_; }
  std::uint8_t GetGreen() const override { return green_; }
  std::uint8_t GetRed() const override { return red_; }
  std::uint8_t GetAlpha() const override { return alpha_; }

 private:
  std::uint8_t blue_;
  std::uint8_t green_;
  std::uint8_t red_;
  std::uint8_t alpha_;
};

/// 15-bit bitmap pixel: a little-endian word, five bits each of red, green and blue under a zero bit.
class KV_IMAGE_API PixelDIB15 {
 public:
  static const std::int32_t ClassID;
  static const std::uint32_t NbrOfBitsPerPixel;
  static const std::uint32_t ComponentTypeSize;
};

/// 16-bit bitmap pixel: a little-endian word, five bits of red, six of green, five of blue.
class KV_IMAGE_API PixelDIB16 {
 public:
  static const std::int32_t ClassID;
  static const std::uint32_t NbrOfBitsPerPixel;
  static const std::uint32_t ComponentTypeSize;
};

/// One component without colour: masks and grey levels.
template <class Component>
class PixelNoColor;

template <>
class KV_IMAGE_API PixelNoColor<unsigned char> {
 public:
  static const std::int32_t ClassID;
  static const std::uint32_t NbrOfBitsPerPixel;
  static const std::uint32_t ComponentTypeSize;
};

}  // namespace kv_img
