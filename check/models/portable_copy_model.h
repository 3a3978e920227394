#pragma once

#include <algorithm>
#include <type_traits>
#include <vector>

#include "check/models/copy_model.h"
#include "image/image.h"

/// A plain model of the copies that only the portable member offers: every pixel by itself, in plain numbers.
namespace kv_model {

/// A pixel in the terms of its format, YUV or RGB.
struct YuvPixel {
  int y = 0, cb = 128, cr = 128, alpha = 255;
};
struct RgbPixel {
  int red = 0, green = 0, blue = 0, alpha = 255;
};

inline int DividedDown(int value, int divisor) {
  int quotient = value / divisor;
  if (quotient * divisor > value) --quotient;
  return quotient;
}
inline int Limit(int value) {
  return value < 0 ? 0 : value > 255 ? 255 : value;
}

inline RgbPixel RgbOf(const YuvPixel& p) {
  const int luma = DividedDown(9539 * (p.y - 16), 8192);
  const int u = p.cb - 128;
  const int v = p.cr - 128;
  return {Limit(luma + DividedDown(13075 * v, 8192)), Limit(luma + DividedDown(-3209 * u - 6660 * v, 8192)),
          Limit(luma + DividedDown(16525 * u, 8192)), p.alpha};
}

/// The pixel pair's chroma is that of both pixels' mean; `other` is the pair's other pixel, or the same.
inline YuvPixel YuvOf(const RgbPixel& p, const RgbPixel& other) {
  const auto weigh = [](const RgbPixel& c, int red, int green, int blue) {
    return DividedDown(red * c.red + green * c.green + blue * c.blue, 32768);
  };
  const int cb = weigh(p, -4857, -9535, 14392) + weigh(other, -4857, -9535, 14392);
  const int cr = weigh(p, 14392, -12052, -2341) + weigh(other, 14392, -12052, -2341);
  return {Limit(Limit(weigh(p, 8414, 16519, 3208)) + 16), Limit(DividedDown(cb, 2) + 128),
          Limit(DividedDown(cr, 2) + 128), p.alpha};
}

/// Four bytes of a 4:2:2 pair: where its luma, Cb and Cr start.
struct PairOrder {
  int luma, cb, cr;
};
inline PairOrder OrderOf(int layout) {
  return layout == 4097 ? PairOrder{1, 0, 2} : PairOrder{0, 1, 3};
}

// Readers: pixel x of a row.

inline YuvPixel PixelOf(const kv_img::Image<kv_img::PixelYUV422>& image, int x, int row) {
  const std::uint8_t* pair = image.Row(row).data() + x / 2 * 4;
  const PairOrder at = OrderOf(image.GetPixelLayout());
  return {pair[at.luma + x % 2 * 2], pair[at.cb], pair[at.cr], 255};
}
inline YuvPixel PixelOf(const kv_img::Image<kv_img::PixelYUVA422>& image, int x, int row) {
  const std::uint8_t* pair = image.Row(row).data() + x / 2 * 4;
  const PairOrder at = OrderOf(image.GetPixelLayout());
  return {pair[at.luma + x % 2 * 2], pair[at.cb], pair[at.cr],
          image.PlaneRow(kv_img::PixelComponent::Alpha, row)[static_cast<std::size_t>(x)]};
}
inline YuvPixel PixelOf(const kv_img::Image<kv_img::PixelYUV411P>& image, int x, int row) {
  const auto sample = [&](kv_img::PixelComponent::COMPONENT component, int index) -> int {
    return image.PlaneRow(component, row)[static_cast<std::size_t>(index)];
  };
  return {sample(kv_img::PixelComponent::Luma, x), sample(kv_img::PixelComponent::Cb, x / 2),
          sample(kv_img::PixelComponent::Cr, x / 2), 255};
}
inline YuvPixel PixelOf(const kv_img::Image<kv_img::PixelYUV411>& image, int x, int row) {
  const std::uint8_t* group = image.Row(row).data() + x / 4 * 6;  // Cb Y0 Y1 Cr Y2 Y3
  const int luma = x % 4 < 2 ? 1 + x % 4 : 2 + x % 4;
  return {group[luma], group[0], group[3], 255};
}
inline YuvPixel PixelOf(const kv_img::Image<kv_img::PixelNoColor<unsigned char>>& image, int x, int row) {
  return {image.Row(row)[static_cast<std::size_t>(x)], 128, 128, 255};
}
inline bool IsRedFirst(int layout) {
  return (layout & 0xF0) != 0;
}
inline RgbPixel PixelOf(const kv_img::Image<kv_img::PixelDIB24>& image, int x, int row) {
  const std::uint8_t* p = image.Row(row).data() + 3 * x;
  return IsRedFirst(image.GetPixelLayout()) ? RgbPixel{p[0], p[1], p[2], 255}
                                            : RgbPixel{p[2], p[1], p[0], 255};
}
inline RgbPixel PixelOf(const kv_img::Image<kv_img::PixelDIB32>& image, int x, int row) {
  const std::uint8_t* p = image.Row(row).data() + 4 * x;
  return IsRedFirst(image.GetPixelLayout()) ? RgbPixel{p[0], p[1], p[2], p[3]}
                                            : RgbPixel{p[2], p[1], p[0], p[3]};
}
/// `bits` bits of a word from bit `low` on, to eight bits by repeating the uppermost ones below.
inline int EightBits(int word, int low, int bits) {
  const int value = word / (1 << low) % (1 << bits);
  return value * (1 << (8 - bits)) + value / (1 << (2 * bits - 8));
}
inline int WordAt(const std::uint8_t* p) {
  return p[0] + 256 * p[1];
}
inline RgbPixel PixelOf(const kv_img::Image<kv_img::PixelDIB15>& image, int x, int row) {
  const int word = WordAt(image.Row(row).data() + 2 * x);
  return {EightBits(word, 10, 5), EightBits(word, 5, 5), EightBits(word, 0, 5), 255};
}
inline RgbPixel PixelOf(const kv_img::Image<kv_img::PixelDIB16>& image, int x, int row) {
  const int word = WordAt(image.Row(row).data() + 2 * x);
  return {EightBits(word, 11, 5), EightBits(word, 5, 6), EightBits(word, 0, 5), 255};
}

// Writers: a whole row of pixels.

inline std::uint8_t Byte(int value) {
  return static_cast<std::uint8_t>(value);
}
using YuvRow = std::vector<YuvPixel>;
using RgbRow = std::vector<RgbPixel>;

/// The mean, rounded down, of a component of pixels x and x + distance, or of pixel x alone at the row's end.
inline std::uint8_t MeanAt(const YuvRow& pixels, std::size_t x, std::size_t distance,
                           int YuvPixel::*component) {
  const int first = pixels[x].*component;
  const int second = x + distance < pixels.size() ? pixels[x + distance].*component : first;
  return Byte((first + second) / 2);
}

inline void WritePairs(const YuvRow& pixels, std::uint8_t* row, int layout) {
  const PairOrder at = OrderOf(layout);
  for (std::size_t x = 0; x < pixels.size(); ++x) {
    std::uint8_t* pair = row + x / 2 * 4;
    pair[static_cast<std::size_t>(at.luma) + x % 2 * 2] = Byte(pixels[x].y);
    pair[at.cb] = Byte(pixels[x].cb);
    pair[at.cr] = Byte(pixels[x].cr);
  }
}
inline void WriteRow(const YuvRow& pixels, kv_img::Image<kv_img::PixelYUV422>& image, int row) {
  WritePairs(pixels, image.Row(row).data(), image.GetPixelLayout());
}
inline void WriteRow(const YuvRow& pixels, kv_img::Image<kv_img::PixelYUVA422>& image, int row) {
  WritePairs(pixels, image.Row(row).data(), image.GetPixelLayout());
  const auto alpha = image.PlaneRow(kv_img::PixelComponent::Alpha, row);
  for (std::size_t x = 0; x < pixels.size(); ++x) alpha[x] = Byte(pixels[x].alpha);
}
inline void WriteRow(const YuvRow& pixels, kv_img::Image<kv_img::PixelYUV411P>& image, int row) {
  for (std::size_t x = 0; x < pixels.size(); ++x) {
    image.PlaneRow(kv_img::PixelComponent::Luma, row)[x] = Byte(pixels[x].y);
    image.PlaneRow(kv_img::PixelComponent::Cb, row)[x / 2] = Byte(pixels[x].cb);
    image.PlaneRow(kv_img::PixelComponent::Cr, row)[x / 2] = Byte(pixels[x].cr);
  }
}
inline void WriteRow(const YuvRow& pixels, kv_img::Image<kv_img::PixelYUV411>& image, int row) {
  for (std::size_t x = 0; x < pixels.size(); ++x) {
    std::uint8_t* group = image.Row(row).data() + x / 4 * 6;
    group[x % 4 < 2 ? 1 + x % 4 : 2 + x % 4] = Byte(pixels[x].y);
    if (x % 4 != 0) continue;
    group[0] = MeanAt(pixels, x, 2, &YuvPixel::cb);
    group[3] = MeanAt(pixels, x, 2, &YuvPixel::cr);
  }
}
inline void WriteRow(const YuvRow& pixels, kv_img::Image<kv_img::PixelYUV211>& image, int row) {
  for (std::size_t x = 0; x < pixels.size(); x += 2) {
    std::uint8_t* group = image.Row(row).data() + x / 4 * 4;  // Cb Y0 Cr Y1
    group[x % 4 == 0 ? 1 : 3] = MeanAt(pixels, x, 1, &YuvPixel::y);
    if (x % 4 != 0) continue;
    group[0] = MeanAt(pixels, x, 2, &YuvPixel::cb);
    group[2] = MeanAt(pixels, x, 2, &YuvPixel::cr);
  }
}
inline void WriteRow(const YuvRow& pixels, kv_img::Image<kv_img::PixelNoColor<unsigned char>>& image,
                     int row) {
  for (std::size_t x = 0; x < pixels.size(); ++x) image.Row(row)[x] = Byte(pixels[x].y);
}
inline void WriteColours(const RgbPixel& pixel, std::uint8_t* to, int layout) {
  to[1] = Byte(pixel.green);
  to[IsRedFirst(layout) ? 0 : 2] = Byte(pixel.red);
  to[IsRedFirst(layout) ? 2 : 0] = Byte(pixel.blue);
}
inline void WriteRow(const RgbRow& pixels, kv_img::Image<kv_img::PixelDIB24>& image, int row) {
  for (std::size_t x = 0; x < pixels.size(); ++x) {
    WriteColours(pixels[x], image.Row(row).data() + 3 * x, image.GetPixelLayout());
  }
}
inline void WriteRow(const RgbRow& pixels, kv_img::Image<kv_img::PixelDIB32>& image, int row) {
  for (std::size_t x = 0; x < pixels.size(); ++x) {
    std::uint8_t* to = image.Row(row).data() + 4 * x;
    WriteColours(pixels[x], to, image.GetPixelLayout());
    to[3] = Byte(pixels[x].alpha);
  }
}

template <class Out>
inline constexpr bool takesRgb = std::is_same_v<Out, kv_img::Image<kv_img::PixelDIB24>> ||
                                 std::is_same_v<Out, kv_img::Image<kv_img::PixelDIB32>>;

/// "Copy" of one of the portable pairs.
template <class In, class Out>
void PortableCopy(const In& source, Out& destination, int threads) {
  const int width = static_cast<int>(source.GetWidth());
  ForEachCopiedRow(source, destination, threads, [&](int sourceRow, int row) {
    using PixelIn = decltype(PixelOf(source, 0, 0));
    using PixelOut = std::conditional_t<takesRgb<Out>, RgbPixel, YuvPixel>;
    std::vector<PixelOut> pixels;
    for (int x = 0; x < width; ++x) {
      const PixelIn pixel = PixelOf(source, x, sourceRow);
      if constexpr (std::is_same_v<PixelIn, PixelOut>) {
        pixels.push_back(pixel);
      } else if constexpr (takesRgb<Out>) {
        pixels.push_back(RgbOf(pixel));
      } else {
        const int other = x % 2 == 1 ? x - 1 : std::min(x + 1, width - 1);
        pixels.push_back(YuvOf(pixel, PixelOf(source, other, sourceRow)));
      }
    }
    WriteRow(pixels, destination, row);
  });
}

}  // namespace kv_model
