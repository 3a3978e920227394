#pragma once

#include <algorithm>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "check/random.h"
#include "image/image.h"

namespace kv_check {

/// How the rows of a test image are placed in memory.
struct Placement {
  enum class Order { TopDown, BottomUp, Shuffled };
  Order order = Order::TopDown;
  /// Bytes after the pixels of a row that still belong to it.
  std::size_t slack = 8;
  /// Bytes between the end of a row's slack and the next row: guard bytes.
  std::size_t gap = 16;
  /// Offset of the first row from a 64-byte boundary.
  std::size_t offset = 0;

  static Placement Any(Random& random, std::size_t slack = 8) {
    Placement placement;
    placement.order = random.Pick({Order::TopDown, Order::BottomUp, Order::Shuffled});
    placement.slack = slack;
    placement.gap = static_cast<std::size_t>(random.Between(1, 40));
    placement.offset = static_cast<std::size_t>(random.Between(0, 63));
    return placement;
  }
};

/// An image whose rows are scattered in one arena of random bytes. A copy has equal bytes at equal places, so
/// the code under test works on one copy, the model on the other, and every byte of the arenas is compared:
/// pixels, slack and the guard bytes between and around the rows.
template <class PixelClass>
class TestImage {
 public:
  using ImageType = kv_img::Image<PixelClass>;

  TestImage(Random& random, int width, int height, const Placement& placement,
            kv_img::ImageOptions options = {})
      : width_(width), height_(height), options_(options) {
    if (!options_.storageFlag) options_.storageFlag = 0;
    const ImageType probe(width, height, options_);
    const auto rows = static_cast<std::size_t>(probe.GetStoredRowCount());
    const std::size_t stride = probe.Row(0).size() + placement.slack + placement.gap;
    offsets_.resize(rows);
    for (std::size_t row = 0; row < rows; ++row) offsets_[row] = guard + placement.offset + row * stride;
    if (placement.order == Placement::Order::BottomUp) std::reverse(offsets_.begin(), offsets_.end());
    if (placement.order == Placement::Order::Shuffled) {
      for (std::size_t row = rows; row > 1; --row) {
        std::swap(offsets_[row - 1],
                  offsets_[static_cast<std::size_t>(random.Between(0, static_cast<int>(row) - 1))]);
      }
    }
    size_ = guard + placement.offset + rows * stride + guard;
    Wrap();
    random.Fill(Arena());
  }

  TestImage(const TestImage& other)
      : width_(other.width_),
        height_(other.height_),
        options_(other.options_),
        offsets_(other.offsets_),
        size_(other.size_) {
    options_.properties = other->GetProperties();
    Wrap();
    std::copy_n(other.memory_, size_, memory_);
  }
  TestImage& operator=(const TestImage&) = delete;

  ImageType& operator*() { return *image_; }
  const ImageType& operator*() const { return *image_; }
  ImageType* operator->() { return image_.get(); }
  const ImageType* operator->() const { return image_.get(); }

  std::span<std::uint8_t> Arena() { return {memory_, size_}; }

  /// Empty when every byte of both arenas and the properties are equal; otherwise where the first difference
  /// is.
  std::string DifferenceFrom(const TestImage& other) const {
    std::ostringstream text;
    if (!((*this)->GetProperties() == other->GetProperties())) text << "properties differ; ";
    for (std::size_t at = 0; at < size_; ++at) {
      if (memory_[at] == other.memory_[at]) continue;
      text << "byte " << at << " is " << int{memory_[at]} << ", not " << int{other.memory_[at]}
           << Nearest(at);
      break;
    }
    return text.str();
  }

 private:
  static constexpr std::size_t guard = 64;

  void Wrap() {
    storage_.resize(size_ + 63);
    const auto address = reinterpret_cast<std::uintptr_t>(storage_.data());
    memory_ = storage_.data() + (64 - address % 64) % 64;
    std::vector<std::uint8_t*> rows;
    for (const std::size_t offset : offsets_) rows.push_back(memory_ + offset);
    image_ = std::make_unique<ImageType>(width_, height_, kv_img::WrappedRows::Separate(rows), options_);
  }

  std::string Nearest(std::size_t at) const {
    std::size_t best = 0;
    long distance = static_cast<long>(size_);
    for (std::size_t row = 0; row < offsets_.size(); ++row) {
      const long candidate = static_cast<long>(at) - static_cast<long>(offsets_[row]);
      if (candidate >= 0 && candidate < distance) {
        distance = candidate;
        best = row;
      }
    }
    std::ostringstream text;
    text << " (stored row " << best << ", byte " << distance << "; image " << width_ << " x " << height_
         << ")";
    return text.str();
  }

  int width_;
  int height_;
  kv_img::ImageOptions options_;
  std::vector<std::size_t> offsets_;
  std::size_t size_ = 0;
  std::vector<std::uint8_t> storage_;
  std::uint8_t* memory_ = nullptr;
  std::unique_ptr<ImageType> image_;
};

using Yuv422 = kv_img::Image<kv_img::PixelYUV422>;
using Yuva422 = kv_img::Image<kv_img::PixelYUVA422>;
using Yuv411P = kv_img::Image<kv_img::PixelYUV411P>;
using Dib15 = kv_img::Image<kv_img::PixelDIB15>;
using Dib16 = kv_img::Image<kv_img::PixelDIB16>;
using Dib24 = kv_img::Image<kv_img::PixelDIB24>;
using Dib32 = kv_img::Image<kv_img::PixelDIB32>;
using Grey8 = kv_img::Image<kv_img::PixelNoColor<unsigned char>>;

/// Options with a layout code and a field parity, the ones that tests vary most.
inline kv_img::ImageOptions Options(std::int32_t layout, int fieldParity = 0) {
  kv_img::ImageOptions options;
  options.layout = layout;
  options.properties.fieldParity = static_cast<std::uint8_t>(fieldParity);
  return options;
}

}  // namespace kv_check
