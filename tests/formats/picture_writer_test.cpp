#include "host/formats/picture_writer.h"

#include <gtest/gtest.h>

#include "host/formats/picture_reader.h"
#include "host/formats/png_file.h"
#include "host/platform/platform.h"
#include "tests/formats/support.h"

namespace kv_host {
namespace {

using Names = std::vector<std::string>;

TEST(PictureWriter, OnePictureBecomesTheNamedFile) {
  const TestFolder folder;
  PictureWriter writer(folder / "out.bmp");
  writer.Write(MakeRaster(RasterKind::Dib24, 3, 2));
  writer.Commit();
  EXPECT_EQ(folder.Names(), Names{"out.bmp"});
  EXPECT_EQ(writer.Names(), Names{folder / "out.bmp"});
}

TEST(PictureWriter, SeveralPicturesBecomeNumberedFiles) {
  const TestFolder folder;
  const auto frames =
      std::vector{RandomRaster(RasterKind::Grey8, 3, 2, 0, 1), RandomRaster(RasterKind::Grey8, 5, 4, 0, 2),
                  RandomRaster(RasterKind::Grey8, 1, 1, 0, 3)};
  WriteAll(folder / "out.pgm", frames);
  EXPECT_EQ(folder.Names(), (Names{"out-0001.pgm", "out-0002.pgm", "out-0003.pgm"}));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(ReadAll(folder / ("out-000" + std::to_string(i + 1) + ".pgm")), std::vector{frames[i]});
  }
}

TEST(PictureWriter, NumbersGoBeforeTheLastExtensionOnly) {
  const TestFolder folder;
  WriteAll(folder / "a.b.bmp", {MakeRaster(RasterKind::Dib16, 1, 1), MakeRaster(RasterKind::Dib16, 1, 1)});
  EXPECT_EQ(folder.Names(), (Names{"a.b-0001.bmp", "a.b-0002.bmp"}));
}

TEST(PictureWriter, FromTenThousandFilesOnNumbersStillSort) {
#if defined(_WIN32)
  GTEST_SKIP()
      << "with so many files in a folder Wine takes minutes, and the numbers are those of every system";
#endif
  const TestFolder folder;
  WriteAll(folder / "o.pgm", std::vector<Raster>(10000, MakeRaster(RasterKind::Grey8, 1, 1)));
  const Names names = folder.Names();
  ASSERT_EQ(names.size(), 10000U);
  EXPECT_EQ(names.front(), "o-00001.pgm");
  EXPECT_EQ(names.back(), "o-10000.pgm");
}

TEST(PictureWriter, NothingStandsBeforeCommitAndNothingIsLeftWithoutIt) {
  for (const std::string name : {"out.bmp", "out.y4m", "out.uyvy"}) {
    const TestFolder folder;
    {
      PictureWriter writer(folder / name);
      const bool bitmap = name == "out.bmp";
      const Raster frame =
          bitmap ? MakeRaster(RasterKind::Dib24, 3, 2) : MakeRaster(RasterKind::Yuv422Planar, 3, 2);
      for (int i = 0; i < 3; ++i) writer.Write(frame);
      for (const std::string& found : folder.Names()) EXPECT_TRUE(found.ends_with(".part")) << found;
    }
    EXPECT_EQ(folder.Names(), Names{});
  }
}

TEST(PictureWriter, NoPictureIsAnErrorAndLeavesNoFile) {
  const TestFolder folder;
  {
    PictureWriter writer(folder / "out.y4m");
    EXPECT_NE(FileErrorText([&] { writer.Commit(); }).find("no picture was written"), std::string::npos);
  }
  EXPECT_EQ(folder.Names(), Names{});
}

TEST(PictureWriter, UnwritableNumberedNameLeavesNoFile) {
  const TestFolder folder;
  std::filesystem::create_directory(folder / "out-0002.pgm");
  FileErrorText(
      [&] { WriteAll(folder / "out.pgm", std::vector<Raster>(3, MakeRaster(RasterKind::Grey8, 1, 1))); });
  EXPECT_EQ(folder.Names(), Names{"out-0002.pgm"});
}

TEST(PictureWriter, KindsThatDoNotFitAreRefused) {
  const TestFolder folder;
  const std::vector<Raster> rasters = {MakeRaster(RasterKind::Yuv422, 2, 2, LayoutLumaFirst),
                                       MakeRaster(RasterKind::Yuva422, 2, 2, LayoutLumaFirst),
                                       MakeRaster(RasterKind::Yuv422Planar, 2, 2),
                                       MakeRaster(RasterKind::Dib15, 2, 2),
                                       MakeRaster(RasterKind::Dib16, 2, 2),
                                       MakeRaster(RasterKind::Dib24, 2, 2),
                                       MakeRaster(RasterKind::Dib32, 2, 2),
                                       MakeRaster(RasterKind::Grey8, 2, 2)};
  for (const std::string name :
       {"y4m", "uyvy", "yuy2", "uyvya", "yuy2a", "bmp", "pgm", "ppm", "pnm", "png"}) {
    if (name == "png" && !HasPng()) continue;
    const auto& kinds = TraitsOf(*FormatNamed(name)).writableRasters;
    for (const Raster& raster : rasters) {
      PictureWriter writer(folder / ("x." + name));
      if (std::find(kinds.begin(), kinds.end(), raster.kind) != kinds.end()) {
        EXPECT_NO_THROW(writer.Write(raster)) << name << " " << NameOf(raster.kind);
      } else {
        EXPECT_NE(FormatErrorText([&] { writer.Write(raster); }).find("cannot hold"), std::string::npos);
      }
    }
  }
}

TEST(PictureWriter, UnknownExtensionsAreRefusedUnlessTheFormatIsNamed) {
  const TestFolder folder;
  EXPECT_NE(FormatErrorText([&] { PictureWriter writer(folder / "out.gif"); }).find("y4m, uyvy"),
            std::string::npos);
  EXPECT_EQ(PictureWriter("-").Format(), FileFormat::Y4m);
  PictureWriter writer(folder / "out.gif", {.format = FileFormat::Bmp});
  writer.Write(MakeRaster(RasterKind::Dib24, 3, 2));
  writer.Commit();
  EXPECT_EQ(FormatOfExtension(folder.Names().at(0)), std::nullopt);
  EXPECT_EQ(PictureReader(folder / "out.gif").Format(), FileFormat::Bmp);
}

TEST(PictureWriter, FullDiskIsReportedByEveryFormat) {
  KV_NEEDS_NAMED_PIPES();
  for (const FileFormat format :
       {FileFormat::Y4m, FileFormat::Uyvy, FileFormat::Bmp, FileFormat::Ppm, FileFormat::Png}) {
    const Raster frame =
        RandomRaster(TraitsOf(format).writableRasters.front(), 300, 200, TraitsOf(format).layout);
    const std::string text = FileErrorText([&] {
      PictureWriter writer("/dev/full", {.format = format});
      writer.Write(frame);
      writer.Commit();
    });
    EXPECT_EQ(text, "/dev/full: cannot be written: No space left on device");
  }
}

TEST(PictureWriter, PipesShowEveryPictureAtOnce) {
  KV_NEEDS_NAMED_PIPES();
  const TestPipe pipe;
  PictureWriter writer(pipe.WriteName(), {.format = FileFormat::Png});
  std::optional<PictureReader> reader;
  for (unsigned seed = 1; seed <= 3; ++seed) {
    const Raster frame = RandomRaster(RasterKind::Dib32, 4, 3, 0, seed);
    writer.Write(frame);
    if (!reader) reader.emplace(pipe.ReadName());
    EXPECT_EQ(reader->Next(), frame);
  }
  writer.Commit();
}

TEST(PictureWriter, ClosedPipeIsReported) {
  KV_NEEDS_NAMED_PIPES();
  PrepareProcess();  // it ignores the signal
  TestPipe pipe;
  PictureWriter writer(pipe.WriteName(), {.format = FileFormat::Y4m});
  writer.Write(MakeRaster(RasterKind::Yuv422Planar, 3, 2));
  pipe.CloseReader();
  const std::string text = FileErrorText([&] { writer.Write(MakeRaster(RasterKind::Yuv422Planar, 3, 2)); });
  EXPECT_NE(text.find("Broken pipe"), std::string::npos) << text;
}

}  // namespace
}  // namespace kv_host
