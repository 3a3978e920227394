#include "image/pixel.h"

namespace kv_img {

Pixel::~Pixel() = default;

PixelDIB24::PixelDIB24(std::uint8_t blue, std::uint8_t green, std::uint8_t red)
    : blue_(blue), green_(green), red_(red) {}
PixelDIB24::PixelDIB24(const Pixel& other)
    : blue_(other.GetBlue()), green_(other.GetGreen()), red_(other.GetRed()) {}
PixelDIB24::~PixelDIB24() = default;

PixelDIB32::PixelDIB32(std::uint8_t blue, std::uint8_t green, std::uint8_t red, std::uint8_t alpha)
    : blue_(blue), green_(green), red_(red), alpha_(alpha) {}
PixelDIB32::PixelDIB32(const Pixel& other)
    : blue_(other.GetBlue()), green_(other.GetGreen()), red_(other.GetRed()), alpha_(other.GetAlpha()) {}
PixelDIB32::~PixelDIB32() = default;

const std::int32_t PixelYUV422::ClassID = 101;
const std::uint32_t PixelYUV422::NbrOfBitsPerPixel = 16;
const std::uint32_t PixelYUV422::ComponentTypeSize = 1;

const std::int32_t PixelYUVA422::ClassID = 102;
const std::uint32_t PixelYUVA422::NbrOfBitsPerPixel = 16;
const std::uint32_t PixelYUVA422::ComponentTypeSize = 1;

const std::int32_t PixelYUV411P::ClassID = 103;
const std::uint32_t PixelYUV411P::NbrOfBitsPerPixel = 8;
const std::uint32_t PixelYUV411P::ComponentTypeSize = 1;

const std::int32_t PixelYUV411::ClassID = 104;
const std::uint32_t PixelYUV411::NbrOfBitsPerPixel = 12;
const std::uint32_t PixelYUV411::ComponentTypeSize = 1;

const std::int32_t PixelYUV211::ClassID = 105;
const std::uint32_t PixelYUV211::NbrOfBitsPerPixel = 8;
const std::uint32_t PixelYUV211::ComponentTypeSize = 1;

const std::int32_t PixelDIB24::ClassID = 201;
const std::uint32_t PixelDIB24::NbrOfBitsPerPixel = 24;
const std::uint32_t PixelDIB24::ComponentTypeSize = 1;

const std::int32_t PixelDIB32::ClassID = 202;
const std::uint32_t PixelDIB32::NbrOfBitsPerPixel = 32;
const std::uint32_t PixelDIB32::ComponentTypeSize = 1;

const std::int32_t PixelDIB15::ClassID = 203;
const std::uint32_t PixelDIB15::NbrOfBitsPerPixel = 16;
const std::uint32_t PixelDIB15::ComponentTypeSize = 1;

const std::int32_t PixelDIB16::ClassID = 204;
const std::uint32_t PixelDIB16::NbrOfBitsPerPixel = 16;
const std::uint32_t PixelDIB16::ComponentTypeSize = 1;

const std::int32_t PixelNoColor<unsigned char>::ClassID = 301;
const std::uint32_t PixelNoColor<unsigned char>::NbrOfBitsPerPixel = 8;
const std::uint32_t PixelNoColor<unsigned char>::ComponentTypeSize = 1;

}  // namespace kv_img
