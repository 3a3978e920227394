#include <string>
#include <utility>

#include "host/formats/format_error.h"
#include "host/formats/packing.h"
#include "host/formats/planes_io.h"
#include "host/formats/y4m.h"

namespace kv_host {
namespace {

char LetterOf(Interlace interlace) {
  switch (interlace) {
    case Interlace::Progressive:
      return 'p';
    case Interlace::TopFieldFirst:
      return 't';
    case Interlace::BottomFieldFirst:
      return 'b';
    case Interlace::Unknown:
      break;
  }
  return '?';
}

std::string TextOf(const Ratio& ratio) {
  return std::to_string(ratio.numerator) + ":" + std::to_string(ratio.denominator);
}

std::string HeaderLine(const Y4mHeader& header) {
  const Ratio rate =
      header.frameRate == Ratio{} ? Ratio{.numerator = 25, .denominator = 1} : header.frameRate;
  std::string line = "YUV4MPEG2 W" + std::to_string(header.width) + " H" + std::to_string(header.height) +
                     " F" + TextOf(rate) + " I" + LetterOf(header.interlace) + " A" +
                     TextOf(header.pixelAspect) + " C422";
  if (header.chroma == ChromaSite::Centre) line += "jpeg";
  if (header.range == ColourRange::Full) line += " XCOLORRANGE=FULL";
  if (header.range == ColourRange::Limited) line += " XCOLORRANGE=LIMITED";
  return line + "\n";
}

Y4mHeader HeaderOf(const Raster& frame) {
  return {.width = frame.width,
          .height = frame.height,
          .interlace = frame.interlace,
          .range = frame.range,
          .chroma = frame.chroma,
          .frameRate = frame.frameRate,
          .pixelAspect = frame.pixelAspect,
          .storage = {}};
}

}  // namespace

void Y4mWriter::Write(const Raster& frame, ByteSink& sink) {
  if (frame.kind != RasterKind::Yuv422Planar && frame.kind != RasterKind::Yuv422) {
    throw FormatError(sink.Name(), std::string("a Y4M file holds 4:2:2 frames, not ") + NameOf(frame.kind));
  }
  const Y4mHeader header = HeaderOf(frame);
  if (!started_) {
    sink.Write(HeaderLine(header));
    header_ = header;
    started_ = true;
  }
  if (header.width != header_.width || header.height != header_.height) {
    throw FormatError(sink.Name(), "all frames of a Y4M file have one size: the first was " +
                                       std::to_string(header_.width) + "x" + std::to_string(header_.height) +
                                       ", this one is " + std::to_string(header.width) + "x" +
                                       std::to_string(header.height));
  }
  // What is not declared is limited range and left.
  const auto colours = [](const Y4mHeader& of) {
    return std::pair(of.range == ColourRange::Full, of.chroma == ChromaSite::Centre);
  };
  if (header.interlace != header_.interlace || colours(header) != colours(header_)) {
    throw FormatError(
        sink.Name(), "all frames of a Y4M file have one interlace, one colour range and one chroma position");
  }
  sink.Write("FRAME\n");
  if (frame.kind == RasterKind::Yuv422) {
    WritePlanes(Unpack(frame), sink);
  } else {
    WritePlanes(frame, sink);
  }
}

}  // namespace kv_host
