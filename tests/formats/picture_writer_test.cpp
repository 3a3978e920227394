#include "host/formats/picture_writer.h"

#include <gtest/gtest.h>

#include "host/formats/picture_reader.h"
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
  EXPECT_EQ(folder.Names(), (Names{"out-0000.pgm", "out-0001.pgm", "out-0002.pgm"}));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(ReadAll(folder / ("out-000" + std::to_string(i) + ".pgm")), std::vector{frames[i]});
  }
}

TEST(PictureWriter, NumbersGoBeforeTheLastExtensionOnly) {
  const TestFolder folder;
  WriteAll(folder / "a.b.bmp", {MakeRaster(RasterKind::Dib16, 1, 1), MakeRaster(RasterKind::Dib16, 1, 1)});
  EXPECT_EQ(folder.Names(), (Names{"a.b-0000.bmp", "a.b-0001.bmp"}));
}

TEST(PictureWriter, OfMoreThanTenThousandFilesNumbersStillSort) {
#if defined(_WIN32)
  GTEST_SKIP()
      << "with so many files in a folder Wine takes minutes, and the numbers are those of every system";
#endif
  const TestFolder folder;
  WriteAll(folder / "o.pgm", std::vector<Raster>(10001, MakeRaster(RasterKind::Grey8, 1, 1)));
  const Names names = folder.Names();
  ASSERT_EQ(names.size(), 10001U);
  EXPECT_EQ(names.front(), "o-00000.pgm");
  EXPECT_EQ(names.back(), "o-10000.pgm");
}

/// The names that frames of a clip get.
Names NamesOf(const TestFolder& folder, const std::string& name, const ClipPart& clip, int frames) {
  PictureWriter writer(folder / name, {.clip = clip});
  for (int i = 0; i < frames; ++i) writer.Write(MakeRaster(RasterKind::Grey8, 1, 1));
  writer.Commit();
  Names names = folder.Names();
  for (const std::string& made : names) std::filesystem::remove(folder / made);
  return names;
}

TEST(PictureWriter, FilesHaveTheNumbersOfTheirFrames) {
  const TestFolder folder;
  const auto names = [&](const std::string& name, const ClipPart& clip, int frames) {
    return NamesOf(folder, name, clip, frames);
  };
  EXPECT_EQ(names("o.pgm", {{100, 2}, 5000}, 2), (Names{"o-0100.pgm", "o-0101.pgm"}));
  EXPECT_EQ(names("o.pgm", {{100, 2}, 10000}, 2), (Names{"o-0100.pgm", "o-0101.pgm"}));
  EXPECT_EQ(names("o.pgm", {{100, 2}, 10001}, 2), (Names{"o-00100.pgm", "o-00101.pgm"}));
  // Who does not know the length gives the same width to each part.
  EXPECT_EQ(names("o.pgm", {{100, 2}, {}}, 2), (Names{"o-000100.pgm", "o-000101.pgm"}));
  EXPECT_EQ(names("o.pgm", {{}, {}}, 2), (Names{"o-0000.pgm", "o-0001.pgm"}));
  // The last part of a clip may hold one frame.
  EXPECT_EQ(names("o.pgm", {{100, 50}, 101}, 1), Names{"o-0100.pgm"});
  // One frame that was asked for has the name as it is, and so has a clip of one frame.
  EXPECT_EQ(names("o.pgm", {{100, 1}, 101}, 1), Names{"o.pgm"});
  EXPECT_EQ(names("o.pgm", {{}, 1}, 1), Names{"o.pgm"});
}

TEST(PictureWriter, ANameMayHaveAPlaceForTheNumber) {
  const TestFolder folder;
  const auto names = [&](const std::string& name, const ClipPart& clip, int frames) {
    return NamesOf(folder, name, clip, frames);
  };
  EXPECT_EQ(names("f%06d.pgm", {{7, 2}, 9}, 2), (Names{"f000007.pgm", "f000008.pgm"}));
  EXPECT_EQ(names("f%d-x.pgm", {{9, 2}, 11}, 2), (Names{"f10-x.pgm", "f9-x.pgm"}));
  EXPECT_EQ(names("f%012d.pgm", {{7, 1}, 9}, 1), Names{"f000000000007.pgm"}) << "a single one too";
  // A blank in names from the web is no place.
  EXPECT_EQ(names("my%20dog.pgm", {{0, 1}, 1}, 1), Names{"my%20dog.pgm"});
  EXPECT_EQ(names("50%.pgm", {{0, 1}, 1}, 1), Names{"50%.pgm"});
  EXPECT_NE(FormatErrorText([&] { names("%02d-%02d.pgm", {}, 1); }).find("two places for a number"),
            std::string::npos);
  // Of single pictures a name is taken as it is.
  WriteAll(folder / "f%06d.pgm", {MakeRaster(RasterKind::Grey8, 1, 1)});
  EXPECT_EQ(folder.Names(), Names{"f%06d.pgm"});
}

TEST(PictureWriter, EveryFrameOfAVideoMayHaveItsOwnFile) {
  const TestFolder folder;
  const Raster frame = RandomRaster(RasterKind::Yuv422Planar, 4, 2);
  PictureWriter writer(folder / "f%02d.y4m", {.clip = ClipPart()});
  for (int i = 0; i < 2; ++i) writer.Write(frame);
  writer.Commit();
  EXPECT_EQ(folder.Names(), (Names{"f00.y4m", "f01.y4m"}));
  EXPECT_EQ(ReadAll(folder / "f01.y4m").size(), 1U);
}

TEST(PictureWriter, NumberedFilesAreReplacedOnlyWhereThatIsAskedFor) {
  const TestFolder folder;
  const ClipPart clip{{100, 3}, 200};
  WriteFile(folder / "o-0102.pgm", ToBytes("old"));
  const std::string refusal = folder / "o-0102.pgm: exists already; --overwrite replaces it";
  // Before any work where the names are known …
  EXPECT_EQ(FileErrorText([&] { PictureWriter(folder / "o.pgm", {.clip = clip}); }), refusal);
  EXPECT_EQ(FileErrorText([&] { PictureWriter(folder / "o-%04d.pgm", {.clip = clip}); }), refusal);
  // … and else before any file gets its name.
  const auto write = [&](PictureWriter& writer) {
    for (int i = 0; i < 3; ++i) writer.Write(MakeRaster(RasterKind::Grey8, 1, 1));
    writer.Commit();
  };
  WriteFile(folder / "p-0002.pgm", ToBytes("old"));
  EXPECT_NE(FileErrorText([&] {
              PictureWriter writer(folder / "p.pgm", {.clip = ClipPart()});
              write(writer);
            }).find("p-0002.pgm: exists already"),
            std::string::npos);
  EXPECT_EQ(folder.Names(), (Names{"o-0102.pgm", "p-0002.pgm"}));
  EXPECT_EQ(FileBytes(folder / "o-0102.pgm"), ToBytes("old"));

  PictureWriter replacing(folder / "o.pgm", {.clip = clip, .overwrite = true});
  write(replacing);
  EXPECT_EQ(ReadAll(folder / "o-0102.pgm").size(), 1U);
  // Files that the clip's frames do not touch are no obstacle.
  PictureWriter beside(folder / "o.pgm", {.clip = ClipPart{{103, 3}, 200}});
  write(beside);
  EXPECT_EQ(folder.Names().size(), 7U);
}

TEST(PictureWriter, AFileThatAppearsMeanwhileIsNotReplaced) {
  const TestFolder folder;
  PictureWriter writer(folder / "o.pgm", {.clip = ClipPart{{0, 2}, 2}});
  for (int i = 0; i < 2; ++i) writer.Write(MakeRaster(RasterKind::Grey8, 1, 1));
  writer.NameFiles();
  WriteFile(folder / "o-0001.pgm", ToBytes("theirs"));
  EXPECT_NE(FileErrorText([&] { writer.Commit(); }).find("o-0001.pgm: exists already"), std::string::npos);
  EXPECT_EQ(writer.CommittedFiles(), 1U);
  EXPECT_EQ(FileBytes(folder / "o-0001.pgm"), ToBytes("theirs"));
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
  TestPipe pipe;
  PictureWriter writer(pipe.WriteName(), {.format = FileFormat::Y4m});
  writer.Write(MakeRaster(RasterKind::Yuv422Planar, 3, 2));
  pipe.CloseReader();
  const std::string text = FileErrorText([&] { writer.Write(MakeRaster(RasterKind::Yuv422Planar, 3, 2)); });
  EXPECT_NE(text.find("Broken pipe"), std::string::npos) << text;
}

}  // namespace
}  // namespace kv_host
