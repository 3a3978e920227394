#include "capi/rows.h"

#include <utility>

#include "algorithms/color/kernels/bitmap_rows.h"
#include "algorithms/featurefind/kernels/luma_bytes.h"
#include "algorithms/kernel_sets.h"
#include "image/pixel_descriptor.h"

namespace kv_capi {
namespace {

using namespace kv_img::color;
using kv_img::PackedOrder;
using kv_img::Widest;

bool IsRedFirst(const Format& format) {
  return format.layout == kv_img::PixelLayout::redFirst;
}

/// Runs a kernel over a row.
template <class Kernel>
void RunRow(typename Kernel::Args args) {
  Widest::Run<Kernel>(args);
}

void RearrangeRow(const Format& from, const std::uint8_t* source, const Format& to, std::uint8_t* destination,
                  int width) {
  const RearrangeArgs args{width, IsRedFirst(from) != IsRedFirst(to), !from.hasAlpha || !to.hasAlpha, source,
                           destination};
  if (from.pixelBytes == 3) {
    return to.pixelBytes == 3 ? RunRow<Rearrange24To24>(args) : RunRow<Rearrange24To32>(args);
  }
  return to.pixelBytes == 3 ? RunRow<Rearrange32To24>(args) : RunRow<Rearrange32To32>(args);
}

/// Of red, green, blue.
constexpr GreyWeights greyWeights[] = {{19595, 38470, 7471}, {13933, 46871, 4732}, {17216, 44434, 3886}};

void MakeGreyRow(const Format& from, const std::uint8_t* source, std::uint8_t* destination, int width,
                 int matrix) {
  GreyWeights weights = greyWeights[matrix - KV_MATRIX_BT601];
  if (!IsRedFirst(from)) std::swap(weights.first, weights.third);
  const GreyOfBitmapArgs args{width, weights, source, destination};
  return from.pixelBytes == 3 ? RunRow<GreyOf24>(args) : RunRow<GreyOf32>(args);
}

/// The first, third, fifth of 2 * count bytes, or the second, fourth, sixth.
void TakeEverySecond(const std::uint8_t* from, bool isFirst, int count, std::uint8_t* to) {
  using kv_img::featurefind::LumaBytes;
  const int groups = count / 8;
  RunRow<LumaBytes>({groups, from, to, isFirst ? PackedOrder::LumaFirst : PackedOrder::ChromaFirst});
  for (int i = 8 * groups; i < count; ++i) to[i] = from[2 * i + (isFirst ? 0 : 1)];
}

}  // namespace

void ConvertBitmapRow(const Format& from, const std::uint8_t* source, const Format& to,
                      std::uint8_t* destination, int width, int matrix, std::uint8_t* line) {
  const Format& whole = *FindFormat(KV_FORMAT_BGRX32);
  if (from.storage == Storage::Words) {
    const bool isDone = to.pixelBytes == 4 && !IsRedFirst(to);
    const WordsArgs args{width, from.code == KV_FORMAT_RGB565, source, isDone ? destination : line};
    RunRow<WordsTo32>(args);
    if (!isDone) ConvertBitmapRow(whole, line, to, destination, width, matrix, line);
  } else if (to.storage == Storage::Words) {
    const bool isReady = from.pixelBytes == 4 && !IsRedFirst(from);
    if (!isReady) ConvertBitmapRow(from, source, whole, line, width, matrix, nullptr);
    RunRow<WordsFrom32>({width, to.code == KV_FORMAT_RGB565, isReady ? source : line, destination});
  } else if (to.storage == Storage::Grey) {
    MakeGreyRow(from, source, destination, width, matrix);
  } else if (from.storage == Storage::Grey) {
    const BitmapOfGreyArgs args{width, source, destination};
    to.pixelBytes == 3 ? RunRow<GreyTo24>(args) : RunRow<GreyTo32>(args);
  } else {
    RearrangeRow(from, source, to, destination, width);
  }
}

void PackRow(const Frame& planar, int row, bool isLumaFirst, std::uint8_t* packed) {
  const std::uint8_t* luma = planar.Row(0, row);
  const std::uint8_t* cb = planar.Row(1, row);
  const std::uint8_t* cr = planar.Row(2, row);
  const int whole = planar.width / 2;
  const auto pack = [&]<int y>() {
    for (int pair = 0; pair < whole; ++pair) {
      packed[4 * pair + y] = luma[2 * pair];
      packed[4 * pair + y + 2] = luma[2 * pair + 1];
      packed[4 * pair + 1 - y] = cb[pair];
      packed[4 * pair + 3 - y] = cr[pair];
    }
    if (planar.width % 2 == 0) return;
    packed[4 * whole + y] = packed[4 * whole + y + 2] = luma[2 * whole];
    packed[4 * whole + 1 - y] = cb[whole];
    packed[4 * whole + 3 - y] = cr[whole];
  };
  isLumaFirst ? pack.operator()<0>() : pack.operator()<1>();
}

void UnpackRow(const std::uint8_t* packed, bool isLumaFirst, const Frame& planar, int row,
               std::uint8_t* line) {
  const int pairs = (planar.width + 1) / 2;
  TakeEverySecond(packed, isLumaFirst, planar.width, planar.Row(0, row));
  TakeEverySecond(packed, !isLumaFirst, 2 * pairs, line);
  TakeEverySecond(line, true, pairs, planar.Row(1, row));
  TakeEverySecond(line, false, pairs, planar.Row(2, row));
}

void SwapRow(const std::uint8_t* from, int width, std::uint8_t* to) {
  const int bytes = 4 * ((width + 1) / 2);
  for (int at = 0; at < bytes; at += 2) {
    const std::uint8_t first = from[at];
    to[at] = from[at + 1];
    to[at + 1] = first;
  }
}

}  // namespace kv_capi
