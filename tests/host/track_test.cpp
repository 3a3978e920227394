// `kv track`: the table, and what is drawn and moved by it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "host/formats/picture_reader.h"
#include "tests/host/json_schema.h"
#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using nlohmann::json;

constexpr int trackWidth = 128;
constexpr int trackHeight = 96;

int PatternAt(double u, double v) {
  return static_cast<int>(std::lround(128 + 45 * std::sin(u / 5.3) * std::cos(v / 6.1) +
                                      35 * std::sin((u + 1.7 * v) / 9.7) +
                                      20 * std::cos((2.3 * u - v) / 13.9)));
}

/// A clip of a pattern that moves by (dx, dy) a frame; each field of interlaced ones at its own time.
std::string MovingClip(int frames, double dx, double dy, char interlace = 'p') {
  std::string clip = "YUV4MPEG2 W128 H96 F25:1 I" + std::string(1, interlace) + " C422\n";
  for (int frame = 0; frame < frames; ++frame) {
    clip += "FRAME\n";
    for (int y = 0; y < trackHeight; ++y) {
      const bool isLater = interlace == 't' ? y % 2 == 1 : interlace == 'b' && y % 2 == 0;
      const double time = frame + (isLater ? 0.5 : 0);
      for (int x = 0; x < trackWidth; ++x) clip += static_cast<char>(PatternAt(x - dx * time, y - dy * time));
    }
    clip += std::string(trackWidth * trackHeight, '\x80');
  }
  return clip;
}

using Row = std::vector<std::string>;

class Track : public testing::Test {
 protected:
  void Put(const std::string& name, const std::string& bytes) const {
    kv_test::WriteFile(temp_.Path() / name, bytes);
  }
  Outcome Kv(const std::string& arguments) const { return kv_test::RunKv(temp_.Path(), arguments); }
  /// The table's rows, the header first.
  std::vector<Row> Table(const std::string& arguments, int status = 0) const {
    const Outcome outcome = Kv("track " + arguments);
    EXPECT_EQ(outcome.status, status) << arguments << ": " << outcome.err;
    std::vector<Row> rows;
    std::istringstream lines(outcome.out);
    for (std::string line; std::getline(lines, line);) {
      if (line.ends_with('\r')) line.pop_back();
      rows.emplace_back();
      std::istringstream cells(line);
      for (std::string cell; std::getline(cells, cell, ',');) rows.back().push_back(cell);
    }
    return rows;
  }
  void Refused(const std::string& arguments, const std::string& message) const {
    const Outcome outcome = Kv("track " + arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
  }

  const kv_test::TempFolder temp_;
};

TEST_F(Track, ARowForEveryFrame) {
  Put("clip.y4m", MovingClip(25, 1.3, -0.65));
  const auto rows = Table("clip.y4m --at 50,60 --half 12x12 --range 6x6");
  ASSERT_EQ(rows.size(), 26U);
  EXPECT_EQ(rows[0], (Row{"frame", "x", "y", "score", "milliseconds"}));
  EXPECT_EQ(rows[1][0], "0");
  EXPECT_EQ(rows[1][1], "50.000");
  EXPECT_EQ(rows[1][2], "60.000");
  EXPECT_EQ(std::stod(rows[1][3]), 0);
  for (std::size_t frame = 0; frame < 25; ++frame) {
    const Row& row = rows[frame + 1];
    EXPECT_EQ(row[0], std::to_string(frame));
    EXPECT_NEAR(std::stod(row[1]), 50 + 1.3 * static_cast<double>(frame), 0.15) << frame;
    EXPECT_NEAR(std::stod(row[2]), 60 - 0.65 * static_cast<double>(frame), 0.15) << frame;
  }
  const auto part = Table("clip.y4m --at 50,60 --frames 3:4");
  ASSERT_EQ(part.size(), 5U);
  EXPECT_EQ(part[1][0], "3");
}

TEST_F(Track, SeveralPointsHaveNumbers) {
  Put("clip.y4m", MovingClip(3, 2, 1));
  const auto rows = Table("clip.y4m --at 50,60 --at 30,40 --half 8x8 --range 4x4");
  ASSERT_EQ(rows.size(), 7U);
  EXPECT_EQ(rows[0], (Row{"id", "frame", "x", "y", "score", "milliseconds"}));
  EXPECT_EQ((Row{rows[6][0], rows[6][1]}), (Row{"1", "2"}));
  EXPECT_NEAR(std::stod(rows[5][2]), 54, 0.15);
  EXPECT_NEAR(std::stod(rows[6][3]), 42, 0.15);
}

TEST_F(Track, TheFirstFieldsOfInterlacedClipsAreSearched) {
  for (const char order : {'t', 'b'}) {
    Put("clip.y4m", MovingClip(9, 2.5, 1, order));
    for (const int line : {50, 51}) {
      const auto rows = Table("clip.y4m --at 40," + std::to_string(line) + " --half 12x12 --range 6x6");
      ASSERT_EQ(rows.size(), 10U);
      EXPECT_EQ(rows[1][2], std::to_string(line) + ".000") << order;
      EXPECT_NEAR(std::stod(rows[9][1]), 60, 0.15) << order;
      EXPECT_NEAR(std::stod(rows[9][2]), line + 8, 0.3) << order;
    }
  }
}

TEST_F(Track, LostPointsSaySoAndFail) {
  std::string clip = MovingClip(4, 1, 0);
  const std::size_t frame = (clip.size() - clip.find("FRAME")) / 4;
  // Nothing is left of the picture in frame 2.
  std::fill_n(clip.begin() + static_cast<std::ptrdiff_t>(clip.find("FRAME") + 2 * frame + 6),
              trackWidth * trackHeight, '\x10');
  Put("clip.y4m", clip);
  const auto rows = Table("clip.y4m --at 60,50 --half 8x8 --range 4x4 --max-score 20", 1);
  ASSERT_EQ(rows.size(), 5U);
  EXPECT_EQ(rows[3][3], "lost");
  EXPECT_EQ(rows[3][1], rows[2][1]);
  EXPECT_NE(rows[4][3], "lost");
  EXPECT_NEAR(std::stod(rows[4][1]), 63, 0.15);
  EXPECT_NE(Kv("track clip.y4m --at 60,50 --half 8x8 --range 4x4 --max-score 20")
                .err.find("the point at 60,50 was lost in 1 of 4 frames, first in frame 2"),
            std::string::npos);
  Table("clip.y4m --at 60,50 --half 8x8 --range 4x4");
}

TEST_F(Track, RulesOfUpdates) {
  Put("clip.y4m", MovingClip(25, 1.3, -0.65));
  const std::string start = "clip.y4m --at 50,60 --half 12x12 --range 6x6 --update ";
  const auto errorOf = [&](const std::string& rule) {
    const Row last = Table(start + rule).back();
    return std::max(std::abs(std::stod(last[1]) - 81.2), std::abs(std::stod(last[2]) - 44.4));
  };
  EXPECT_LE(errorOf("never"), 0.15);
  EXPECT_GT(errorOf("always"), errorOf("never"));
  EXPECT_LE(errorOf("on-score 200"), 0.15);
  EXPECT_EQ(errorOf("1"), errorOf("always"));
  EXPECT_EQ(Table("--at 50,60 --update always clip.y4m").size(), 26U);
  Refused(start + "often", "'often' is no rule; there are never, always, a number of frames");
  Refused(start + "0", "'0' is no rule");
  Refused(start + "on-score x", "'x' is no rule");
}

TEST_F(Track, StabilisedClipsStandStill) {
  Put("clip.y4m", MovingClip(6, 3, -2));
  Table("clip.y4m --at 60,50 --half 8x8 --range 4x4 --annotate path.y4m --stabilise still.y4m");
  kv_host::PictureReader reader((temp_.Path() / "still.y4m").string());
  kv_host::PictureReader drawn((temp_.Path() / "path.y4m").string());
  for (int frame = 0; frame < 6; ++frame) {
    const auto still = reader.Next();
    const auto path = drawn.Next();
    ASSERT_TRUE(still && path);
    for (int y = 30; y < 70; ++y) {
      for (int x = 40; x < 90; ++x) {
        ASSERT_EQ(still->planes[0].Row(y)[static_cast<std::size_t>(x)], PatternAt(x, y)) << frame;
      }
    }
    EXPECT_EQ(path->planes[0].Row(50 - 2 * frame)[static_cast<std::size_t>(60 + 3 * frame)], 235);
    EXPECT_EQ(path->planes[0].Row(51 - 2 * frame)[static_cast<std::size_t>(62 + 3 * frame)], 16);
  }
  EXPECT_FALSE(reader.Next());
}

TEST_F(Track, LinesOfStabilisedFieldsStayInTheirField) {
  for (const char order : {'t', 'b'}) {
    Put("clip.y4m", MovingClip(6, 3, 1.3, order));
    Table("clip.y4m --at 60,50 --half 12x12 --range 6x6 --stabilise still.y4m");
    kv_host::PictureReader before((temp_.Path() / "clip.y4m").string());
    kv_host::PictureReader after((temp_.Path() / "still.y4m").string());
    // The even number that is nearest to 1.3 a frame.
    const int lines[] = {0, 2, 2, 4, 6, 6};
    for (int frame = 0; frame < 6; ++frame) {
      const auto moving = before.Next();
      const auto still = after.Next();
      ASSERT_TRUE(moving && still);
      EXPECT_EQ(still->interlace, moving->interlace);
      for (int y = 0; y < trackHeight; ++y) {
        // At the edge the field's own last line is repeated.
        const int from = std::min(y + lines[frame], trackHeight - 2 + y % 2);
        for (int x = 0; x < trackWidth - 15; ++x) {
          ASSERT_EQ(still->planes[0].Row(y)[static_cast<std::size_t>(x)],
                    moving->planes[0].Row(from)[static_cast<std::size_t>(x + 3 * frame)])
              << order << ": " << frame << ": " << x << ',' << y;
        }
      }
    }
  }
  // The other way.
  Put("clip.y4m", MovingClip(4, 0, -3, 't'));
  Table("clip.y4m --at 60,50 --half 12x12 --range 6x6 --stabilise still.y4m");
  kv_host::ReadOptions third;
  third.frames = {2, 1};
  kv_host::PictureReader before((temp_.Path() / "clip.y4m").string(), third);
  kv_host::PictureReader after((temp_.Path() / "still.y4m").string(), third);
  const auto moving = before.Next();
  const auto still = after.Next();
  ASSERT_TRUE(moving && still);
  for (int y = 0; y < 20; ++y) {
    EXPECT_TRUE(std::ranges::equal(still->planes[0].Row(y), moving->planes[0].Row(std::max(y - 6, y % 2))))
        << y;
  }
}

TEST_F(Track, LinesAndReportsOfJson) {
  Put("clip.y4m", MovingClip(3, 1, 0));
  const Outcome outcome = Kv("track clip.y4m --at 60,50 --json=lines");
  std::istringstream lines(outcome.out);
  std::string line;
  for (int frame = 0; frame < 3; ++frame) {
    ASSERT_TRUE(std::getline(lines, line));
    const json record = json::parse(line);
    EXPECT_EQ(record["frame"], frame);
    EXPECT_NEAR(record["points"][0]["x"].get<double>(), 60 + frame, 0.15);
  }
  ASSERT_TRUE(std::getline(lines, line));
  const json report = json::parse(line);
  const json schema = json::parse(kv_test::ReadFile(std::filesystem::path(KV_DOCS) / "json.schema.json"));
  EXPECT_EQ(kv_test::SchemaProblem(report, schema), "");
  EXPECT_EQ(report["result"]["points"][0]["lost"], 0);
}

TEST_F(Track, WrongOptions) {
  Put("clip.y4m", MovingClip(2, 1, 0));
  Refused("clip.y4m", "--at");
  Refused("--at 1,2", "CLIP is missing");
  Refused("clip.y4m --at 200,2", "--at: 200,2 is outside clip.y4m, which is 128x96");
  Refused("clip.y4m --at 64,50 --half 63x20",
          "--half: a part of 127x41 pixels is too large to be sought in 128x96");
  Refused("clip.y4m --at 60,50 --annotate -", "--annotate: - is no file");
}

}  // namespace
