#include "algorithms/color/kernels/bitmap_rows.h"

namespace kv_img::color {
namespace {

/// Calls `convert` with each pixel's bytes.
template <int bytesIn, int bytesOut, class Args, class Convert>
void ForEachPixel(Args& args, Convert convert) {
  for (std::int32_t pixel = 0; pixel < args.groups; ++pixel) {
    convert(args.source, args.destination);
    args.source += bytesIn;
    args.destination += bytesOut;
  }
}

template <int bytesIn, int bytesOut>
void RearrangePixels(RearrangeArgs& args) {
  ForEachPixel<bytesIn, bytesOut>(args, [&](const std::uint8_t* from, std::uint8_t* to) {
    to[0] = from[args.isSwapped ? 2 : 0];
    to[1] = from[1];
    to[2] = from[args.isSwapped ? 0 : 2];
    if constexpr (bytesOut == 4) to[3] = bytesIn == 3 || args.isOpaque ? std::uint8_t{255} : from[3];
  });
}

template <int bytesIn>
void GreyOfPixels(GreyOfBitmapArgs& args) {
  const std::uint32_t first = args.weights.first;
  const std::uint32_t second = args.weights.second;
  const std::uint32_t third = args.weights.third;
  ForEachPixel<bytesIn, 1>(args, [&](const std::uint8_t* from, std::uint8_t* to) {
    to[0] = static_cast<std::uint8_t>((first * from[0] + second * from[1] + third * from[2] + 32768) >> 16U);
  });
}

template <int bytesOut>
void PixelsOfGrey(BitmapOfGreyArgs& args) {
  ForEachPixel<1, bytesOut>(args, [](const std::uint8_t* from, std::uint8_t* to) {
    to[0] = to[1] = to[2] = from[0];
    if constexpr (bytesOut == 4) to[3] = 255;
  });
}

std::uint8_t Five(std::uint32_t bits) {
  bits &= 31U;
  return static_cast<std::uint8_t>(bits << 3U | bits >> 2U);
}
std::uint8_t Six(std::uint32_t bits) {
  bits &= 63U;
  return static_cast<std::uint8_t>(bits << 2U | bits >> 4U);
}

}  // namespace

template <>
void Rearrange24To24::Run<Scalar>(Args& args) noexcept {
  RearrangePixels<3, 3>(args);
}

template <>
void Rearrange24To32::Run<Scalar>(Args& args) noexcept {
  RearrangePixels<3, 4>(args);
}

template <>
void Rearrange32To24::Run<Scalar>(Args& args) noexcept {
  RearrangePixels<4, 3>(args);
}

template <>
void Rearrange32To32::Run<Scalar>(Args& args) noexcept {
  RearrangePixels<4, 4>(args);
}

template <>
void GreyOf24::Run<Scalar>(Args& args) noexcept {
  GreyOfPixels<3>(args);
}

template <>
void GreyOf32::Run<Scalar>(Args& args) noexcept {
  GreyOfPixels<4>(args);
}

template <>
void GreyTo24::Run<Scalar>(Args& args) noexcept {
  PixelsOfGrey<3>(args);
}

template <>
void GreyTo32::Run<Scalar>(Args& args) noexcept {
  PixelsOfGrey<4>(args);
}

template <>
void WordsTo32::Run<Scalar>(Args& args) noexcept {
  ForEachPixel<2, 4>(args, [&](const std::uint8_t* from, std::uint8_t* to) {
    const std::uint32_t word = from[0] | static_cast<std::uint32_t>(from[1]) << 8U;
    to[0] = Five(word);
    to[1] = args.isSixGreen ? Six(word >> 5U) : Five(word >> 5U);
    to[2] = Five(word >> (args.isSixGreen ? 11U : 10U));
    to[3] = 255;
  });
}

template <>
void WordsFrom32::Run<Scalar>(Args& args) noexcept {
  ForEachPixel<4, 2>(args, [&](const std::uint8_t* from, std::uint8_t* to) {
    const std::uint32_t blue = from[0] >> 3U;
    const std::uint32_t green = from[1];
    const std::uint32_t red = from[2] >> 3U;
    const std::uint32_t word =
        args.isSixGreen ? red << 11U | (green >> 2U) << 5U | blue : red << 10U | (green >> 3U) << 5U | blue;
    to[0] = static_cast<std::uint8_t>(word);
    to[1] = static_cast<std::uint8_t>(word >> 8U);
  });
}

}  // namespace kv_img::color
