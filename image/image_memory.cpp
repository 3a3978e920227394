#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "image/errors/exceptions.h"
#include "image/image.h"

namespace kv_img {
namespace {

constexpr std::size_t alignment = 64;
constexpr std::size_t minSlack = 8;

// Storage flags. Owned rows: the number of 64-byte blocks that a row has beyond the fewest possible, so that
// images of equal size with equal flags have equal strides.
constexpr std::size_t maxOwnedFlag = 253;
constexpr std::uint8_t backToBackFlag = 254;
constexpr std::uint8_t rowsApartFlag = 255;

constexpr std::size_t RoundUp(std::size_t bytes) {
  return (bytes + alignment - 1) / alignment * alignment;
}

[[noreturn]] void Refuse(const std::wstring& parameter) {
  throw AlgoException(2, parameter.c_str(), L"Image::Image");
}

// Aligned by hand: a block that the C library aligned is, once freed, too small for the next one of its size, so images
// that come and go among other blocks would take new memory every time. Where a block begins stands before what it holds.

std::uint8_t* AlignedBlock(std::size_t bytes) {
  auto* const block = static_cast<std::uint8_t*>(::operator new[](bytes + alignment));
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  std::uint8_t* const memory = block + (alignment - address % alignment);
  std::memcpy(memory - sizeof block, &block, sizeof block);
  return memory;
}

}  // namespace

WrappedRows WrappedRows::Strided(std::uint8_t* firstRow, std::ptrdiff_t stride) {
  WrappedRows rows;
  rows.isStrided_ = true;
  rows.firstRow_ = firstRow;
  rows.stride_ = stride;
  return rows;
}

WrappedRows WrappedRows::Separate(std::span<std::uint8_t* const> rows) {
  WrappedRows wrapped;
  wrapped.separate_.assign(rows.begin(), rows.end());
  return wrapped;
}

ImageMemory::ImageMemory(const RowGeometry& geometry, const WrappedRows* rows, const ImageOptions& options) {
  if (rows != nullptr) {
    Wrap(geometry, *rows);
  } else {
    Own(geometry, options);
  }
  if (options.storageFlag) {
    storageFlag_ = *options.storageFlag;
    areRowsApart_ = false;
  }
}

ImageMemory::~ImageMemory() = default;

void ImageMemory::AlignedFree::operator()(std::uint8_t* memory) const noexcept {
  std::uint8_t* block = nullptr;
  std::memcpy(&block, memory - sizeof block, sizeof block);
  ::operator delete[](block);
}

void ImageMemory::Own(const RowGeometry& geometry, const ImageOptions& options) {
  constexpr std::size_t limit = std::numeric_limits<std::int32_t>::max() / 2;
  if (options.rowSlack > limit) Refuse(L"rowSlack (" + std::to_wstring(options.rowSlack) + L" bytes)");
  if (options.spareBytes > limit) Refuse(L"spareBytes (" + std::to_wstring(options.spareBytes) + L" bytes)");
  const std::size_t stride = RoundUp(geometry.groupBytes + std::max(options.rowSlack, minSlack));
  const std::size_t extraBlocks = (stride - RoundUp(geometry.groupBytes + minSlack)) / alignment;
  const std::size_t total = stride * geometry.storedRows;

  rows_.resize(geometry.storedRows);
  owned_.reset(AlignedBlock(total + options.spareBytes));
  std::fill_n(owned_.get(), total + options.spareBytes, std::uint8_t{0});
  for (std::size_t row = 0; row < rows_.size(); ++row) rows_[row] = owned_.get() + row * stride;
  data_ = owned_.get();
  bytesPerRow_ = static_cast<std::int32_t>(stride);
  totalBytes_ = total;
  storageFlag_ = static_cast<std::uint8_t>(std::min(extraBlocks, maxOwnedFlag));
  areRowsApart_ = extraBlocks >= maxOwnedFlag;
}

void ImageMemory::Wrap(const RowGeometry& geometry, const WrappedRows& rows) {
  if (rows.isStrided_) {
    if (rows.firstRow_ == nullptr) Refuse(L"firstRow (null)");
    const std::size_t distance = rows.stride_ < 0 ? std::size_t{0} - static_cast<std::size_t>(rows.stride_)
                                                  : static_cast<std::size_t>(rows.stride_);
    if (distance < geometry.pixelBytes) {
      Refuse(L"stride (" + std::to_wstring(rows.stride_) + L", a row takes " +
             std::to_wstring(geometry.pixelBytes) + L" bytes)");
    }
    rows_.resize(geometry.storedRows);
    for (std::size_t row = 0; row < rows_.size(); ++row) {
      rows_[row] = rows.firstRow_ + static_cast<std::ptrdiff_t>(row) * rows.stride_;
    }
  } else {
    if (rows.separate_.size() < geometry.storedRows) {
      Refuse(L"rows (" + std::to_wstring(rows.separate_.size()) + L" given, " +
             std::to_wstring(geometry.storedRows) + L" needed)");
    }
    const auto end = rows.separate_.begin() + static_cast<std::ptrdiff_t>(geometry.storedRows);
    const auto null = std::find(rows.separate_.begin(), end, nullptr);
    if (null != end) Refuse(L"rows (row " + std::to_wstring(null - rows.separate_.begin()) + L" is null)");
    rows_.assign(rows.separate_.begin(), end);
  }

  bytesPerRow_ = static_cast<std::int32_t>(geometry.pixelBytes);
  totalBytes_ = geometry.pixelBytes * geometry.storedRows;
  data_ = *std::min_element(rows_.begin(), rows_.end(), std::less<>{});
  areRowsApart_ = false;
  for (std::size_t row = 1; row < rows_.size(); ++row) {
    if (rows_[row] != rows_[row - 1] + bytesPerRow_) areRowsApart_ = true;
  }
  storageFlag_ = areRowsApart_ ? rowsApartFlag : backToBackFlag;
}

}  // namespace kv_img
