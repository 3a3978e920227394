#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <tuple>
#include <vector>

#include "image/image.h"
#include "image/image_rect.h"
#include "image/run_region.h"

namespace kv_bench {

using kv_img::PixelDIB15;
using kv_img::PixelDIB16;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV411P;
using kv_img::PixelYUV422;
using kv_img::PixelYUVA422;
using PixelGrey = kv_img::PixelNoColor<unsigned char>;

/// The images of one call, made and filled with noise when they are first asked for.
class Scene {
 public:
  Scene(int width, int height) : width(width), height(height) {}

  const int width;
  const int height;

  /// One of up to three images of a class; the second of 4:2:2 is chroma-first when `isSwapped`.
  template <class Pixel, int number = 0>
  kv_img::Image<Pixel>& Picture(bool isSwapped = false) {
    auto& image = std::get<std::array<std::unique_ptr<kv_img::Image<Pixel>>, 3>>(pictures_)[number];
    if (image == nullptr) {
      kv_img::ImageOptions options;
      if (isSwapped) options.layout = kv_img::PixelLayout::chromaFirst;
      image = std::make_unique<kv_img::Image<Pixel>>(width, height, options);
      FillWithNoise(image->GetPixelBuffer().rows[0], image->GetPixelBuffer().totalBytes);
    }
    return *image;
  }
  /// All pixels, as runs.
  const kv_img::RunRegion& Runs() {
    if (runs_ == nullptr)
      runs_ = std::make_unique<kv_img::RunRegion>(kv_img::ImageRect(0, 0, width - 1, height - 1));
    return *runs_;
  }
  /// A fourth 8-bit image.
  kv_img::Image<PixelGrey>& MoreGrey() {
    if (moreGrey_ == nullptr) moreGrey_ = std::make_unique<kv_img::Image<PixelGrey>>(width, height);
    return *moreGrey_;
  }
  /// Bytes that belong to no image: two of these are what memcpy works on.
  std::vector<std::uint8_t>& Bytes(int number, std::size_t size) {
    auto& bytes = bytes_[static_cast<std::size_t>(number)];
    if (bytes.size() != size) {
      bytes.resize(size);
      FillWithNoise(bytes.data(), size);
    }
    return bytes;
  }

 private:
  template <class Pixel>
  using Pictures = std::array<std::unique_ptr<kv_img::Image<Pixel>>, 3>;

  static void FillWithNoise(std::uint8_t* bytes, std::size_t size) {
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < size; ++i) {
      state = state * 1664525U + 1013904223U;
      bytes[i] = static_cast<std::uint8_t>(state >> 24);
    }
  }

  std::tuple<Pictures<PixelYUV422>, Pictures<PixelYUVA422>, Pictures<PixelYUV411P>, Pictures<PixelDIB15>,
             Pictures<PixelDIB16>, Pictures<PixelDIB24>, Pictures<PixelDIB32>, Pictures<PixelGrey>>
      pictures_;
  std::unique_ptr<kv_img::Image<PixelGrey>> moreGrey_;
  std::unique_ptr<kv_img::RunRegion> runs_;
  std::array<std::vector<std::uint8_t>, 4> bytes_;
};

/// The first row of an image and its stride, as peers take them.
template <class ImageType>
std::uint8_t* Start(ImageType& image) {
  return image.GetPixelBuffer().rows[0];
}
template <class ImageType>
int Stride(ImageType& image) {
  return image.GetPixelBuffer().bytesPerRow;
}

}  // namespace kv_bench
