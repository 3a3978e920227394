#pragma once

#include <algorithm>

#include "image/image.h"
#include "image/image_rect.h"

/// Plain models of the region copies: one obvious loop per rule, written separately from the library. Letters
/// are the rule's own: s source, d destination, k column offset.
namespace kv_model {

/// Whether the regions are refused with code 2.
template <class In, class Out>
bool RoiIsRefused(const In& source, const Out& destination, const kv_img::RegionOfSupport& from,
                  const kv_img::RegionOfSupport& to) {
  if (from.IsRectangular() && to.IsRectangular()) {
    if (from.GetWidth() != to.GetWidth()) return true;
    if (from.GetHeight() != to.GetHeight()) return true;
  } else {
    if (from.GetBottom() - from.GetTop() != to.GetBottom() - to.GetTop()) return true;
    for (int r = from.GetTop(); r <= from.GetBottom(); ++r) {
      const int other = r + (to.GetTop() - from.GetTop());
      if (from.GetRight(r) - from.GetLeft(r) != to.GetRight(other) - to.GetLeft(other)) return true;
    }
  }
  if (!from.IsInside(kv_img::ImageRect(source))) return true;
  return !to.IsInside(kv_img::ImageRect(destination));
}

/// Whether the planar source's own check refuses the regions with code 2.
inline bool RoiIsUnevenlyPlaced(const kv_img::RegionOfSupport& from, const kv_img::RegionOfSupport& to) {
  return from.GetLeft() % 2 != 0 || to.GetLeft() % 2 != 0 || from.GetWidth() % 2 != 0 ||
         to.GetWidth() % 2 != 0;
}

inline int RoiRowCount(const kv_img::RegionOfSupport& region) {
  return region.GetBottom() < region.GetTop() ? 0 : region.GetBottom() - region.GetTop() + 1;
}

/// Calls rowWork(s, shifted s, d, sx, sEnd, dx) for every row of one thread.
template <class In, class Out, class RowWork>
void ForEachRoiRow(const In& source, const Out& destination, const kv_img::RegionOfSupport& from,
                   const kv_img::RegionOfSupport& to, int threads, int index, RowWork rowWork) {
  const int sWidth = static_cast<int>(source.GetWidth());
  const int sHeight = static_cast<int>(source.GetHeight());
  const int dWidth = static_cast<int>(destination.GetWidth());
  const int dHeight = static_cast<int>(destination.GetHeight());

  const int first = from.GetTop() + RoiRowCount(from) * index / threads;
  const int end = from.GetTop() + RoiRowCount(from) * (index + 1) / threads;
  if (!(first < sHeight && end - 1 >= 0)) return;
  const int firstD = to.GetTop() + RoiRowCount(to) * index / threads;
  const int endD = to.GetTop() + RoiRowCount(to) * (index + 1) / threads;
  if (!(firstD < dHeight && endD > 0)) return;
  const int off = firstD - first;
  const int a = first >= 0 ? firstD : off;
  const int b = std::min(end, sHeight) + off;
  if (!(a < dHeight && b - 1 >= 0)) return;
  const int d0 = std::max(a, 0);
  const int s0 = d0 - off;
  const int sLast = std::min(b, dHeight) - off - 1;

  const int sParity = source.GetProperties().fieldParity;
  const int dParity = destination.GetProperties().fieldParity;
  int shift = 0;
  if (sParity != dParity) shift = sParity != 0 ? 1 : -1;

  for (int d = d0; d - off <= sLast; ++d) {
    const int s = d - off;
    const int sL = from.GetLeft(s);
    const int sR = from.GetRight(s);
    const int dL = to.GetLeft(d);
    const int dR = to.GetRight(d);
    if (!(sL < sWidth && sR >= 0 && dL < dWidth && dR >= 0)) continue;
    const int k = dL - sL;
    const int x0 = k + std::max(sL, 0);
    const int xe = k + std::min(sR, sWidth - 1);
    if (!(x0 < dWidth && xe >= 0)) continue;
    const int dx = std::max(x0, 0);
    const int sx = dx - k;
    const int sEnd = std::min(xe, dWidth - 1) - k;
    rowWork(s, std::min(std::max(s + shift, s0), sLast), d, sx, sEnd, dx);
  }
}

/// "CopyROI" of packed 4:2:2 to packed 4:2:2 by all threads, one after the other.
inline void CopyRoiYuv422(const kv_img::Image<kv_img::PixelYUV422>& source,
                          kv_img::Image<kv_img::PixelYUV422>& destination,
                          const kv_img::RegionOfSupport& from, const kv_img::RegionOfSupport& to,
                          int threads) {
  const auto& in = source.GetPixelBuffer();
  auto& out = destination.GetPixelBuffer();
  const bool sameLayout = source.GetPixelLayout() == destination.GetPixelLayout();
  const bool asBlock = sameLayout && in.properties == out.properties && from.IsRectangular() &&
                       from.GetLeft() == 0 && from.GetRight() == static_cast<int>(source.GetWidth()) - 1 &&
                       to.GetLeft() == 0 && to.GetRight() == static_cast<int>(destination.GetWidth()) - 1 &&
                       (in.properties.propertyFlag == 0 || in.properties.propertyMode == 2) &&
                       in.storageFlag == out.storageFlag;
  for (int index = 0; index < threads; ++index) {
    if (asBlock) {
      const int size = static_cast<int>(from.GetHeight()) * in.bytesPerRow;
      if (size <= 0) continue;
      const std::uint8_t* s = in.rows[from.GetTop()] + in.bytesPerRow * RoiRowCount(from) * index / threads;
      std::uint8_t* d = out.rows[to.GetTop()] + out.bytesPerRow * RoiRowCount(to) * index / threads;
      for (int byte = 0; byte < size; ++byte) d[byte] = s[byte];
      continue;
    }
    ForEachRoiRow(source, destination, from, to, threads, index,
                  [&](int sRow, int shiftedRow, int dRow, int sx, int sEnd, int dx) {
                    std::uint8_t* d = out.rows[dRow];
                    if (sx % 2 != dx % 2) {
                      const std::uint8_t* s = in.rows[sRow];
                      using enum kv_img::PixelComponent::COMPONENT;
                      for (int i = 0; i < sEnd - sx + 1; ++i) {
                        d[2 * (dx + i) + out.descriptor.GetPosition(Luma)] =
                            s[2 * (sx + i) + in.descriptor.GetPosition(Luma)];
                        for (const auto chroma : {Cb, Cr}) {
                          d[4 * ((dx + i) / 2) + out.descriptor.GetPosition(chroma)] =
                              s[4 * ((sx + i) / 2) + in.descriptor.GetPosition(chroma)];
                        }
                      }
                      return;
                    }
                    const std::uint8_t* s = in.rows[shiftedRow];
                    if (sameLayout) {
                      for (int i = 0; i < 2 * (sEnd - sx + 1); ++i) d[2 * dx + i] = s[2 * sx + i];
                      return;
                    }
                    s += 2 * (sx - sx % 2);
                    d += 2 * (dx - dx % 2);
                    if (dx % 2 == 1) {
                      d[2] = s[3];
                      d[3] = s[2];
                      s += 4;
                      d += 4;
                      sx += 1;
                    }
                    for (int i = 0; i < sEnd - sx + 1; ++i) {
                      d[2 * i] = s[2 * i + 1];
                      d[2 * i + 1] = s[2 * i];
                    }
                  });
  }
}

/// "CopyROI" of planar YUV to packed 4:2:2, chroma-first for layout 4097 and luma-first for 4098, by all
/// threads, one after the other.
inline void CopyRoiPlanar(const kv_img::Image<kv_img::PixelYUV411P>& source,
                          kv_img::Image<kv_img::PixelYUV422>& destination,
                          const kv_img::RegionOfSupport& from, const kv_img::RegionOfSupport& to,
                          int threads) {
  const auto& in = source.GetPixelBuffer();
  auto& out = destination.GetPixelBuffer();
  const bool chromaFirst = out.descriptor.GetLayout() == 4097;
  for (int index = 0; index < threads; ++index) {
    ForEachRoiRow(source, destination, from, to, threads, index,
                  [&](int, int row, int dRow, int sx, int sEnd, int dx) {
                    const std::uint8_t* luma = in.rows[row] + sx;
                    const std::uint8_t* cb = in.rows[in.height + row] + sx / 2;
                    const std::uint8_t* cr = in.rows[2 * in.height + row] + sx / 2;
                    std::uint8_t* d = out.rows[dRow] + 2 * dx;
                    const int groups = in.width / 8;
                    int pixels = 8 * groups;
                    if (8 * groups < sEnd) pixels += 4 * (((sEnd - 8 * groups - 1) >> 2) + 1);
                    for (int pair = 0; pair < pixels / 2; ++pair) {
                      const std::uint8_t y0 = luma[2 * pair];
                      const std::uint8_t y1 = luma[2 * pair + 1];
                      d[4 * pair] = chromaFirst ? cb[pair] : y0;
                      d[4 * pair + 1] = chromaFirst ? y0 : cb[pair];
                      d[4 * pair + 2] = chromaFirst ? cr[pair] : y1;
                      d[4 * pair + 3] = chromaFirst ? y1 : cr[pair];
                    }
                  });
  }
}

}  // namespace kv_model
