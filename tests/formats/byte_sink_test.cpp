#include "host/formats/byte_sink.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>

#include "tests/formats/support.h"

namespace kv_host {
namespace {
namespace fs = std::filesystem;

using Names = std::vector<std::string>;

TEST(ByteSink, FinalNameAppearsOnCommitOnly) {
  const TestFolder folder;
  ByteSink sink(folder / "out");
  sink.Write("abc");
  sink.Flush();
  EXPECT_FALSE(fs::exists(folder / "out"));
  sink.Commit();
  EXPECT_EQ(folder.Names(), Names{"out"});
  EXPECT_EQ(FileBytes(folder / "out"), ToBytes("abc"));
}

TEST(ByteSink, NothingIsLeftWithoutCommit) {
  const TestFolder folder;
  {
    ByteSink sink(folder / "out");
    sink.Write("abc");
  }
  {
    ByteSink sink(folder / "out");
    sink.Write("abc");
    sink.Finish();
  }
  EXPECT_EQ(folder.Names(), Names{});
}

TEST(ByteSink, OlderFileStaysWholeWithoutCommit) {
  const TestFolder folder;
  WriteFile(folder / "out", ToBytes("old"));
  { ByteSink(folder / "out").Write("new"); }
  EXPECT_EQ(FileBytes(folder / "out"), ToBytes("old"));
  EXPECT_EQ(folder.Names(), Names{"out"});
}

TEST(ByteSink, OlderFileIsReplacedAndKeepsItsPermissions) {
  const TestFolder folder;
  WriteFile(folder / "out", ToBytes("old"));
  fs::permissions(folder / "out", fs::perms::owner_read | fs::perms::owner_write);
  const fs::perms before = fs::status(folder / "out").permissions();
  ByteSink sink(folder / "out");
  sink.Write("new");
  sink.Commit();
  EXPECT_EQ(FileBytes(folder / "out"), ToBytes("new"));
  EXPECT_EQ(fs::status(folder / "out").permissions(), before);
}

TEST(ByteSink, LinkStaysAndItsGoalIsReplaced) {
  const TestFolder folder;
  WriteFile(folder / "goal", ToBytes("old"));
  std::error_code error;
  fs::create_symlink("goal", folder / "link", error);
  if (error == std::errc::function_not_supported) GTEST_SKIP() << "links cannot be made here";
  ASSERT_FALSE(error) << error.message();
  ByteSink sink(folder / "link");
  sink.Write("new");
  sink.Commit();
  EXPECT_TRUE(fs::is_symlink(folder / "link"));
  EXPECT_EQ(FileBytes(folder / "goal"), ToBytes("new"));
}

TEST(ByteSink, RelativeNameInTheCurrentFolder) {
  const TestFolder folder;
  const fs::path before = fs::current_path();
  fs::current_path(folder / "");
  ByteSink sink("plain");
  sink.Write("x");
  sink.Commit();
  fs::current_path(before);
  EXPECT_EQ(folder.Names(), Names{"plain"});
}

TEST(ByteSink, LongestFileNameWorks) {
#if defined(_WIN32)
  GTEST_SKIP() << "the whole path is limited to 259 letters";
#endif
  const TestFolder folder;
  const std::string name(255, 'n');
  ByteSink sink(folder / name);
  sink.Commit();
  EXPECT_EQ(folder.Names(), Names{name});
}

TEST(ByteSink, UnwritableTargetsAreNamed) {
  const TestFolder folder;
  EXPECT_EQ(FileErrorText([&] { ByteSink sink(folder / "none/out"); }),
            folder / "none/out" + ": cannot be written: No such file or directory");
  EXPECT_EQ(FileErrorText([&] { ByteSink sink(folder / ""); }),
            folder / "" + ": cannot be written: it is a folder");
  EXPECT_EQ(folder.Names(), Names{});
}

TEST(ByteSink, FolderThatTakesTheNameMeanwhileIsAnErrorAndNothingIsLeft) {
  const TestFolder folder;
  {
    ByteSink sink(folder / "out");
    sink.Write("abc");
    fs::create_directory(folder / "out");
    FileErrorText([&] { sink.Commit(); });
  }
  EXPECT_EQ(folder.Names(), Names{"out"});
  EXPECT_TRUE(fs::is_directory(folder / "out"));
}

TEST(ByteSink, FullDiskIsReported) {
  KV_NEEDS_NAMED_PIPES();
  ByteSink sink("/dev/full");
  EXPECT_TRUE(sink.WritesThrough());
  const std::string text = FileErrorText([&] {
    sink.Write("abc");
    sink.Commit();
  });
  EXPECT_EQ(text, "/dev/full: cannot be written: No space left on device");
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST(ByteSink, DeviceIsWrittenNotReplaced) {
  KV_NEEDS_NAMED_PIPES();
  ByteSink sink("/dev/null");
  sink.Write("abc");
  sink.Commit();
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(ByteSink, ClosedPipeIsReported) {
  KV_NEEDS_NAMED_PIPES();
  TestPipe pipe;
  ByteSink sink(pipe.WriteName());
  pipe.CloseReader();
  const std::string text = FileErrorText([&] {
    sink.Write("abc");
    sink.Commit();
  });
  EXPECT_NE(text.find("cannot be written: Broken pipe"), std::string::npos) << text;
}

TEST(ByteSink, RenamedBeforeCommit) {
  const TestFolder folder;
  ByteSink sink(folder / "out");
  sink.Write("abc");
  sink.Rename(folder / "other");
  sink.Commit();
  EXPECT_EQ(folder.Names(), Names{"other"});
}

TEST(ByteSink, MovedSinkRemovesItsFileOnce) {
  const TestFolder folder;
  ByteSink first(folder / "out");
  {
    ByteSink second(std::move(first));
    second.Write("abc");
    EXPECT_EQ(folder.Names().size(), 1U);
  }
  EXPECT_EQ(folder.Names(), Names{});
}

}  // namespace
}  // namespace kv_host
