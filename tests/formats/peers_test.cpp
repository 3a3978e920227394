// Files that ffmpeg writes, and files that ffmpeg reads: both sides must see the same samples. These tests
// need the ffmpeg program and fail without it.

#include <gtest/gtest.h>

#include <algorithm>
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

/// What `reader` has of a raw file.
Raster OneRaw(const std::string& file, FileFormat format, int width, int height) {
  PictureReader reader(file, {.format = format, .width = width, .height = height});
  return *reader.Next();
}

struct RawPeer {
  FileFormat format;
  std::string ours;
  std::string ffmpegs;
  RasterKind kind;
};

const RawPeer rawPeers[] = {{FileFormat::Uyvy, "uyvy", "uyvy422", RasterKind::Yuv422Planar},
                            {FileFormat::Yuy2, "yuy2", "yuyv422", RasterKind::Yuv422Planar},
                            {FileFormat::Yvyu, "yvyu", "yvyu422", RasterKind::Yuv422Planar},
                            {FileFormat::Yuv422p, "yuv422p", "yuv422p", RasterKind::Yuv422Planar},
                            {FileFormat::Yuv422p10, "yuv422p10le", "yuv422p10le", RasterKind::Yuv422Planar},
                            {FileFormat::Grey, "gray", "gray", RasterKind::Grey8},
                            {FileFormat::Bgr24, "bgr24", "bgr24", RasterKind::Dib24},
                            {FileFormat::Rgb24, "rgb24", "rgb24", RasterKind::Dib24},
                            {FileFormat::Bgra, "bgra", "bgra", RasterKind::Dib32},
                            {FileFormat::Rgba, "rgba", "rgba", RasterKind::Dib32}};

std::string FfmpegNameOf(RasterKind kind) {
  return kind == RasterKind::Dib24   ? "bgr24"
         : kind == RasterKind::Dib32 ? "bgra"
         : kind == RasterKind::Grey8 ? "gray"
                                     : "yuv422p";
}

TEST(Peers, RawFramesOfFfmpegAreRead) {
  const TestFolder folder;
  for (const RawPeer& peer : rawPeers) {
    Raster raster = RandomRaster(peer.kind, 38, 24);
    raster.interlace = Interlace::Unknown;
    EncodeWithFfmpeg(folder, raster, FfmpegNameOf(peer.kind), "-f rawvideo -pix_fmt " + peer.ffmpegs,
                     "x.raw");
    Raster read = OneRaw(folder / "x.raw", peer.format, 38, 24);
    if (read.kind == RasterKind::Yuv422) read = Unpack(read);
    EXPECT_EQ(read, raster) << peer.ours;
  }
}

TEST(Peers, RawFramesAreReadByFfmpeg) {
  const TestFolder folder;
  for (const RawPeer& peer : rawPeers) {
    const Raster raster = RandomRaster(peer.kind, 38, 24);
    WriteAll(folder / "x." + peer.ours, {raster});
    Ffmpeg("-f rawvideo -pix_fmt " + peer.ffmpegs + " -s 38x24 -i " + folder / "x." + peer.ours +
           " -f rawvideo -pix_fmt " + FfmpegNameOf(peer.kind) + " " + folder / "y.raw");
    Bytes expected;
    for (const Plane& plane : raster.planes)
      expected.insert(expected.end(), plane.bytes.begin(), plane.bytes.end());
    EXPECT_EQ(FileBytes(folder / "y.raw"), expected) << peer.ours;
  }
}

TEST(Peers, V210OfFfmpegIsReadAndItReadsOurs) {
  const TestFolder folder;
  for (const int width : {2, 46, 48, 50}) {
    const std::string size = std::to_string(width) + "x24";
    Bytes words(static_cast<std::size_t>(width) * 24 * 2 * 2);
    for (std::size_t i = 0; i < words.size(); i += 2) {
      // FFmpeg keeps its samples clear of the codes that synchronise.
      const unsigned sample = 4 + static_cast<unsigned>(i) * 37 % 1016;
      words[i] = static_cast<std::uint8_t>(sample);
      words[i + 1] = static_cast<std::uint8_t>(sample >> 8U);
    }
    WriteFile(folder / "x.yuv422p10le", words);
    Ffmpeg("-f rawvideo -pix_fmt yuv422p10le -s " + size + " -i " + folder / "x.yuv422p10le" +
           " -c:v v210 -f rawvideo " + folder / "x.v210");
    const Raster raster = OneRaw(folder / "x.v210", FileFormat::V210, width, 24);
    EXPECT_EQ(raster, OneRaw(folder / "x.yuv422p10le", FileFormat::Yuv422p10, width, 24)) << width;
    WriteAll(folder / "y.v210", {raster});
    WriteAll(folder / "y.yuv422p10le", {raster});
    Ffmpeg("-f v210 -video_size " + size + " -i " + folder / "y.v210" + " -f rawvideo -pix_fmt yuv422p10le " +
           folder / "z.raw");
    EXPECT_EQ(FileBytes(folder / "z.raw"), FileBytes(folder / "y.yuv422p10le")) << width;
  }
}

TEST(Peers, FourTwoZeroIsTheSameInTwoPlanesAsInThree) {
  const TestFolder folder;
  const Raster raster = RandomRaster(RasterKind::Yuv422Planar, 38, 24);
  EncodeWithFfmpeg(folder, raster, "yuv422p", "-f rawvideo -pix_fmt yuv420p", "x.yuv420p");
  Ffmpeg("-f rawvideo -pix_fmt yuv420p -s 38x24 -i " + folder / "x.yuv420p" + " -f rawvideo -pix_fmt nv12 " +
         folder / "x.nv12");
  EXPECT_EQ(OneRaw(folder / "x.nv12", FileFormat::Nv12, 38, 24),
            OneRaw(folder / "x.yuv420p", FileFormat::Yuv420p, 38, 24));
  Ffmpeg("-f rawvideo -pix_fmt yuv420p -s 38x24 -i " + folder / "x.yuv420p" + " " + folder / "x.y4m");
  EXPECT_EQ(ReadAll(folder / "x.y4m").at(0).planes,
            OneRaw(folder / "x.yuv420p", FileFormat::Yuv420p, 38, 24).planes);
  WriteAll(folder / "y.nv12", {raster});
  WriteAll(folder / "y.yuv420p", {raster});
  Ffmpeg("-f rawvideo -pix_fmt nv12 -s 38x24 -i " + folder / "y.nv12" + " -f rawvideo -pix_fmt yuv420p " +
         folder / "z.raw");
  EXPECT_EQ(FileBytes(folder / "z.raw"), FileBytes(folder / "y.yuv420p"));
}

TEST(Peers, TenBitsAndFullChromaOfFfmpegsY4mAreRead) {
  const TestFolder folder;
  for (const std::string format :
       {"yuv420p", "yuv422p", "yuv444p", "gray", "yuv420p10le", "yuv422p10le", "yuv444p10le", "gray10le"}) {
    Ffmpeg("-f lavfi -i testsrc2=size=62x46 -frames:v 2 -strict -1 -pix_fmt " + format + " " +
           folder / "x.y4m");
    const auto frames = ReadAll(folder / "x.y4m");
    ASSERT_EQ(frames.size(), 2U) << format;
    // Luma has no rule of its own but that of the bits.
    Ffmpeg("-i " + folder / "x.y4m" + " -f rawvideo " + folder / "x.raw");
    const Bytes raw = FileBytes(folder / "x.raw");
    const bool isTenBit = format.ends_with("10le");
    for (std::size_t i = 0; i < std::size_t{62} * 46; ++i) {
      const unsigned sample = isTenBit ? raw[2 * i] + 256U * raw[2 * i + 1] : raw[i] * 4U;
      ASSERT_EQ(frames[0].planes[0].bytes[i], std::min(255U, (sample + 2) / 4)) << format << ' ' << i;
    }
  }
}

}  // namespace
}  // namespace kv_host
