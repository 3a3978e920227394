#include "host/formats/raw_frames.h"

#include <algorithm>
#include <string>

#include "host/formats/format_error.h"
#include "host/formats/packing.h"
#include "host/formats/planes_io.h"
#include "host/formats/v210.h"

namespace kv_host {
namespace {

Raster ShapeOf(const ByteSource& source, FileFormat format, const RawShape& shape) {
  const std::string problem = SizeProblem(shape.width, shape.height);
  if (!problem.empty()) throw FormatError(source.Name(), problem);
  const bool hasFields =
      shape.interlace == Interlace::TopFieldFirst || shape.interlace == Interlace::BottomFieldFirst;
  if (hasFields && shape.height % 2 != 0) {
    throw FormatError(source.Name(),
                      std::to_string(shape.height) +
                          " rows are not two fields of equal height; an interlaced frame has an even number");
  }
  const FormatTraits& traits = TraitsOf(format);
  Raster frame = MakeEmptyRaster(traits.raw->kind, shape.width, shape.height, traits.layout);
  frame.interlace = shape.interlace;
  return frame;
}

void Exchange(const ByteExchange& exchange, std::vector<std::uint8_t>& bytes) {
  if (exchange.unit == 0) return;
  for (std::size_t i = 0; i + exchange.unit <= bytes.size(); i += exchange.unit) {
    std::swap(bytes[i + exchange.first], bytes[i + exchange.second]);
  }
}

void WriteRows(const Raster& frame, const ByteExchange& exchange, ByteSink& sink) {
  if (exchange.unit == 0) return WritePlanes(frame, sink);
  Raster exchanged = frame;
  Exchange(exchange, exchanged.planes[0].bytes);
  WritePlanes(exchanged, sink);
}

}  // namespace

RawReader::RawReader(ByteSource& source, FileFormat format, const RawShape& shape)
    : source_(source),
      format_(format),
      shape_(ShapeOf(source, format, shape)),
      dither_(shape.dither),
      planes_(TraitsOf(format).raw->storage.value_or(PlaneStorage{}), shape.dither) {
  const auto size = source.Remaining();
  const std::uint64_t frame = RawByteCount(format, shape.width, shape.height);
  if (size && *size % frame != 0) {
    throw FormatError(source.Name(), "the size does not fit the file: a " + std::to_string(shape.width) +
                                         "x" + std::to_string(shape.height) + " frame has " +
                                         std::to_string(frame) + " bytes, the file has " +
                                         std::to_string(*size) + ", which is " +
                                         std::to_string(*size / frame) + " frames and " +
                                         std::to_string(*size % frame) + " bytes over");
  }
  if (size) length_ = static_cast<std::int64_t>(*size / frame);
}

std::optional<Raster> RawReader::Next() {
  if (source_.AtEnd()) return std::nullopt;
  ++frame_;
  Raster frame = shape_;
  const std::string what = "frame " + std::to_string(frame_) + " of " + std::to_string(frame.width) + "x" +
                           std::to_string(frame.height) + " pixels";
  const RawTraits& traits = *TraitsOf(format_).raw;
  if (format_ == FileFormat::V210) {
    ReadV210(source_, frame, dither_, what);
  } else if (traits.storage) {
    planes_.Read(source_, frame, what);
  } else {
    ReadPlanes(source_, frame, what);
    Exchange(traits.exchange, frame.planes[0].bytes);
  }
  return frame;
}

std::uint64_t RawByteCount(FileFormat format, int width, int height) {
  const FormatTraits& traits = TraitsOf(format);
  if (format == FileFormat::V210) return V210ByteCount(width, height);
  if (traits.raw->storage) return SamplePlanes(*traits.raw->storage, Dither::None).ByteCount(width, height);
  return MakeEmptyRaster(traits.raw->kind, width, height, traits.layout).ByteCount();
}

void WriteRaw(const Raster& frame, FileFormat format, ByteSink& sink) {
  const FormatTraits& traits = TraitsOf(format);
  const RasterKind kind = traits.raw->kind;
  if (kind == RasterKind::Yuv422 && frame.kind == RasterKind::Yuv422Planar) {
    return WriteRows(Pack(frame, traits.layout), traits.raw->exchange, sink);
  }
  if (kind == RasterKind::Yuv422Planar && frame.kind == RasterKind::Yuv422) {
    return WriteRaw(Unpack(frame), format, sink);
  }
  if (frame.kind != kind) {
    throw FormatError(sink.Name(),
                      std::string("this raw format holds ") + NameOf(kind) + ", not " + NameOf(frame.kind));
  }
  if (format == FileFormat::V210) return WriteV210(frame, sink);
  if (traits.raw->storage) return SamplePlanes(*traits.raw->storage, Dither::None).Write(frame, sink);
  if (frame.layout == traits.layout) return WriteRows(frame, traits.raw->exchange, sink);
  WriteRows(WithLayout(frame, traits.layout), traits.raw->exchange, sink);
}

}  // namespace kv_host
