// Files that ffmpeg writes, and files that ffmpeg reads: both sides must see the same samples. These tests
// need the ffmpeg program and fail without it.

#include <gtest/gtest.h>

#include <cstdlib>

#include "host/formats/packing.h"
#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/formats/support.h"

namespace kv_host {
namespace {

void Ffmpeg(const std::string& arguments) {
  const std::string command = "ffmpeg -nostdin -v error -y " + arguments;
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

struct Picture {
  std::string pixelFormat;  // ffmpeg's name of the raster's byte order
  RasterKind kind;
};

/// `file` as ffmpeg decodes it, in the given pixel format.
Bytes Decoded(const TestFolder& folder, const std::string& file, const std::string& pixelFormat) {
  Ffmpeg("-i " + folder / file + " -f rawvideo -pix_fmt " + pixelFormat + " " + folder / "decoded.raw");
  return FileBytes(folder / "decoded.raw");
}

/// Raw samples as ffmpeg writes them into `file`.
void EncodeWithFfmpeg(const TestFolder& folder, const Raster& raster, const std::string& pixelFormat,
                      const std::string& options, const std::string& file) {
  Bytes samples;
  for (const Plane& plane : raster.planes)
    samples.insert(samples.end(), plane.bytes.begin(), plane.bytes.end());
  WriteFile(folder / "samples.raw", samples);
  const std::string size = std::to_string(raster.width) + "x" + std::to_string(raster.height);
  Ffmpeg("-f rawvideo -pix_fmt " + pixelFormat + " -s " + size + " -i " + folder / "samples.raw" + " " +
         options + " " + folder / file);
}

TEST(Peers, BitmapsOfFfmpegAreRead) {
  const TestFolder folder;
  for (const auto& [pixelFormat, kind] :
       {Picture{"bgr24", RasterKind::Dib24}, Picture{"bgra", RasterKind::Dib32},
        Picture{"rgb565le", RasterKind::Dib16}, Picture{"rgb555le", RasterKind::Dib15},
        Picture{"gray", RasterKind::Grey8}}) {
    const Raster raster = RandomRaster(kind, 37, 23);
    EncodeWithFfmpeg(folder, raster, pixelFormat, "-pix_fmt " + pixelFormat, "x.bmp");
    EXPECT_EQ(ReadAll(folder / "x.bmp"), std::vector{raster}) << pixelFormat;
  }
}

TEST(Peers, BitmapsAreReadByFfmpeg) {
  const TestFolder folder;
  for (const auto& [pixelFormat, kind] :
       {Picture{"bgr24", RasterKind::Dib24}, Picture{"bgra", RasterKind::Dib32},
        Picture{"rgb565le", RasterKind::Dib16}, Picture{"rgb555le", RasterKind::Dib15}}) {
    const Raster raster = RandomRaster(kind, 37, 23);
    WriteAll(folder / "x.bmp", {raster});
    EXPECT_EQ(Decoded(folder, "x.bmp", pixelFormat), raster.planes[0].bytes) << pixelFormat;
  }
}

TEST(Peers, GreyBitmapsAreReadByFfmpeg) {
  const TestFolder folder;
  const Raster raster = RandomRaster(RasterKind::Grey8, 37, 23);
  WriteAll(folder / "x.bmp", {raster});
  Bytes expected;
  for (const std::uint8_t grey : raster.planes[0].bytes) expected.insert(expected.end(), 3, grey);
  EXPECT_EQ(Decoded(folder, "x.bmp", "bgr24"), expected);
}

TEST(Peers, PngOfFfmpegIsRead) {
  const TestFolder folder;
  for (const auto& [pixelFormat, kind] :
       {Picture{"bgr24", RasterKind::Dib24}, Picture{"bgra", RasterKind::Dib32},
        Picture{"gray", RasterKind::Grey8}}) {
    const Raster raster = RandomRaster(kind, 37, 23);
    for (const std::string options : {"", "-flags +ildct"}) {
      EncodeWithFfmpeg(folder, raster, pixelFormat, options, "x.png");
      EXPECT_EQ(ReadAll(folder / "x.png"), std::vector{raster}) << pixelFormat << " " << options;
    }
  }
}

TEST(Peers, PngIsReadByFfmpeg) {
  const TestFolder folder;
  for (const auto& [pixelFormat, kind] :
       {Picture{"bgr24", RasterKind::Dib24}, Picture{"bgra", RasterKind::Dib32},
        Picture{"gray", RasterKind::Grey8}}) {
    const Raster raster = RandomRaster(kind, 37, 23);
    WriteAll(folder / "x.png", {raster});
    EXPECT_EQ(Decoded(folder, "x.png", pixelFormat), raster.planes[0].bytes) << pixelFormat;
  }
}

TEST(Peers, PnmOfFfmpegIsRead) {
  const TestFolder folder;
  const Raster grey = RandomRaster(RasterKind::Grey8, 37, 23);
  EncodeWithFfmpeg(folder, grey, "gray", "", "x.pgm");
  EXPECT_EQ(ReadAll(folder / "x.pgm"), std::vector{grey});
  const Raster colour = RandomRaster(RasterKind::Dib24, 37, 23);
  EncodeWithFfmpeg(folder, colour, "bgr24", "", "x.ppm");
  EXPECT_EQ(ReadAll(folder / "x.ppm"), std::vector{colour});
}

TEST(Peers, PnmIsReadByFfmpeg) {
  const TestFolder folder;
  const Raster grey = RandomRaster(RasterKind::Grey8, 37, 23);
  WriteAll(folder / "x.pgm", {grey});
  EXPECT_EQ(Decoded(folder, "x.pgm", "gray"), grey.planes[0].bytes);
  const Raster colour = RandomRaster(RasterKind::Dib24, 37, 23);
  WriteAll(folder / "x.ppm", {colour});
  EXPECT_EQ(Decoded(folder, "x.ppm", "bgr24"), colour.planes[0].bytes);
}

TEST(Peers, Y4mOfFfmpegIsRead) {
  const TestFolder folder;
  const std::vector<std::pair<std::string, Interlace>> fields = {{"progressive", Interlace::Progressive},
                                                                 {"tt", Interlace::TopFieldFirst},
                                                                 {"bb", Interlace::BottomFieldFirst}};
  for (const int width : {36, 37}) {
    for (const auto& [option, interlace] : fields) {
      Raster frame = RandomRaster(RasterKind::Yuv422Planar, width, 23);
      EncodeWithFfmpeg(folder, frame, "yuv422p", "-field_order " + option, "x.y4m");
      frame.interlace = interlace;
      std::vector<Raster> frames = ReadAll(folder / "x.y4m");
      ASSERT_EQ(frames.size(), 1U);
      EXPECT_EQ(frames[0].frameRate, (Ratio{25, 1}));
      EXPECT_EQ(frames[0].planes, frame.planes);
      EXPECT_EQ(frames[0].interlace, interlace) << option;
    }
  }
}

TEST(Peers, Y4mIsReadByFfmpeg) {
  const TestFolder folder;
  for (const int width : {36, 37}) {
    const auto frames = std::vector{RandomRaster(RasterKind::Yuv422Planar, width, 23, 0, 1),
                                    RandomRaster(RasterKind::Yuv422Planar, width, 23, 0, 2)};
    WriteAll(folder / "x.y4m", frames);
    Bytes expected;
    for (const Raster& frame : frames) {
      for (const Plane& plane : frame.planes)
        expected.insert(expected.end(), plane.bytes.begin(), plane.bytes.end());
    }
    EXPECT_EQ(Decoded(folder, "x.y4m", "yuv422p"), expected);
  }
}

TEST(Peers, PackedLayoutsAreThoseOfFfmpeg) {
  const TestFolder folder;
  const Raster frame = RandomRaster(RasterKind::Yuv422Planar, 36, 23);
  WriteAll(folder / "x.y4m", {frame});
  EXPECT_EQ(Decoded(folder, "x.y4m", "uyvy422"), Pack(frame, LayoutChromaFirst).planes[0].bytes);
  EXPECT_EQ(Decoded(folder, "x.y4m", "yuyv422"), Pack(frame, LayoutLumaFirst).planes[0].bytes);
}

TEST(Peers, FourTwoZeroOfFfmpegIsRefusedAndTheNamedOptionHelps) {
  const TestFolder folder;
  Ffmpeg("-f lavfi -i testsrc2=size=64x48 -frames:v 2 -pix_fmt yuv420p " + folder / "x.y4m");
  EXPECT_NE(FormatErrorText([&] { ReadAll(folder / "x.y4m"); }).find("-pix_fmt yuv422p"), std::string::npos);
  Ffmpeg("-i " + folder / "x.y4m" + " -pix_fmt yuv422p " + folder / "y.y4m");
  EXPECT_EQ(ReadAll(folder / "y.y4m").size(), 2U);
}

}  // namespace
}  // namespace kv_host
