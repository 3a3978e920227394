#include "host/formats/sample_planes.h"

#include <algorithm>

#include "host/formats/chroma_rows.h"
#include "host/formats/planes_io.h"

namespace kv_host {
namespace {

bool IsInterlaced(const Raster& frame) {
  return frame.interlace == Interlace::TopFieldFirst || frame.interlace == Interlace::BottomFieldFirst;
}

void RowsFrom420(const Plane& stored, const Raster& frame, Plane& plane) {
  for (int y = 0; y < plane.rows; ++y) {
    const ChromaRow row = ChromaRowAt(y, stored.rows, ChromaRows::Between, IsInterlaced(frame));
    const std::uint8_t* nearer = stored.Row(row.nearer).data();
    const std::uint8_t* further = stored.Row(row.further).data();
    std::uint8_t* out = plane.Row(y).data();
    for (std::size_t x = 0; x < plane.stride; ++x) out[x] = ChromaSample(nearer[x], further[x], row.weight);
  }
}

void RowsTo420(const Plane& plane, const Raster& frame, Plane& stored) {
  for (int y = 0; y < stored.rows; ++y) {
    const LumaRows rows = LumaRowsOf(y, stored.rows, plane.rows, IsInterlaced(frame));
    const std::uint8_t* above = plane.Row(rows.above).data();
    const std::uint8_t* below = plane.Row(rows.below).data();
    std::uint8_t* out = stored.Row(y).data();
    for (std::size_t x = 0; x < plane.stride; ++x) out[x] = ChromaSample(above[x], below[x], rows.weight);
  }
}

void ColumnsFrom444(const Plane& stored, Plane& plane) {
  for (int y = 0; y < plane.rows; ++y) {
    const std::uint8_t* in = stored.Row(y).data();
    std::uint8_t* out = plane.Row(y).data();
    const std::size_t last = stored.stride - 1;
    for (std::size_t i = 0; i < plane.stride; ++i) {
      const std::size_t x = 2 * i;
      out[i] = static_cast<std::uint8_t>(
          (in[x == 0 ? 0 : x - 1] + 2U * in[x] + in[std::min(x + 1, last)] + 2U) >> 2U);
    }
  }
}

/// Stored bytes as samples of 8 bits, in place: rows of `stride` samples.
void NarrowRows(std::vector<std::uint8_t>& bytes, const std::vector<Plane>& planes, Dither dither) {
  std::size_t at = 0;
  for (const Plane& plane : planes) {
    for (int y = 0; y < plane.rows; ++y) {
      for (std::size_t x = 0; x < plane.stride; ++x, ++at) {
        const unsigned sample = bytes[2 * at] | static_cast<unsigned>(bytes[2 * at + 1]) << 8U;
        bytes[at] = Narrow(sample, 10, x, y, dither);
      }
    }
  }
}

std::size_t SizeOf(const Plane& plane) {
  return plane.stride * static_cast<std::size_t>(plane.rows);
}

}  // namespace

std::vector<Plane> SamplePlanes::StoredPlanes(int width, int height) const {
  const auto columns = static_cast<std::size_t>(width);
  std::vector<Plane> planes = {{.stride = columns, .rows = height, .bytes = {}}};
  if (storage_.chroma == ChromaPlanes::None) return planes;
  const Plane chroma{.stride = storage_.chroma == ChromaPlanes::Full ? columns : (columns + 1) / 2,
                     .rows = storage_.chroma == ChromaPlanes::Half ? (height + 1) / 2 : height,
                     .bytes = {}};
  planes.insert(planes.end(), 2, chroma);
  return planes;
}

std::uint64_t SamplePlanes::ByteCount(int width, int height) const {
  std::uint64_t count = 0;
  for (const Plane& plane : StoredPlanes(width, height)) {
    count += static_cast<std::uint64_t>(plane.stride) * static_cast<std::uint64_t>(plane.rows);
  }
  return storage_.isTenBit ? 2 * count : count;
}

void SamplePlanes::Read(ByteSource& source, Raster& frame, std::string_view what) {
  if (IsDirect()) return ReadPlanes(source, frame, what);
  bytes_.clear();
  source.Append(bytes_, ByteCount(frame.width, frame.height), what);
  std::vector<Plane> stored = StoredPlanes(frame.width, frame.height);
  if (storage_.isTenBit) NarrowRows(bytes_, stored, dither_);
  const std::uint8_t* in = bytes_.data();
  for (std::size_t i = 0; i < stored.size(); ++i) {
    Plane& plane = frame.planes[i];
    // Cb and Cr take turns in one plane, or each has its own.
    const bool takesTurns = storage_.isInterleaved && i > 0;
    Plane& own = stored[i];
    own.bytes.resize(SizeOf(own));
    if (takesTurns) {
      const std::uint8_t* both = bytes_.data() + SizeOf(stored[0]) + (i - 1);
      for (std::size_t k = 0; k < own.bytes.size(); ++k) own.bytes[k] = both[2 * k];
    } else {
      std::copy_n(in, own.bytes.size(), own.bytes.begin());
      in += own.bytes.size();
    }
    if (i == 0 || storage_.chroma == ChromaPlanes::Pair) {
      plane.bytes = std::move(own.bytes);
      continue;
    }
    plane.bytes.resize(SizeOf(plane));
    if (storage_.chroma == ChromaPlanes::Half) {
      RowsFrom420(own, frame, plane);
    } else {
      ColumnsFrom444(own, plane);
    }
  }
}

void SamplePlanes::Write(const Raster& frame, ByteSink& sink) {
  if (IsDirect()) return WritePlanes(frame, sink);
  std::vector<Plane> stored = StoredPlanes(frame.width, frame.height);
  bytes_.resize(ByteCount(frame.width, frame.height));
  std::size_t start = 0;
  for (std::size_t i = 0; i < stored.size(); ++i) {
    const Plane* plane = &frame.planes[i];
    if (i > 0 && storage_.chroma == ChromaPlanes::Half) {
      stored[i].bytes.resize(SizeOf(stored[i]));
      RowsTo420(*plane, frame, stored[i]);
      plane = &stored[i];
    }
    const bool takesTurns = storage_.isInterleaved && i > 0;
    const std::size_t first = takesTurns ? SizeOf(stored[0]) + (i - 1) : start;
    const std::size_t step = takesTurns ? 2 : 1;
    std::size_t at = first;
    for (const std::uint8_t sample : plane->bytes) {
      if (storage_.isTenBit) {
        bytes_[2 * at] = static_cast<std::uint8_t>(sample << 2U);
        bytes_[2 * at + 1] = static_cast<std::uint8_t>(sample >> 6U);
      } else {
        bytes_[at] = sample;
      }
      at += step;
    }
    start += plane->bytes.size();
  }
  sink.Write(bytes_);
}

}  // namespace kv_host
