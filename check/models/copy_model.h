#pragma once

#include <algorithm>
#include <cstring>

#include "image/image.h"

/// Plain models of the copies: one obvious loop per rule, written separately from the library.
namespace kv_model {

struct Rows {
  int first;
  int last;
};

/// The rows of thread `index` when rows 0 to height - 1 are shared by `threads`.
inline Rows BandOfHeight(int height, int threads, int index) {
  return {height * index / threads, height * (index + 1) / threads - 1};
}

/// The source row that destination row `row` of a band takes.
inline int ShiftedRow(int row, Rows band, int sourceParity, int destinationParity) {
  int shift = 0;
  if (sourceParity != destinationParity) shift = sourceParity != 0 ? 1 : -1;
  return std::min(std::max(row + shift, band.first), band.last);
}

/// Calls `rowWork(source row, destination row)` as every thread of a "Copy" does, thread after thread.
template <class In, class Out, class RowWork>
void ForEachCopiedRow(const In& source, const Out& destination, int threads, RowWork rowWork) {
  for (int index = 0; index < threads; ++index) {
    const Rows band = BandOfHeight(static_cast<int>(source.GetHeight()), threads, index);
    for (int row = band.first; row <= band.last; ++row) {
      rowWork(
          ShiftedRow(row, band, source.GetProperties().fieldParity, destination.GetProperties().fieldParity),
          row);
    }
  }
}

/// "Copy" of packed 4:2:2 to packed 4:2:2.
inline void CopyYuv422(const kv_img::Image<kv_img::PixelYUV422>& source,
                       kv_img::Image<kv_img::PixelYUV422>& destination, int threads) {
  const auto& from = source.GetPixelBuffer();
  auto& to = destination.GetPixelBuffer();
  if (source.GetPixelLayout() == destination.GetPixelLayout()) {
    const bool asBlock = from.properties == to.properties &&
                         (from.properties.propertyFlag == 0 || from.properties.propertyMode == 2) &&
                         from.storageFlag == to.storageFlag;
    if (asBlock) {
      for (int index = 0; index < threads; ++index) {
        const auto i = static_cast<std::uint64_t>(index);
        const auto n = static_cast<std::uint64_t>(threads);
        std::memcpy(to.data + i * to.totalBytes / n, from.data + i * from.totalBytes / n, to.totalBytes / n);
      }
      return;
    }
    ForEachCopiedRow(source, destination, threads, [&](int sourceRow, int row) {
      std::memcpy(to.rows[row], from.rows[sourceRow], static_cast<std::size_t>(to.bytesPerRow));
    });
    return;
  }
  ForEachCopiedRow(source, destination, threads, [&](int sourceRow, int row) {
    const std::uint8_t* s = from.rows[sourceRow];
    std::uint8_t* d = to.rows[row];
    const int whole = from.width / 4 * 4;
    for (int x = 0; x < whole; ++x) {
      d[2 * x] = s[2 * x + 1];
      d[2 * x + 1] = s[2 * x];
    }
    const int left = from.width - whole;
    const int passes = left == 0 ? 0 : ((left - 1) >> 1) + 1;
    for (int byte = 0; byte < 4 * passes; ++byte) d[byte] = s[byte ^ 1];
  });
}

}  // namespace kv_model
