#include "capi/formats.h"

#include <algorithm>
#include <iterator>

#include "image/pixel_descriptor.h"

namespace kv_capi {
namespace {

using namespace kv_img::PixelLayout;

constexpr Format formats[] = {
    {KV_FORMAT_UYVY, "UYVY", Storage::Packed, 1, 2, chromaFirst, false},
    {KV_FORMAT_YUY2, "YUY2", Storage::Packed, 1, 2, lumaFirst, false},
    {KV_FORMAT_UYVYA, "UYVYA", Storage::PackedAlpha, 2, 2, chromaFirst, true},
    {KV_FORMAT_YUY2A, "YUY2A", Storage::PackedAlpha, 2, 2, lumaFirst, true},
    {KV_FORMAT_YUV411P, "YUV411P", Storage::Planar, 3, 1, planar, false},
    {KV_FORMAT_I422, "I422", Storage::Planar, 3, 1, planar, false},
    {KV_FORMAT_GRAY8, "GRAY8", Storage::Grey, 1, 1, grey, false},
    {KV_FORMAT_BGR24, "BGR24", Storage::Bitmap, 1, 3, blueFirst, false},
    {KV_FORMAT_RGB24, "RGB24", Storage::Bitmap, 1, 3, redFirst, false},
    {KV_FORMAT_BGRA32, "BGRA32", Storage::Bitmap, 1, 4, blueFirst, true},
    {KV_FORMAT_RGBA32, "RGBA32", Storage::Bitmap, 1, 4, redFirst, true},
    {KV_FORMAT_BGRX32, "BGRX32", Storage::Bitmap, 1, 4, blueFirst, false},
    {KV_FORMAT_RGBX32, "RGBX32", Storage::Bitmap, 1, 4, redFirst, false},
    {KV_FORMAT_RGB555, "RGB555", Storage::Words, 1, 2, blueFirst, false},
    {KV_FORMAT_RGB565, "RGB565", Storage::Words, 1, 2, blueFirst, false},
};

}  // namespace

const Format* FindFormat(std::int32_t code) noexcept {
  const auto* found = std::ranges::find(formats, code, &Format::code);
  return found == std::end(formats) ? nullptr : found;
}

}  // namespace kv_capi
