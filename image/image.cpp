#include "image/image.h"

#include <string>
#include <type_traits>

#include "image/errors/exceptions.h"

namespace kv_img {
namespace {

// What the image template needs to know of a pixel class. A group is the fewest pixels that fill whole bytes
// and samples; `planes` counts the rows that are stored for one row of the image.
struct PixelInfo {
  std::int32_t imageClassId;
  std::int32_t usualLayout;
  std::size_t bitsPerPixel;
  std::size_t groupPixels;
  std::size_t planes;
  YuvArrangement arrangement;
};

template <class PixelClass>
constexpr PixelInfo infoOf{};

using enum YuvArrangement;
template <>
constexpr PixelInfo infoOf<PixelYUV422>{1101, PixelLayout::lumaFirst, 16, 2, 1, Packed422};
template <>
constexpr PixelInfo infoOf<PixelYUVA422>{1102, PixelLayout::lumaFirst, 16, 2, 2, Packed422Alpha};
template <>
constexpr PixelInfo infoOf<PixelYUV411P>{1103, PixelLayout::planar, 8, 1, 3, Planar};
template <>
constexpr PixelInfo infoOf<PixelYUV411>{1104, PixelLayout::packed411, 12, 4, 1, Packed411};
template <>
constexpr PixelInfo infoOf<PixelYUV211>{1105, PixelLayout::packed211, 8, 4, 1, Packed211};
template <>
constexpr PixelInfo infoOf<PixelDIB24>{1201, PixelLayout::blueFirst, 24, 1, 1, {}};
template <>
constexpr PixelInfo infoOf<PixelDIB32>{1202, PixelLayout::blueFirst, 32, 1, 1, {}};
template <>
constexpr PixelInfo infoOf<PixelDIB15>{1203, PixelLayout::blueFirst, 16, 1, 1, {}};
template <>
constexpr PixelInfo infoOf<PixelDIB16>{1204, PixelLayout::blueFirst, 16, 1, 1, {}};
template <>
constexpr PixelInfo infoOf<PixelNoColor<unsigned char>>{1301, PixelLayout::grey, 8, 1, 1, {}};

constexpr std::size_t WholeGroups(const PixelInfo& info, int width) {
  return (static_cast<std::size_t>(width) + info.groupPixels - 1) / info.groupPixels * info.groupPixels;
}

void CheckSide(const wchar_t* name, int pixels) {
  if (pixels >= 1 && pixels <= maxImageSide) return;
  const std::wstring parameter = std::wstring(name) + L" (" + std::to_wstring(pixels) + L", must be 1 to " +
                                 std::to_wstring(maxImageSide) + L")";
  throw AlgoException(2, parameter.c_str(), L"Image::Image");
}

RowGeometry GeometryOf(const PixelInfo& info, int width, int height) {
  CheckSide(L"width", width);
  CheckSide(L"height", height);
  return {(static_cast<std::size_t>(width) * info.bitsPerPixel + 7) / 8,
          WholeGroups(info, width) * info.bitsPerPixel / 8, static_cast<std::size_t>(height) * info.planes};
}

template <class Descriptor>
Descriptor MakeDescriptor(const PixelInfo& info, const ImageOptions& options) {
  const std::int32_t layout = options.layout.value_or(info.usualLayout);
  if constexpr (std::is_same_v<Descriptor, PixelDescriptorYUV>) {
    return Descriptor(layout, info.arrangement);
  } else {
    Descriptor descriptor(layout);
    // Words of 15 and 16 bits have no component order to choose.
    if (info.bitsPerPixel == 16) descriptor.layoutFlags &= ~PixelDescriptorDIB::secondRowMask;
    return descriptor;
  }
}

}  // namespace

IImage::~IImage() = default;

template <class PixelClass>
const std::int32_t Image<PixelClass>::ClassID = infoOf<PixelClass>.imageClassId;

template <class PixelClass>
Image<PixelClass>::Image(int width, int height, const ImageOptions& options)
    : Image(width, height, nullptr, options) {}

template <class PixelClass>
Image<PixelClass>::Image(int width, int height, const WrappedRows& rows, const ImageOptions& options)
    : Image(width, height, &rows, options) {}

template <class PixelClass>
Image<PixelClass>::Image(int width, int height, const WrappedRows* rows, const ImageOptions& options)
    : memory_(GeometryOf(infoOf<PixelClass>, width, height), rows, options),
      buffer_{memory_.Rows(),
              memory_.Data(),
              MakeDescriptor<Descriptor>(infoOf<PixelClass>, options),
              width,
              height,
              options.properties,
              memory_.BytesPerRow(),
              memory_.StorageFlag(),
              memory_.TotalBytes()},
      isOwner_(rows == nullptr) {
  if (memory_.AreRowsApart()) buffer_.properties.propertyFlag = 1;
}

template <class PixelClass>
Image<PixelClass>::~Image() = default;

template <class PixelClass>
std::int32_t Image<PixelClass>::GetPixelLayout() const {
  return buffer_.descriptor.GetLayout();
}

template <class PixelClass>
VideoImageProperties& Image<PixelClass>::GetProperties() {
  return buffer_.properties;
}

template <class PixelClass>
const VideoImageProperties& Image<PixelClass>::GetProperties() const {
  return buffer_.properties;
}

template <class PixelClass>
std::uint32_t Image<PixelClass>::GetWidth() const {
  return static_cast<std::uint32_t>(buffer_.width);
}

template <class PixelClass>
std::uint32_t Image<PixelClass>::GetHeight() const {
  return static_cast<std::uint32_t>(buffer_.height);
}

template <class PixelClass>
typename Image<PixelClass>::Buffer& Image<PixelClass>::GetPixelBuffer() {
  return buffer_;
}

template <class PixelClass>
const typename Image<PixelClass>::Buffer& Image<PixelClass>::GetPixelBuffer() const {
  return buffer_;
}

template <class PixelClass>
int Image<PixelClass>::GetStoredRowCount() const {
  return buffer_.height * static_cast<int>(infoOf<PixelClass>.planes);
}

template <class PixelClass>
std::size_t Image<PixelClass>::PlaneRowBytes(PixelComponent::COMPONENT component) const {
  constexpr PixelInfo info = infoOf<PixelClass>;
  const auto pixels = static_cast<std::size_t>(buffer_.width);
  if (info.arrangement == Planar && component != PixelComponent::Luma) return (pixels + 1) / 2;
  if (info.arrangement == Packed422Alpha && component == PixelComponent::Alpha) return pixels;
  return (isOwner_ ? WholeGroups(info, buffer_.width) : pixels) * info.bitsPerPixel / 8;
}

template class Image<PixelYUV422>;
template class Image<PixelYUVA422>;
template class Image<PixelYUV411P>;
template class Image<PixelYUV411>;
template class Image<PixelYUV211>;
template class Image<PixelDIB24>;
template class Image<PixelDIB32>;
template class Image<PixelDIB15>;
template class Image<PixelDIB16>;
template class Image<PixelNoColor<unsigned char>>;

}  // namespace kv_img
