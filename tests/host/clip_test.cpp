// The polygon clipper of the program: pieces as text, as JSON and as a drawing.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/host/program.h"
#include "tests/support/family.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using kv_test::ReadFile;
using kv_test::RunKv;

class Clip : public testing::Test {
 protected:
  Outcome Kv(const std::string& arguments) const { return RunKv(temp_.Path(), "clip " + arguments); }
  void ExpectRefused(const std::string& arguments, const std::string& message) const {
    const Outcome outcome = Kv(arguments);
    EXPECT_EQ(outcome.status, 2);
    ExpectSaid(outcome, message);
  }
  /// In one line, which each system ends in its own way.
  static void ExpectSaid(const Outcome& outcome, const std::string& message) {
    EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err;
    EXPECT_TRUE(outcome.err.starts_with("kv: " + message)) << outcome.err << "is not: " << message;
  }

  const kv_test::TempFolder temp_;
  // Its left side reaches into the region's columns 8 to 11 with two arms, above and below the notch at 6,4.
  const std::string arrow_ = "--polygon '2,1 14,1 6,4 14,7 2,7' --size 16x8 --region 8,0,4,8";
};

TEST_F(Clip, AnArrowHasTwoPieces) {
  const Outcome outcome = Kv(arrow_);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "12,1.75 8,3.25 8,1 12,1\n12,7 8,7 8,4.75 12,6.25\n");
}

TEST_F(Clip, PiecesAsJson) {
  const auto answer = nlohmann::json::parse(Kv(arrow_ + " --json").out)["result"];
  ASSERT_EQ(answer["pieces"].size(), 2U);
  EXPECT_EQ(answer["pieces"][0], nlohmann::json::parse("[[12,1.75],[8,3.25],[8,1],[12,1]]"));
  EXPECT_EQ(answer["member"], kv_test::wideMember);
}

TEST_F(Clip, TheDrawingHoldsPolygonRegionAndPieces) {
  ASSERT_EQ(Kv(arrow_ + " --svg pieces.svg").status, 0);
  const std::string drawing = ReadFile(temp_.Path() / "pieces.svg");
  EXPECT_TRUE(drawing.starts_with("<svg ")) << drawing;
  for (const char* part :
       {"viewBox=\"0 0 16 8\"", "<polygon points=\"2,1 14,1 6,4 14,7 2,7\"",
        "<polygon points=\"12,1.75 8,3.25 8,1 12,1\"", "<polygon points=\"12,7 8,7 8,4.75 12,6.25\"",
        "<rect x=\"8\" y=\"0\" width=\"4\" height=\"8\""}) {
    EXPECT_NE(drawing.find(part), std::string::npos) << part;
  }
  EXPECT_TRUE(drawing.ends_with("</svg>\n")) << drawing;
}

TEST_F(Clip, APointOnAStraightSideStays) {
  EXPECT_EQ(Kv("--polygon '0,0 4,0 8,0 8,8 0,8' --size 16x16 --region 0,0,16,16").out,
            "0,0 4,0 8,0 8,8 0,8\n");
}

TEST_F(Clip, NothingInsideIsNothingFound) {
  const Outcome outcome = Kv("--polygon '0,1 1,1 0,4' --size 16x8 --region 8,0,4,8");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  ExpectSaid(outcome, "no part of the polygon is inside --region");
}

TEST_F(Clip, WrongArgumentsAreTold) {
  const std::string rest = " --size 16x8 --region 8,0,4,8";
  ExpectRefused("--polygon '0,1 1,1'" + rest, "--polygon: a polygon has three points or more");
  for (const std::string point : {"1;1", "1", "1,", "1,2x", "x,2"}) {
    ExpectRefused("--polygon '0,1 " + point + "'" + rest,
                  "--polygon: '" + point + "' is no point; write x,y pairs such as \"2,1 14,1 6,4\"");
  }
  ExpectRefused("--polygon '0,1 1,1 2,2' --size 1048577x8 --region 8,0,4,8",
                "--size: 1048577x8 is too large; sides go up to 1048576 pixels");
}

}  // namespace
