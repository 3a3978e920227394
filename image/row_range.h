#pragma once

#include "image/image.h"

namespace kv_img {

/// The rows of an image from top to bottom, for loops: `for (auto row : Rows(image))`.
template <class ImageType>
class RowRange {
 public:
  class Iterator {
   public:
    Iterator(ImageType* image, int row) : image_(image), row_(row) {}
    auto operator*() const { return image_->Row(row_); }
    Iterator& operator++() {
      ++row_;
      return *this;
    }
    bool operator==(const Iterator&) const = default;

   private:
    ImageType* image_;
    int row_;
  };

  explicit RowRange(ImageType& image) : image_(&image) {}
  Iterator begin() const { return {image_, 0}; }
  Iterator end() const { return {image_, static_cast<int>(image_->GetHeight())}; }

 private:
  ImageType* image_;
};

/// Each element is a row's bytes as `Image::Row` gives them; read-only of a const image.
template <class ImageType>
RowRange<ImageType> Rows(ImageType& image) {
  return RowRange<ImageType>(image);
}

}  // namespace kv_img
