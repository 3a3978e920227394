// Every small file of every format, cut off at every byte and with every byte changed: a FileError or a
// picture, never a crash, a hang or a block of memory that the file has no bytes for.

#include <gtest/gtest.h>

#include "host/formats/picture_reader.h"
#include "tests/formats/allocation_watch.h"
#include "tests/formats/support.h"

namespace kv_host {
namespace {

struct Sample {
  std::string name;
  RasterKind kind;
  int layout = 0;
};

std::vector<Sample> Samples() {
  std::vector<Sample> samples = {{"x.y4m", RasterKind::Yuv422Planar},
                                 {"x.uyvy", RasterKind::Yuv422, LayoutChromaFirst},
                                 {"x.yuy2a", RasterKind::Yuva422, LayoutLumaFirst},
                                 {"15.bmp", RasterKind::Dib15},
                                 {"16.bmp", RasterKind::Dib16},
                                 {"24.bmp", RasterKind::Dib24},
                                 {"32.bmp", RasterKind::Dib32},
                                 {"8.bmp", RasterKind::Grey8},
                                 {"x.pgm", RasterKind::Grey8},
                                 {"x.ppm", RasterKind::Dib24}};
  samples.insert(
      samples.end(),
      {{"8.png", RasterKind::Grey8}, {"24.png", RasterKind::Dib24}, {"32.png", RasterKind::Dib32}});
  return samples;
}

constexpr int Width = 5;
constexpr int Height = 3;

void ReadWhole(const std::string& name) {
  PictureReader reader(name, {.format = {}, .width = Width, .height = Height});
  while (reader.Next()) {
  }
}

TEST(DamagedFiles, CutOffAtEveryByte) {
  const TestFolder folder;
  for (const Sample& sample : Samples()) {
    WriteAll(folder / sample.name, {RandomRaster(sample.kind, Width, Height, sample.layout)});
    const Bytes whole = FileBytes(folder / sample.name);
    ASSERT_NO_THROW(ReadWhole(folder / sample.name)) << sample.name;
    for (std::size_t size = 0; size < whole.size(); ++size) {
      SCOPED_TRACE(sample.name + " cut off at byte " + std::to_string(size));
      WriteFile(folder / sample.name,
                Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
      const AllocationWatch watch;
      const std::string text = FormatErrorText([&] { ReadWhole(folder / sample.name); });
      EXPECT_TRUE(text.starts_with(folder / sample.name + ": ")) << text;
      EXPECT_LT(watch.LargestBlock(), 1U << 16U);
    }
  }
}

TEST(DamagedFiles, PipesCutOffAtEveryByte) {
  KV_NEEDS_NAMED_PIPES();
  const TestFolder folder;
  for (const Sample& sample : Samples()) {
    WriteAll(folder / sample.name, {RandomRaster(sample.kind, Width, Height, sample.layout)});
    const Bytes whole = FileBytes(folder / sample.name);
    const auto format = FormatOfExtension(sample.name);
    for (std::size_t size = 0; size < whole.size(); ++size) {
      SCOPED_TRACE(sample.name + " cut off at byte " + std::to_string(size));
      TestPipe pipe;
      pipe.Send(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
      pipe.CloseWriter();
      FormatErrorText([&] {
        PictureReader reader(pipe.ReadName(), {.format = format, .width = Width, .height = Height});
        while (reader.Next()) {
        }
      });
    }
  }
}

TEST(DamagedFiles, EveryByteChanged) {
  const TestFolder folder;
  for (const Sample& sample : Samples()) {
    WriteAll(folder / sample.name, {RandomRaster(sample.kind, Width, Height, sample.layout)});
    Bytes bytes = FileBytes(folder / sample.name);
    for (std::uint8_t& byte : bytes) {
      const std::uint8_t before = byte;
      for (const int value : {0, 1, 0x7F, 0x80, 0xFF, static_cast<int>('9'), before ^ 1, before + 1}) {
        byte = static_cast<std::uint8_t>(value);
        WriteFile(folder / sample.name, bytes);
        const AllocationWatch watch;
        try {
          ReadWhole(folder / sample.name);
        } catch (const FileError&) {
          // A picture or this: nothing else may come out.
        }
        EXPECT_LT(watch.LargestBlock(), 1U << 20U)
            << sample.name << " byte " << &byte - bytes.data() << " = " << value;
      }
      byte = before;
    }
  }
}

/// A PNG file that promises 16384 × 16384 pixels and holds none of them. `sum` is the check sum of its
/// header.
Bytes BoastingPng(std::uint8_t interlace, std::uint32_t sum) {
  Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13, 'I', 'H',      'D',
                'R',  0,   0,   64,  0,    0,    0,    64,   0, 8, 6, 0,  0,   interlace};
  for (unsigned i = 0; i < 4; ++i) file.push_back(static_cast<std::uint8_t>(sum >> (24 - 8 * i)));
  const Bytes data = {0, 0, 16, 0, 'I', 'D', 'A', 'T', 0x78, 0x9C};
  file.insert(file.end(), data.begin(), data.end());
  return file;
}

TEST(DamagedFiles, PromisesOfAPipeAreNotBelieved) {
  KV_NEEDS_NAMED_PIPES();
  const std::vector<Bytes> files = {ToBytes("YUV4MPEG2 W16384 H16384 C422\nFRAME\nabc"),
                                    ToBytes("P5 16384 16384 255 abc"),
                                    ToBytes("P6 16384 16384 255 abc"),
                                    ToBytes("P4 16384 16384 abc"),
                                    ToBytes("P3 16384 16384 255 1 2 3"),
                                    BoastingPng(0, 0xA9C81084),
                                    BoastingPng(1, 0xDECF2012)};
  for (const Bytes& file : files) {
    TestPipe pipe;
    pipe.Send(file);
    pipe.CloseWriter();
    const AllocationWatch watch;
    FormatErrorText([&] { ReadWhole(pipe.ReadName()); });
    EXPECT_LT(watch.LargestBlock(), 32U << 20U) << std::string(file.begin(), file.begin() + 12);
  }
}

}  // namespace
}  // namespace kv_host
