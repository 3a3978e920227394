#include "host/formats/file_sequence.h"

#include <gtest/gtest.h>

#include "host/formats/picture_reader.h"
#include "tests/formats/support.h"

namespace kv_host {
namespace {

class FileSequence : public testing::Test {
 protected:
  void Make(std::initializer_list<const char*> names) const {
    for (const char* name : names) WriteFile(folder_ / name, ToBytes("P5 1 1 255\na"));
  }
  std::vector<std::string> In(std::initializer_list<const char*> names) const {
    std::vector<std::string> files;
    for (const char* name : names) files.push_back(folder_ / name);
    return files;
  }

  const TestFolder folder_;
};

TEST_F(FileSequence, NumbersGiveTheOrder) {
  Make({"part-9.pgm", "part-10.pgm", "part-11.pgm", "part-x.pgm", "part-012.pgm", "other-12.pgm"});
  EXPECT_EQ(FilesOf(folder_ / "part-%d.pgm"), In({"part-9.pgm", "part-10.pgm", "part-11.pgm"}));
}

TEST_F(FileSequence, StatedDigitsAreTheNames) {
  Make({"part-098.pgm", "part-099.pgm", "part-100.pgm", "part-1.pgm"});
  EXPECT_EQ(FilesOf(folder_ / "part-%03d.pgm"), In({"part-098.pgm", "part-099.pgm", "part-100.pgm"}));
}

TEST_F(FileSequence, AGapIsNamed) {
  Make({"part-0.pgm", "part-1.pgm", "part-3.pgm"});
  const std::string text = FormatErrorText([&] { FilesOf(folder_ / "part-%d.pgm"); });
  EXPECT_NE(text.find("part-2.pgm is missing in the sequence, which goes on to part-3.pgm"),
            std::string::npos)
      << text;
}

TEST_F(FileSequence, PatternsGiveTheOrderOfNames) {
  Make({"part-b.pgm", "part-a.pgm", "part-ab.pgm", "part-a.ppm", ".part.pgm"});
  EXPECT_EQ(FilesOf(folder_ / "*.pgm"), In({"part-a.pgm", "part-ab.pgm", "part-b.pgm"}));
  EXPECT_EQ(FilesOf(folder_ / "part-?.p*m"), In({"part-a.pgm", "part-a.ppm", "part-b.pgm"}));
}

TEST_F(FileSequence, WithoutAnyFileThereIsAnError) {
  for (const char* name : {"part-%d.pgm", "*.pgm"}) {
    EXPECT_NE(FileErrorText([&] { FilesOf(folder_ / name); }).find("no file has such a name"),
              std::string::npos);
  }
  EXPECT_EQ(FilesOf("-"), std::vector<std::string>{"-"});
  EXPECT_EQ(FilesOf(folder_ / "absent.pgm"), In({"absent.pgm"}));
}

TEST_F(FileSequence, AFileOfTheNameItselfIsThatFile) {
  Make({"part-%d.pgm", "part-1.pgm"});
  EXPECT_EQ(FilesOf(folder_ / "part-%d.pgm"), In({"part-%d.pgm"}));
}

TEST_F(FileSequence, ThePicturesAreReadOneAfterTheOther) {
  Make({"part-1.pgm", "part-2.pgm", "part-3.pgm"});
  WriteFile(folder_ / "part-2.pgm", ToBytes("P5 1 1 255\nb"));
  WriteFile(folder_ / "part-3.pgm", ToBytes("P5 1 1 255\nc"));
  PictureReader all(folder_ / "part-%d.pgm");
  EXPECT_EQ(all.Length(), 3);
  EXPECT_EQ(all.Next()->planes[0].bytes, ToBytes("a"));
  EXPECT_EQ(all.Next()->planes[0].bytes, ToBytes("b"));
  EXPECT_EQ(all.Next()->planes[0].bytes, ToBytes("c"));
  EXPECT_FALSE(all.Next().has_value());
  PictureReader last(folder_ / "part-?.pgm", {.format = {}, .width = 0, .height = 0, .frames = {2, 5}});
  EXPECT_EQ(last.NextNumber(), 2);
  EXPECT_EQ(last.Next()->planes[0].bytes, ToBytes("c"));
  EXPECT_FALSE(last.Next().has_value());
}

}  // namespace
}  // namespace kv_host
