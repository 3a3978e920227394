#pragma once

#include <cstdint>
#include <string>

#include "image/image.h"
#include "image/image_rect.h"

/// A plain model of the pan: a column's part in its row decides the rule, and every rule stands by itself.
/// Written separately from the library.
namespace kv_model {

using ScanImage = kv_img::Image<kv_img::PixelYUV422>;

/// A single-precision value whose every operation is rounded when it is made.
class Single {
 public:
  Single(float value) : value_(value) {}
  Single(const Single& other) : value_(other.Value()) {}
  Single& operator=(const Single&) = delete;
  friend Single operator+(Single a, Single b) { return a.value_ + b.value_; }
  friend Single operator-(Single a, Single b) { return a.value_ - b.value_; }
  friend Single operator*(Single a, Single b) { return a.value_ * b.value_; }
  friend Single operator/(Single a, Single b) { return a.value_ / b.value_; }
  float Value() const { return value_; }
  int Truncated() const { return static_cast<int>(value_); }
  std::uint8_t Byte() const { return static_cast<std::uint8_t>(Truncated()); }

 private:
  volatile float value_;
};

/// The parts of the columns left to right of a horizontal pan: o the odd first pixel, V a group, s a pair, n
/// and l the pixels of the last pair or l the last pixel alone.
inline std::string PartsOfRow(int left, int right) {
  std::string parts;
  const auto next = [&] { return left + static_cast<int>(parts.size()); };
  if (left % 2 != 0) parts += 'o';
  const int groups = (right - left - 2) / 4;
  for (int i = 0; i < groups; ++i) parts += "VVVV";
  while (next() + 1 < right) parts += "ss";
  if (next() < right) parts += 'n';
  if (next() <= right) parts += 'l';
  return parts;
}

/// The samples of one row by pixel: luma of pixel x, and the chroma of kind 0 or 1 in the pair of pixel x.
struct SampleRow {
  std::uint8_t* bytes;
  bool chromaFirst;

  std::uint8_t& Luma(int x) const { return bytes[2 * x + (chromaFirst ? 1 : 0)]; }
  std::uint8_t& Chroma(int kind, int x) const {
    return bytes[4 * ((x - (x & 1)) / 2) + 2 * kind + (chromaFirst ? 0 : 1)];
  }
  /// The chroma byte of pixel x itself, whichever kind it is.
  std::uint8_t& OwnChroma(int x) const { return bytes[2 * x + (chromaFirst ? 0 : 1)]; }
};

inline SampleRow RowOf(const ScanImage& image, int y) {
  return {image.GetPixelBuffer().rows[y], image.GetPixelLayout() == 4097};
}

inline std::uint32_t Hi(std::uint32_t a, std::uint32_t b) {
  return (a * b) >> 16;
}

inline void PanRowHorizontally(SampleRow a, SampleRow b, SampleRow out, int left, int right, int ix,
                               float fraction) {
  const Single frac = fraction;
  const auto W = static_cast<std::uint32_t>((frac * 0.5F * 16777216.0F).Truncated());
  const std::uint32_t Wleft = 0x800000U - W;
  const bool sameParity = ((~left ^ ix) & 1) != 0;
  const std::string parts = PartsOfRow(left, right);

  for (int x = left; x <= right; ++x) {
    const char part = parts[static_cast<std::size_t>(x - left)];
    const int s = ix + (x - left);
    const std::uint32_t here = static_cast<std::uint32_t>(a.Luma(s)) + b.Luma(s);
    if (part == 'o') {
      const std::uint32_t next = static_cast<std::uint32_t>(a.Luma(s + 1)) + b.Luma(s + 1);
      const Single one = 1.0F;
      out.Luma(x) = (Single(static_cast<float>(here)) * (one - frac) * 0.5F +
                     Single(static_cast<float>(next)) * frac * 0.5F + 0.5F)
                        .Byte();
      for (int kind = 0; kind < 2; ++kind) {
        const Single a0 = a.Chroma(kind, s);
        const Single b0 = b.Chroma(kind, s);
        if (ix % 2 != 0) {
          const Single a1 = a.Chroma(kind, s + 2);
          const Single b1 = b.Chroma(kind, s + 2);
          const Single w1 = frac * 0.5F;
          const Single w0 = (one - frac) * 0.5F;
          out.Chroma(kind, x) = (a1 * w1 + a0 * w0 + b0 * w0 + b1 * w1 + 0.5F).Byte();
        } else {
          out.Chroma(kind, x) = (a0 * 0.5F + b0 * 0.5F + 0.5F).Byte();
        }
      }
    }
    if (part == 'V') {
      const std::uint32_t w = W >> 8;
      const std::uint32_t wLeft = Wleft >> 8;
      const auto blend = [&](std::uint32_t a0, std::uint32_t b0, std::uint32_t a1, std::uint32_t b1) {
        return static_cast<std::uint8_t>(
            (Hi(a0 << 8, wLeft) + Hi(b0 << 8, wLeft) + Hi(a1 << 8, w) + Hi(b1 << 8, w)) >> 8);
      };
      out.Luma(x) = blend(a.Luma(s), b.Luma(s), a.Luma(s + 1), b.Luma(s + 1));
      out.OwnChroma(x) =
          sameParity ? static_cast<std::uint8_t>((a.OwnChroma(s) + b.OwnChroma(s)) >> 1)
                     : blend(a.OwnChroma(s - 1), b.OwnChroma(s - 1), a.OwnChroma(s + 1), b.OwnChroma(s + 1));
    }
    if (part == 's' || part == 'n') {
      const std::uint32_t next = static_cast<std::uint32_t>(a.Luma(s + 1)) + b.Luma(s + 1);
      out.Luma(x) = static_cast<std::uint8_t>((here * Wleft + next * W) >> 24);
    }
    if (part == 's' && !sameParity) {
      // The chroma byte of this very pixel is between those of the previous and the next pixel.
      const Single g = frac * 0.5F + 0.5F;
      const Single one = 1.0F;
      const Single h = g * 0.5F;
      const Single hLeft = (one - g) * 0.5F;
      const Single a0 = a.OwnChroma(s - 1);
      const Single a1 = a.OwnChroma(s + 1);
      const Single b0 = b.OwnChroma(s - 1);
      const Single b1 = b.OwnChroma(s + 1);
      out.OwnChroma(x) = (a1 * h + a0 * hLeft + b0 * hLeft + b1 * h + 0.5F).Byte();
    }
    if (part == 's' && sameParity) {
      out.OwnChroma(x) = static_cast<std::uint8_t>((a.OwnChroma(s) + b.OwnChroma(s)) >> 1);
    }
    if (part == 'l') out.Luma(x) = static_cast<std::uint8_t>(here >> 1);
    if (part == 'n' || (part == 'l' && x % 2 == 0)) {
      for (int kind = 0; kind < 2; ++kind) {
        out.Chroma(kind, x) = static_cast<std::uint8_t>((a.Chroma(kind, s) + b.Chroma(kind, s)) >> 1);
      }
    }
  }
}

inline void PanRowVertically(SampleRow a, SampleRow b, SampleRow out, int left, int right, int sourceLeft,
                             float fraction) {
  const Single f = fraction;
  const Single rest = Single(1.0F) - f;
  const bool sameParity = (left - sourceLeft) % 2 == 0;
  for (int x = left; x <= right; ++x) {
    const int s = sourceLeft + (x - left);
    out.Luma(x) = (Single(a.Luma(s)) * rest + Single(b.Luma(s)) * f + 0.5F).Byte();
    // A pair has the chroma that its first pixel inside the region gives it.
    if (x % 2 != 0 && x != left) continue;
    for (int kind = 0; kind < 2; ++kind) {
      const Single a0 = a.Chroma(kind, s);
      const Single b0 = b.Chroma(kind, s);
      if (sameParity) {
        out.Chroma(kind, x) = (a0 * rest + b0 * f + 0.5F).Byte();
      } else {
        const Single a1 = a.Chroma(kind, s + 2);
        const Single b1 = b.Chroma(kind, s + 2);
        out.Chroma(kind, x) =
            (a0 * rest * 0.5F + a1 * rest * 0.5F + b0 * f * 0.5F + b1 * f * 0.5F + 0.5F).Byte();
      }
    }
  }
}

/// One thread's part of a frame. The regions fit; a horizontal pan has equal layouts.
inline void ScanBand(const ScanImage& source, ScanImage& destination, const kv_img::ImageRect& sourceRegion,
                     const kv_img::ImageRect& region, int flags, int steps, unsigned step, int threads,
                     int index) {
  const int left = region.GetLeft();
  const int right = region.GetRight();
  const int rows = region.GetBottom() - region.GetTop() + 1;
  const int first = region.GetTop() + rows * index / threads;
  const int last = region.GetTop() + rows * (index + 1) / threads - 1;
  const int d = destination.GetProperties().fieldParity == step % 2 ? 0 : 1;
  const bool horizontal = (flags & 3) != 0;
  const bool vertical = !horizontal && (flags & 12) != 0;
  const bool forward = (flags & (horizontal ? 1 : 4)) != 0;

  if (horizontal || vertical) {
    const unsigned t = forward ? step : static_cast<unsigned>(steps) - step - 1;
    const float start = static_cast<float>(horizontal ? sourceRegion.GetLeft() : sourceRegion.GetTop());
    const unsigned room = horizontal ? sourceRegion.GetWidth() - region.GetWidth()
                                     : sourceRegion.GetHeight() - region.GetHeight();
    const Single stepSize =
        steps > 1 ? Single(static_cast<float>(room)) / static_cast<float>(steps - 1) : Single(0.0F);
    Single position = Single(start) + Single(static_cast<float>(t)) * stepSize;
    const Single raised = position + (vertical && d == 1 ? 0.5F : 0.0F);
    const int whole = raised.Truncated();
    const Single fraction = raised - static_cast<float>(whole);
    for (int y = first; y <= last - d; ++y) {
      const SampleRow out = RowOf(destination, y);
      if (horizontal) {
        const int a = y + sourceRegion.GetTop() - region.GetTop();
        PanRowHorizontally(RowOf(source, a), RowOf(source, a + d), out, left, right, whole, fraction.Value());
      } else {
        const int a = y + whole - region.GetTop();
        const int b = y == region.GetBottom() ? a : a + 1;
        PanRowVertically(RowOf(source, a), RowOf(source, b), out, left, right, sourceRegion.GetLeft(),
                         fraction.Value());
      }
    }
  }
  if (d == 1 && first <= last && last > 0) {
    const SampleRow above = RowOf(destination, last - 1);
    const SampleRow out = RowOf(destination, last);
    for (int x = left; x <= right; ++x) {
      out.Luma(x) = above.Luma(x);
      for (int kind = 0; kind < 2; ++kind) out.Chroma(kind, x) = above.Chroma(kind, x);
    }
  }
}

/// A whole frame, thread after thread.
inline void Scan(const ScanImage& source, ScanImage& destination, const kv_img::ImageRect& sourceRegion,
                 const kv_img::ImageRect& region, int flags, int steps, unsigned step, int threads) {
  for (int index = 0; index < threads; ++index) {
    ScanBand(source, destination, sourceRegion, region, flags, steps, step, threads, index);
  }
}

}  // namespace kv_model
