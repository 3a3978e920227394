// The reader and the writer of PNG over zlib alone, which programs for Windows have, beside those over libpng: the same
// pictures, the same refusals in the same words.

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <regex>

#include "host/formats/png_file.h"
#include "host/formats/png_zlib.h"
#include "tests/formats/png_maker.h"

namespace kv_host {
namespace {

struct Reading {
  std::optional<Raster> raster;
  std::string problem;
  std::uint64_t end = 0;
};

template <class Read>
Reading ReadingOf(const std::string& name, const Read& read) {
  Reading reading;
  ByteSource source(name);
  try {
    reading.raster = read(source);
  } catch (const FileError& error) {
    reading.problem = error.what();
  }
  reading.end = source.Offset();
  return reading;
}

/// The problem without libpng's name, and without the number of bytes that it asked for at once where there were none.
std::string Words(const std::string& problem) {
  return std::regex_replace(problem, std::regex(" \\(libpng\\)|at least [0-9]+ bytes"), "");
}

class PngReaders : public testing::Test {
 protected:
  /// How it went: whether there is a picture.
  bool Compare(const Bytes& file, const std::string& what) {
    WriteFile(name_, file);
    const Reading ours = ReadingOf(name_, png::ReadByZlib);
    const Reading theirs = ReadingOf(name_, ReadPng);
    EXPECT_EQ(Words(ours.problem), Words(theirs.problem)) << what;
    EXPECT_EQ(ours.end, theirs.end) << what;
    EXPECT_TRUE(ours.raster == theirs.raster) << what;
    return ours.raster.has_value();
  }

  static Bytes Noise(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 24U);
    return bytes;
  }

  /// Pictures of every colour type and depth, with what may belong to each.
  static std::vector<PngFile> Kinds(int width, int height, unsigned seed) {
    std::vector<PngFile> files;
    for (const auto& [type, depths] :
         {std::pair{PngFile::grey, std::vector{1, 2, 4, 8, 16}}, std::pair{PngFile::rgb, std::vector{8, 16}},
          std::pair{PngFile::palette, std::vector{1, 2, 4, 8}},
          std::pair{PngFile::greyAlpha, std::vector{8, 16}},
          std::pair{PngFile::rgbAlpha, std::vector{8, 16}}}) {
      for (const int depth : depths) {
        PngFile file{width, height, depth, type, {}};
        file.rows = Noise(file.RowBytes(width) * static_cast<std::size_t>(height), seed);
        if (type == PngFile::palette) file.chunks = {{"PLTE", Noise(3U << depth, seed + 1)}};
        file.filter = static_cast<int>(seed % 5);
        file.isInterlaced = seed % 2 == 1;
        file.sampleChunk = 1 + seed * 37 % 300;
        files.push_back(file);
        if (type == PngFile::grey) file.chunks = {{"tRNS", {0, 1}}};
        if (type == PngFile::rgb) file.chunks = {{"tRNS", {file.rows.begin(), file.rows.begin() + 3}}};
        if (type == PngFile::rgb) file.chunks[0].second.resize(6);
        if (type == PngFile::palette)
          file.chunks.push_back({"tRNS", Noise(std::size_t{1} << (depth / 2), seed)});
        file.chunks.push_back({"cICP", {9, static_cast<std::uint8_t>(seed % 2 == 0 ? 16 : 18), 0, 1}});
        file.chunks.push_back({"tEXt", {'a', 0, 'b'}});
        files.push_back(file);
      }
    }
    return files;
  }

  const TestFolder folder_;
  const std::string name_ = folder_ / "x.png";
};

TEST_F(PngReaders, WholePicturesOfAllKinds) {
  for (unsigned seed = 0; seed < 40; ++seed) {
    const int width = 1 + static_cast<int>(seed * 7 % 41);
    for (const PngFile& file : Kinds(width, 1 + static_cast<int>(seed % 9), seed)) {
      EXPECT_TRUE(Compare(file.Content(), "type " + std::to_string(file.colourType) + " of " +
                                              std::to_string(file.depth) + " bits, seed " +
                                              std::to_string(seed)));
    }
  }
}

TEST_F(PngReaders, EverySixteenBitSampleIsRoundedTheSameWay) {
  PngFile file{256, 256, 16, PngFile::grey, {}};
  for (unsigned value = 0; value < 65536; ++value) {
    file.rows.push_back(static_cast<std::uint8_t>(value >> 8U));
    file.rows.push_back(static_cast<std::uint8_t>(value));
  }
  EXPECT_TRUE(Compare(file.Content(), "all values"));
}

TEST_F(PngReaders, FilesThatEndAtEveryByte) {
  for (const PngFile& file : Kinds(9, 5, 3)) {
    const Bytes whole = file.Content();
    for (std::size_t size = 8; size < whole.size(); ++size) {
      EXPECT_FALSE(Compare({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)},
                           "type " + std::to_string(file.colourType) + " cut to " + std::to_string(size)));
    }
  }
}

/// Writes right check sums over those of all chunks, so that what they hold is looked at.
void MendSums(Bytes& file) {
  for (std::size_t at = 8; at + 12 <= file.size();) {
    const std::size_t length = std::size_t{file[at]} << 24U | std::size_t{file[at + 1]} << 16U |
                               std::size_t{file[at + 2]} << 8U | file[at + 3];
    if (length > file.size() || at + 12 + length > file.size()) return;
    const auto sum = crc32(0, file.data() + at + 4, static_cast<uInt>(length + 4));
    for (unsigned i = 0; i < 4; ++i)
      file[at + 8 + length + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
    at += 12 + length;
  }
}

TEST_F(PngReaders, DamagedFiles) {
  std::mt19937 random(7);
  int pictures = 0;
  int refusals = 0;
  for (unsigned round = 0; round < 60; ++round) {
    for (const PngFile& file :
         Kinds(1 + static_cast<int>(random() % 20), 1 + static_cast<int>(random() % 9), round)) {
      Bytes bytes = file.Content();
      const std::size_t start = random() % 2 == 0 ? 8 : 33;
      for (unsigned i = 0; i <= random() % 3; ++i) {
        bytes[start + random() % (bytes.size() - start)] ^= static_cast<std::uint8_t>(1U << random() % 8);
      }
      if (random() % 3 != 0) MendSums(bytes);
      (Compare(bytes, "round " + std::to_string(round)) ? pictures : refusals)++;
    }
  }
  EXPECT_GT(pictures, 100);
  EXPECT_GT(refusals, 300);
}

TEST_F(PngReaders, WhatOnceWasFoundByFuzzing) {
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(KV_PNG_CORPUS)) {
    Compare(FileBytes(entry.path().string()), entry.path().filename().string());
    ++files;
  }
  EXPECT_GT(files, 20);
}

/// The names of a file's chunks.
std::vector<std::string> ChunksOf(const Bytes& file) {
  std::vector<std::string> names;
  for (std::size_t at = 8; at + 12 <= file.size();) {
    const auto name = file.begin() + static_cast<std::ptrdiff_t>(at) + 4;
    names.emplace_back(name, name + 4);
    at += 12 + (std::size_t{file[at]} << 24U | std::size_t{file[at + 1]} << 16U |
                std::size_t{file[at + 2]} << 8U | file[at + 3]);
  }
  return names;
}

TEST_F(PngReaders, ChunksThatMayNotBeThere) {
  const Bytes colours = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  PngFile file{4, 1, 8, PngFile::palette, {0, 1, 2, 0}};
  const auto expect = [&](bool isRead, const char* what) {
    EXPECT_EQ(Compare(file.Content(), what), isRead) << what;
  };
  expect(false, "no palette");
  file.chunks = {{"PLTE", colours}};
  expect(true, "a palette");
  file.chunks = {{"PLTE", colours}, {"PLTE", colours}};
  expect(false, "two palettes");
  file.chunks = {{"IHDR", {0, 0, 0, 4, 0, 0, 0, 1, 8, 3, 0, 0, 0}}, {"PLTE", colours}};
  expect(false, "two headers");
  file.chunks = {{"PLTE", colours}, {"ABCD", {}}};
  expect(false, "a critical chunk");
  file.chunks = {{"PLTE", colours}, {"aBCD", {}}};
  expect(true, "an ancillary chunk");
  for (const std::size_t count : {1U, 3U, 4U}) {
    file.chunks = {{"PLTE", colours}, {"tRNS", Bytes(count, 100)}};
    expect(true, "alpha for some of three colours, or for one too many, which does not count");
  }
  file.depth = 16;
  file.rows.resize(8);
  file.chunks = {{"PLTE", colours}};
  expect(false, "indices of 16 bits");
  file = {4, 1, 8, PngFile::grey, {0, 1, 2, 0}};
  const Bytes whole = file.Content();
  for (const std::size_t at : {26U, 27U, 28U}) {
    Bytes changed = whole;
    changed[at] = 2;
    MendSums(changed);
    EXPECT_FALSE(Compare(changed, "another way to pack, to filter, to interlace"));
  }
}

TEST_F(PngReaders, TheSamePicturesAreMarkedAsSrgb) {
  for (const RasterKind kind : {RasterKind::Grey8, RasterKind::Dib24, RasterKind::Dib32}) {
    for (const ColourMatrix matrix :
         {ColourMatrix::Unknown, ColourMatrix::Bt601, ColourMatrix::Bt709, ColourMatrix::Bt2020}) {
      Raster raster = RandomRaster(kind, 3, 2);
      raster.matrix = matrix;
      const bool isSrgb =
          kind != RasterKind::Grey8 && (matrix == ColourMatrix::Bt601 || matrix == ColourMatrix::Bt709);
      for (const auto write : {png::WriteByZlib, WritePng}) {
        Bytes file;
        ByteSink sink(file);
        write(raster, sink);
        EXPECT_EQ(std::ranges::count(ChunksOf(file), "sRGB"), isSrgb ? 1 : 0) << NameOf(kind);
      }
    }
  }
}

TEST_F(PngReaders, ReadWhatTheOtherLibraryWrites) {
  for (const RasterKind kind : {RasterKind::Grey8, RasterKind::Dib24, RasterKind::Dib32}) {
    for (const int width : {1, 2, 7, 300}) {
      Raster raster = RandomRaster(kind, width, 5);
      // Something that packs well, and needs the filters.
      for (std::size_t i = 0; i < raster.planes[0].bytes.size(); i += 2) {
        raster.planes[0].bytes[i] = static_cast<std::uint8_t>(i / 3);
      }
      raster.matrix = kind == RasterKind::Grey8 ? ColourMatrix::Unknown : ColourMatrix::Bt2020;
      raster.transfer = kind == RasterKind::Grey8 ? Transfer::Unknown : Transfer::Hlg;
      for (const auto write : {png::WriteByZlib, WritePng}) {
        Bytes file;
        ByteSink sink(file);
        write(raster, sink);
        EXPECT_TRUE(Compare(file, "written"));
        EXPECT_TRUE(ReadingOf(name_, png::ReadByZlib).raster == raster) << NameOf(kind) << " " << width;
      }
    }
  }
}

}  // namespace
}  // namespace kv_host
