#include "host/formats/byte_source.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/formats/allocation_watch.h"
#include "tests/formats/support.h"

namespace kv_host {
namespace {

TEST(ByteSource, ReadsPeeksAndCounts) {
  const TestFolder folder;
  WriteFile(folder / "f", {1, 2, 3, 4, 5});
  ByteSource source(folder / "f");
  EXPECT_EQ(source.Remaining(), 5U);
  EXPECT_EQ(source.Peek(2)[1], 2);
  EXPECT_EQ(source.Offset(), 0U);
  EXPECT_EQ(source.Get(), 1);
  std::array<std::uint8_t, 3> three{};
  source.Read(three, "three");
  EXPECT_EQ(three, (std::array<std::uint8_t, 3>{2, 3, 4}));
  EXPECT_EQ(source.Offset(), 4U);
  EXPECT_EQ(source.Remaining(), 1U);
  EXPECT_FALSE(source.AtEnd());
  EXPECT_EQ(source.Peek(9).size(), 1U);
  EXPECT_EQ(source.Get(), 5);
  EXPECT_EQ(source.Get(), -1);
  EXPECT_TRUE(source.AtEnd());
}

TEST(ByteSource, SaysHowManyBytesAreMissing) {
  const TestFolder folder;
  WriteFile(folder / "f", {1, 2, 3});
  ByteSource source(folder / "f");
  std::array<std::uint8_t, 5> five{};
  const std::string text = FormatErrorText([&] { source.Read(five, "the header"); });
  EXPECT_EQ(text, folder / "f" + ": byte 3: the file ends early: the header lacks 2 of 5 bytes");
}

TEST(ByteSource, RefusesToSkipBeyondTheEnd) {
  const TestFolder folder;
  WriteFile(folder / "f", {1, 2, 3});
  ByteSource source(folder / "f");
  source.Skip(1, "a byte");
  EXPECT_NE(FormatErrorText([&] { source.Skip(4, "a gap"); }).find("a gap lacks 2 of 4 bytes"),
            std::string::npos);
}

TEST(ByteSource, MissingFileAndFolderAreNamed) {
  const TestFolder folder;
  EXPECT_EQ(FileErrorText([&] { ByteSource source(folder / "none"); }),
            folder / "none" + ": cannot be opened: No such file or directory");
  EXPECT_EQ(FileErrorText([&] { ByteSource source(folder / ""); }),
            folder / "" + ": cannot be read: it is a folder");
}

TEST(ByteSource, PromisedBytesOfAPipeAreNotAllocatedBeforeTheyArrive) {
  KV_NEEDS_NAMED_PIPES();
  TestPipe pipe;
  pipe.Send({1, 2, 3});
  pipe.CloseWriter();
  ByteSource source(pipe.ReadName());
  EXPECT_EQ(source.Remaining(), std::nullopt);
  const AllocationWatch watch;
  Bytes bytes;
  const std::string text =
      FormatErrorText([&] { source.Append(bytes, std::uint64_t{1} << 40, "the sample data"); });
  EXPECT_NE(
      text.find("byte 3: the file ends early: the sample data lacks 1099511627773 of 1099511627776 bytes"),
      std::string::npos)
      << text;
  EXPECT_LT(watch.LargestBlock(), 64U << 20U);
}

TEST(ByteSource, PromisedBytesOfAFileAreNotAllocatedWhenItIsShorter) {
  const TestFolder folder;
  WriteFile(folder / "f", {1, 2, 3});
  ByteSource source(folder / "f");
  const AllocationWatch watch;
  Bytes bytes;
  FormatErrorText([&] { source.Append(bytes, std::uint64_t{1} << 40, "the sample data"); });
  EXPECT_LT(watch.LargestBlock(), 4096U);
}

TEST(ByteSource, LongBlocksArriveWhole) {
  const TestFolder folder;
  Bytes sent(20'000'000);
  for (std::size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<std::uint8_t>(i * 31 >> 8U);
  WriteFile(folder / "f", sent);
  ByteSource source(folder / "f");
  source.Peek(7);
  Bytes got = {99};
  source.Append(got, sent.size(), "all");
  EXPECT_EQ(got.front(), 99);
  EXPECT_TRUE(std::equal(sent.begin(), sent.end(), got.begin() + 1, got.end()));
}

}  // namespace
}  // namespace kv_host
