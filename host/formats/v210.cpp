#include "host/formats/v210.h"

#include <vector>

namespace kv_host {
namespace {

std::size_t StrideOf(int width) {
  return (static_cast<std::size_t>(width) + 47) / 48 * 128;
}

/// Calls `work(sample index of the row, plane, column)` for every sample of a row; of an odd width's last pair too.
template <class Work>
void ForEachSample(int width, Work work) {
  const auto columns = static_cast<std::size_t>(width);
  for (std::size_t x = 0; x < columns; x += 2) {
    work(2 * x, 1, x / 2);
    work(2 * x + 1, 0, x);
    work(2 * x + 2, 2, x / 2);
    if (x + 1 < columns) work(2 * x + 3, 0, x + 1);
  }
}

}  // namespace

std::uint64_t V210ByteCount(int width, int height) {
  return std::uint64_t{StrideOf(width)} * static_cast<std::uint64_t>(height);
}

void ReadV210(ByteSource& source, Raster& frame, Dither dither, std::string_view what) {
  std::vector<std::uint8_t> bytes;
  source.Append(bytes, V210ByteCount(frame.width, frame.height), what);
  for (Plane& plane : frame.planes) plane.bytes.resize(plane.stride * static_cast<std::size_t>(plane.rows));
  for (int y = 0; y < frame.height; ++y) {
    const std::uint8_t* row = bytes.data() + StrideOf(frame.width) * static_cast<std::size_t>(y);
    ForEachSample(frame.width, [&](std::size_t index, std::size_t plane, std::size_t x) {
      const std::uint8_t* word = row + index / 3 * 4;
      const unsigned bits = word[0] | static_cast<unsigned>(word[1]) << 8U |
                            static_cast<unsigned>(word[2]) << 16U | static_cast<unsigned>(word[3]) << 24U;
      frame.planes[plane].Row(y)[x] = Narrow(bits >> 10U * (index % 3) & 0x3FFU, 10, x, y, dither);
    });
  }
}

void WriteV210(const Raster& frame, ByteSink& sink) {
  std::vector<std::uint8_t> bytes(V210ByteCount(frame.width, frame.height));
  for (int y = 0; y < frame.height; ++y) {
    std::uint8_t* row = bytes.data() + StrideOf(frame.width) * static_cast<std::size_t>(y);
    const auto put = [&](std::size_t index, unsigned sample) {
      const unsigned bits = sample << 2U << 10U * (index % 3);
      for (std::size_t i = 0; i < 4; ++i) {
        row[index / 3 * 4 + i] |= static_cast<std::uint8_t>(bits >> 8U * i);
      }
    };
    ForEachSample(frame.width, [&](std::size_t index, std::size_t plane, std::size_t x) {
      put(index, frame.planes[plane].Row(y)[x]);
    });
    // The luma that has no pixel repeats the last one, as in packed rows of 8 bits.
    const auto columns = static_cast<std::size_t>(frame.width);
    if (columns % 2 != 0) put(2 * columns + 1, frame.planes[0].Row(y)[columns - 1]);
  }
  sink.Write(bytes);
}

}  // namespace kv_host
