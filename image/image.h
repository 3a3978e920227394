#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "image/pixel.h"
#include "image/pixel_buffer.h"
#include "image/pixel_descriptor.h"

namespace kv_img {

/// The part of an image that does not depend on its pixel class.
class KV_IMAGE_API IImage {
 public:
  virtual ~IImage();
  /// Code of the component order; images with equal codes store their components in the same byte order.
  virtual std::int32_t GetPixelLayout() const = 0;
  virtual VideoImageProperties& GetProperties() = 0;
  virtual const VideoImageProperties& GetProperties() const = 0;
  /// Pixels.
  virtual std::uint32_t GetWidth() const = 0;
  /// Rows.
  virtual std::uint32_t GetHeight() const = 0;
};

/// How an image is made. Every field has a sensible default.
struct ImageOptions {
  /// Component order; none: the class's usual one (4:2:2: luma first; bitmaps: blue first).
  std::optional<std::int32_t> layout;
  VideoImageProperties properties;
  /// None: chosen so that images take the block path of same-layout copies only if both have the same stride.
  /// With none, rows that are not contiguous also get `propertyFlag` 1.
  std::optional<std::uint8_t> storageFlag;
  /// Owned images: bytes after each row that belong to it; at least 8.
  std::size_t rowSlack = 8;
  /// Owned images: further bytes after the last row.
  std::size_t spareBytes = 0;
};

/// Rows that the caller owns. The image that wraps them must not outlive them.
///
/// Planar classes and 4:2:2 with alpha take the rows of all planes one after the other: luma, Cb, Cr, or
/// colour, alpha.
class KV_IMAGE_API WrappedRows {
 public:
  /// Row y starts at firstRow + y * stride. A negative stride is a bottom-up picture, `firstRow` its top row.
  static WrappedRows Strided(std::uint8_t* firstRow, std::ptrdiff_t stride);
  /// Row y starts at rows[y].
  static WrappedRows Separate(std::span<std::uint8_t* const> rows);

 private:
  friend class ImageMemory;
  std::uint8_t* firstRow_ = nullptr;
  std::ptrdiff_t stride_ = 0;
  std::vector<std::uint8_t*> separate_;
  bool isStrided_ = false;
};

/// What the memory of an image needs to know of its pixels.
struct RowGeometry {
  std::size_t pixelBytes;  ///< of a row, the pixels alone
  std::size_t groupBytes;  ///< of a row, the last pixel group completed
  std::size_t storedRows;  ///< rows of all planes
};

/// The rows of an image, owned or wrapped.
class KV_IMAGE_API ImageMemory {
 public:
  /// Owned rows without `rows`: zero-filled, each on a 64-byte boundary. Throws AlgoException code 2 for a
  /// null row, too few rows or a stride that is too short.
  ImageMemory(const RowGeometry& geometry, const WrappedRows* rows, const ImageOptions& options);
  ImageMemory(const ImageMemory&) = delete;
  ImageMemory& operator=(const ImageMemory&) = delete;
  ~ImageMemory();

  std::uint8_t** Rows() { return rows_.data(); }
  std::uint8_t* Data() const { return data_; }
  std::int32_t BytesPerRow() const { return bytesPerRow_; }
  std::uint64_t TotalBytes() const { return totalBytes_; }
  std::uint8_t StorageFlag() const { return storageFlag_; }
  bool AreRowsApart() const { return areRowsApart_; }

 private:
  void Own(const RowGeometry& geometry, const ImageOptions& options);
  void Wrap(const RowGeometry& geometry, const WrappedRows& rows);

  struct AlignedFree {
    void operator()(std::uint8_t* memory) const noexcept;
  };
  std::unique_ptr<std::uint8_t[], AlignedFree> owned_;
  std::vector<std::uint8_t*> rows_;
  std::uint8_t* data_ = nullptr;
  std::int32_t bytesPerRow_ = 0;
  std::uint64_t totalBytes_ = 0;
  std::uint8_t storageFlag_ = 0;
  bool areRowsApart_ = false;
};

/// The pixel descriptor of a pixel class.
template <class PixelClass>
struct DescriptorOf {
  using Type = PixelDescriptorYUV;
};
struct DescriptorOfBitmap {
  using Type = PixelDescriptorDIB;
};
template <>
struct DescriptorOf<PixelDIB24> : DescriptorOfBitmap {};
template <>
struct DescriptorOf<PixelDIB32> : DescriptorOfBitmap {};
template <>
struct DescriptorOf<PixelDIB15> : DescriptorOfBitmap {};
template <>
struct DescriptorOf<PixelDIB16> : DescriptorOfBitmap {};
template <>
struct DescriptorOf<PixelNoColor<unsigned char>> {
  using Type = PixelDescriptor;
};

/// Largest width and height of an image.
inline constexpr int maxImageSide = 1 << 20;

/// An image of one pixel class. Width and height from 1 up, odd ones too, in every class.
///
/// Owns its memory or wraps the caller's rows. Threads may read one image at once; writers share it by rows.
template <class PixelClass>
class KV_IMAGE_API Image final : public IImage {
 public:
  using Descriptor = typename DescriptorOf<PixelClass>::Type;
  using Buffer = PixelBuffer<Descriptor>;

  /// Identifier of the image type, distinct from that of the pixel class.
  static const std::int32_t ClassID;

  /// An image that owns zero-filled rows. Throws AlgoException code 2 naming the parameter for a width or
  /// height that is not 1 to maxImageSide, before anything is allocated.
  Image(int width, int height, const ImageOptions& options = {});
  /// An image over the caller's rows. Throws AlgoException code 2 for a wrong size, a null row, too few rows
  /// or a stride shorter than a row.
  Image(int width, int height, const WrappedRows& rows, const ImageOptions& options = {});
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image() override;

  std::int32_t GetPixelLayout() const override;
  VideoImageProperties& GetProperties() override;
  const VideoImageProperties& GetProperties() const override;
  std::uint32_t GetWidth() const override;
  std::uint32_t GetHeight() const override;
  /// For writing.
  virtual Buffer& GetPixelBuffer();
  /// For reading.
  virtual const Buffer& GetPixelBuffer() const;

  /// Number of stored rows, those of all planes.
  int GetStoredRowCount() const;
  /// Image row `row`, 0 to height - 1, of packed and bitmap classes; of classes with planes the luma or
  /// colour row. Owned rows include the whole last pixel group, wrapped ones end with the last pixel.
  std::span<std::uint8_t> Row(int row) { return PlaneRow(PixelComponent::Luma, row); }
  std::span<const std::uint8_t> Row(int row) const { return PlaneRow(PixelComponent::Luma, row); }
  /// Row `row` of the plane that holds `component`.
  std::span<std::uint8_t> PlaneRow(PixelComponent::COMPONENT component, int row) {
    return {buffer_.rows[StoredRow(component, row)], PlaneRowBytes(component)};
  }
  std::span<const std::uint8_t> PlaneRow(PixelComponent::COMPONENT component, int row) const {
    return {buffer_.rows[StoredRow(component, row)], PlaneRowBytes(component)};
  }

 private:
  Image(int width, int height, const WrappedRows* rows, const ImageOptions& options);
  int StoredRow(PixelComponent::COMPONENT component, int row) const {
    const auto height = static_cast<std::uint32_t>(buffer_.height);
    return static_cast<int>(buffer_.descriptor.planeStart[component] * height / 8U) + row;
  }
  std::size_t PlaneRowBytes(PixelComponent::COMPONENT component) const;

  ImageMemory memory_;
  Buffer buffer_;
  bool isOwner_;
};

// On Windows a library exports no inline member of a template: each module instantiates the small ones above.
#if !defined(_WIN32)
extern template class Image<PixelYUV422>;
extern template class Image<PixelYUVA422>;
extern template class Image<PixelYUV411P>;
extern template class Image<PixelYUV411>;
extern template class Image<PixelYUV211>;
extern template class Image<PixelDIB24>;
extern template class Image<PixelDIB32>;
extern template class Image<PixelDIB15>;
extern template class Image<PixelDIB16>;
extern template class Image<PixelNoColor<unsigned char>>;
#endif

}  // namespace kv_img
