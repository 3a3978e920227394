// `-` as a file name. Each test runs in a process of its own, whose standard streams it may redirect.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/formats/support.h"

// Where a process cannot be split the second one begins the test anew, in another folder.
#if defined(_WIN32)
#define KV_NEEDS_SAME_FOLDER() GTEST_SKIP() << "the tests of the program cover its streams here"
#else
#define KV_NEEDS_SAME_FOLDER()
#endif

namespace kv_host {
namespace {

[[noreturn]] void CopyStandardInputToStandardOutput(const std::string& in, const std::string& out,
                                                    FileFormat format) {
  if (std::freopen(in.c_str(), "rb", stdin) == nullptr ||
      std::freopen(out.c_str(), "wb", stdout) == nullptr) {
    std::exit(2);
  }
  try {
    PictureReader reader("-");
    PictureWriter writer("-", {.format = format});
    while (const auto frame = reader.Next()) writer.Write(*frame);
    writer.Commit();
    std::exit(writer.Names().empty() ? 0 : 3);
  } catch (const FileError& error) {
    std::fputs(error.what(), stderr);
    std::_Exit(1);  // what waits in standard output shall not be tried again
  }
}

TEST(StandardStreams, CarryEveryFrame) {
  KV_NEEDS_SAME_FOLDER();
  const TestFolder folder;
  Raster frame = RandomRaster(RasterKind::Yuv422Planar, 5, 3);
  frame.frameRate = {25, 1};
  const std::vector<Raster> frames(3, frame);
  WriteAll(folder / "in.y4m", frames);
  EXPECT_EXIT(CopyStandardInputToStandardOutput(folder / "in.y4m", folder / "out.y4m", FileFormat::Y4m),
              testing::ExitedWithCode(0), "");
  EXPECT_EQ(ReadAll(folder / "out.y4m"), frames);
}

TEST(StandardStreams, CarryPicturesOneBehindTheOther) {
  KV_NEEDS_SAME_FOLDER();
  const TestFolder folder;
  WriteFile(folder / "in.pnm", ToBytes("P5 1 1 255 aP5 1 1 255 b"));
  EXPECT_EXIT(CopyStandardInputToStandardOutput(folder / "in.pnm", folder / "out.bmp", FileFormat::Bmp),
              testing::ExitedWithCode(0), "");
  const auto frames = ReadAll(folder / "out.bmp");
  ASSERT_EQ(frames.size(), 2U);
  EXPECT_EQ(frames[1].planes[0].bytes, ToBytes("b"));
}

TEST(StandardStreams, AreNamedInErrors) {
  KV_NEEDS_NAMED_PIPES();
  const TestFolder folder;
  WriteFile(folder / "in.pgm", ToBytes("P5 2 1 255 a"));
  EXPECT_EXIT(CopyStandardInputToStandardOutput(folder / "in.pgm", "/dev/null", FileFormat::Pgm),
              testing::ExitedWithCode(1),
              "^standard input: byte 12: the file ends early: the picture lacks 1 of 2 bytes$");
  WriteFile(folder / "in.pgm", ToBytes("P5 2 1 255 ab"));
  EXPECT_EXIT(CopyStandardInputToStandardOutput(folder / "in.pgm", "/dev/full", FileFormat::Pgm),
              testing::ExitedWithCode(1), "^standard output: cannot be written: No space left on device$");
}

}  // namespace
}  // namespace kv_host
