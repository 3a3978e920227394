// What smooths lines of interlaced clips keeps to a field: the masks of the alpha commands and of key.

#include <gtest/gtest.h>

#include <algorithm>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/random.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_host::Interlace;
using kv_host::Raster;
using kv_host::RasterKind;
using kv_test::Outcome;

constexpr int fieldsWidth = 22;

/// Noise in frames of either height; the extra row of an odd one is the top field's.
class FieldsOfMasks : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    kv_test::Random random(5);
    for (const std::string name : {"a", "b"}) {
      Raster frame = kv_host::MakeRaster(RasterKind::Yuv422Planar, fieldsWidth, GetParam());
      for (kv_host::Plane& plane : frame.planes) {
        // Small differences, which no mask cuts off.
        for (std::uint8_t& value : plane.bytes) value = static_cast<std::uint8_t>(120 + random.Next() % 8);
      }
      frame.interlace = Interlace::TopFieldFirst;
      Write(name + ".y4m", frame);
      for (const int field : {0, 1}) Write(name + std::to_string(field) + ".y4m", Field(frame, field));
      frame.interlace = Interlace::Progressive;
      Write(name + "p.y4m", frame);
    }
  }
  static Raster Field(const Raster& frame, int parity) {
    Raster field = kv_host::MakeRaster(frame.kind, frame.width, (frame.height + 1 - parity) / 2);
    for (std::size_t plane = 0; plane < frame.planes.size(); ++plane) {
      for (int y = 0; y < field.height; ++y) {
        std::ranges::copy(frame.planes[plane].Row(2 * y + parity), field.planes[plane].Row(y).begin());
      }
    }
    return field;
  }
  void Write(const std::string& name, const Raster& frame) const {
    kv_host::PictureWriter writer((temp_.Path() / name).string());
    writer.Write(frame);
    writer.Commit();
  }
  std::string Made(const std::string& arguments, const std::string& out) const {
    const Outcome outcome = kv_test::RunKv(temp_.Path(), arguments);
    EXPECT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
    return kv_test::ReadFile(temp_.Path() / out);
  }
  /// The rows of both fields in turn.
  static std::string Woven(const std::string& top, const std::string& bottom) {
    std::string woven;
    for (std::size_t row = 0; row < top.size(); row += fieldsWidth) {
      woven += top.substr(row, fieldsWidth);
      if (row < bottom.size()) woven += bottom.substr(row, fieldsWidth);
    }
    return woven;
  }
  std::string Alpha(const std::string& bytes, std::size_t rows) const {
    return bytes.substr(2 * fieldsWidth * rows, fieldsWidth * rows);
  }

  const kv_test::TempFolder temp_;
};

TEST_P(FieldsOfMasks, AreThoseOfEachFieldByItself) {
  for (const std::string command : {"alpha-color --low 60 --gamma 2", "alpha-prob --gain 2"}) {
    for (const std::string window : {"1", "2", "5"}) {
      const std::string end = " mask.gray --threads 3 --window " + window;
      const std::string whole = Made(command + " a.y4m b.y4m" + end, "mask.gray");
      const std::string top = Made(command + " a0.y4m b0.y4m" + end, "mask.gray");
      const std::string bottom = Made(command + " a1.y4m b1.y4m" + end, "mask.gray");
      EXPECT_EQ(whole, Woven(top, bottom)) << command << window;
      const std::string progressive = Made(command + " ap.y4m bp.y4m" + end, "mask.gray");
      EXPECT_EQ(whole == progressive, window == "1") << command;
      // One of the two has fields.
      EXPECT_EQ(Made(command + " ap.y4m b.y4m" + end, "mask.gray"), whole) << command;
    }
  }
}

TEST_P(FieldsOfMasks, StayInTheirPartOfARegion) {
  const auto make = [&](const std::string& files, const std::string& region) {
    return Made("alpha-color " + files + " mask.gray --window 5 --region " + region, "mask.gray");
  };
  // Rows 3 to 7 are rows 2 and 3 of the top field, 1 to 3 of the bottom one.
  EXPECT_EQ(make("a.y4m b.y4m", "3,3,10,5"),
            Woven(make("a0.y4m b0.y4m", "3,2,10,2"), make("a1.y4m b1.y4m", "3,1,10,3")));
  // A single row has none of the other field.
  const std::string row = make("a.y4m b.y4m", "3,4,10,1");
  EXPECT_EQ(row.substr(4 * fieldsWidth, fieldsWidth),
            make("a0.y4m b0.y4m", "3,2,10,1").substr(2 * fieldsWidth, fieldsWidth));
  EXPECT_EQ(std::ranges::count(row.substr(0, 4 * fieldsWidth), '\0'), 4 * fieldsWidth);
  EXPECT_EQ(std::ranges::count(row.substr(5 * fieldsWidth), '\0'), (GetParam() - 5) * fieldsWidth);
}

TEST_P(FieldsOfMasks, OfKeysToo) {
  const auto key = [&](const std::string& of, int rows, const std::string& window) {
    const std::string bytes =
        Made("key a" + of + ".y4m --plate b" + of + ".y4m out.uyvya --window " + window, "out.uyvya");
    return Alpha(bytes, static_cast<std::size_t>(rows));
  };
  const int rows = GetParam();
  for (const std::string window : {"1", "4"}) {
    EXPECT_EQ(key("", rows, window), Woven(key("0", (rows + 1) / 2, window), key("1", rows / 2, window)));
    EXPECT_EQ(key("", rows, window) == key("p", rows, window), window == "1");
  }
}

INSTANTIATE_TEST_SUITE_P(Heights, FieldsOfMasks, testing::Values(10, 11));

TEST(FieldsOfOneRow, TheSecondHasNone) {
  const kv_test::TempFolder temp;
  kv_test::WriteFile(temp.Path() / "a.y4m", "YUV4MPEG2 W2 H1 F25:1 It C422\nFRAME\nabcd");
  for (const std::string command :
       {"filter a.y4m out.y4m --window 3", "alpha-color a.y4m a.y4m out.y4m --window 3",
        "key a.y4m --color 1,2 a.y4m out.y4m --window 3", "parity a.y4m out.y4m",
        "parity a.y4m out.y4m --method field", "convert a.y4m out.uyvy"}) {
    const Outcome outcome = kv_test::RunKv(temp.Path(), command);
    EXPECT_EQ(outcome.status, 0) << command << ": " << outcome.err;
  }
}

}  // namespace
