#include "host/formats/raw_yuv.h"

#include <string>

#include "host/formats/format_error.h"
#include "host/formats/packing.h"
#include "host/formats/planes_io.h"

namespace kv_host {
namespace {

Raster ShapeOf(const ByteSource& source, RasterKind kind, int layout, int width, int height) {
  const std::string problem = SizeProblem(width, height);
  if (!problem.empty()) throw FormatError(source.Name(), problem);
  return MakeEmptyRaster(kind, width, height, layout);
}

}  // namespace

RawYuvReader::RawYuvReader(ByteSource& source, RasterKind kind, int layout, int width, int height)
    : source_(source), shape_(ShapeOf(source, kind, layout, width, height)) {
  const auto size = source.Remaining();
  const std::uint64_t frame = shape_.ByteCount();
  if (size && *size % frame != 0) {
    throw FormatError(source.Name(), "the size does not fit the file: a " + std::to_string(width) + "x" +
                                         std::to_string(height) + " frame has " + std::to_string(frame) +
                                         " bytes, the file has " + std::to_string(*size) + ", which is " +
                                         std::to_string(*size / frame) + " frames and " +
                                         std::to_string(*size % frame) + " bytes over");
  }
  if (size) length_ = static_cast<std::int64_t>(*size / frame);
}

std::optional<Raster> RawYuvReader::Next() {
  if (source_.AtEnd()) return std::nullopt;
  ++frame_;
  Raster frame = shape_;
  ReadPlanes(source_, frame,
             "frame " + std::to_string(frame_) + " of " + std::to_string(frame.width) + "x" +
                 std::to_string(frame.height) + " pixels");
  return frame;
}

void WriteRawYuv(const Raster& frame, RasterKind kind, int layout, ByteSink& sink) {
  if (kind == RasterKind::Yuv422 && frame.kind == RasterKind::Yuv422Planar) {
    WritePlanes(Pack(frame, layout), sink);
    return;
  }
  if (frame.kind != kind) {
    throw FormatError(sink.Name(),
                      std::string("this raw format holds ") + NameOf(kind) + ", not " + NameOf(frame.kind));
  }
  if (frame.layout == layout) {
    WritePlanes(frame, sink);
  } else {
    WritePlanes(WithLayout(frame, layout), sink);
  }
}

}  // namespace kv_host
