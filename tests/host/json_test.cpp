// Reports: one document that fits the schema, whatever the command and whatever comes of it.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/formats/file_name.h"
#include "tests/host/json_schema.h"
#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using kv_test::Photograph;
using kv_test::ReadFile;
using kv_test::RunKv;
using kv_test::WriteFile;
using nlohmann::json;
namespace fs = std::filesystem;

class Report : public testing::Test {
 protected:
  void SetUp() override {
    std::string grey = "P5 16 8 255\n";
    for (int i = 0; i < 16 * 8; ++i) grey += static_cast<char>(i * 37 + i / 16);
    WriteFile(folder_ / "g.pgm", grey);
    std::string video = "YUV4MPEG2 W16 H8 F25:1 It C422\n";
    for (int frame = 0; frame < 3; ++frame)
      video += "FRAME\n" + std::string(16 * 8 * 2, static_cast<char>(90 + frame));
    WriteFile(folder_ / "v.y4m", video);
  }

  void ExpectFits(const json& document) const {
    EXPECT_EQ(kv_test::SchemaProblem(document, schema_), "") << document.dump(2);
  }
  /// The report of a command with this exit status.
  json ReportOf(const std::string& arguments, int status) const {
    const Outcome outcome = RunKv(folder_, arguments + " --json");
    EXPECT_EQ(outcome.status, status) << arguments << ": " << outcome.err;
    const json document = json::parse(outcome.out, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << arguments << ": " << outcome.out;
    if (document.is_discarded()) return {};
    ExpectFits(document);
    EXPECT_EQ(document["status"], status) << arguments;
    EXPECT_EQ(document["error"].is_null(), status == 0) << arguments;
    if (status != 0) {
      std::string line = outcome.err.substr(0, outcome.err.find_last_not_of("\r\n") + 1);
      EXPECT_EQ("kv: " + document["error"]["message"].get<std::string>(), line) << arguments;
    }
    for (const auto& file : document["files"]) {
      EXPECT_TRUE(fs::exists(folder_ / kv_host::PathOf(file.get<std::string>()))) << file;
    }
    return document;
  }

  const json schema_ = json::parse(ReadFile(fs::path(KV_DOCS) / "json.schema.json"));
  const kv_test::TempFolder temp_;
  const fs::path folder_ = temp_.Path();
};

TEST_F(Report, EveryCommandFitsTheSchema) {
  const std::pair<const char*, const char*> commands[] = {
      {"members", ""},
      {"members --for Copy:yuv422:dib24", ""},
      {"convert v.y4m c.bmp", "Copy"},
      {"copy-roi g.pgm g.pgm --from 0,0,4,4 --to 8,4 -o r.pgm", "CopyROI"},
      {"diff v.y4m v.y4m d.y4m", "AbsoluteDifference"},
      {"average g.pgm g.pgm a.pgm", "Average"},
      {"filter g.pgm f.pgm --window 3", "AverageFilter"},
      {"blend v.y4m v.y4m g.pgm b.y4m", "BlendBoost"},
      {"alpha-color v.y4m v.y4m m.pgm --window 3 --frames 0:1", "AlphaLayerColorBased"},
      {"alpha-prob g.pgm g.pgm p.pgm --window 3", "AlphaLayerProbMask"},
      {"parity v.y4m q.y4m --method blend", "ParityChange"},
      {"pan g.pgm n.y4m --size 8x8 --frames 2 --direction right", "Scanning"},
      {"find g.pgm g.pgm --at 8,4 --half 1x1 --range 1x1 --map s.csv", "FeatureFind"},
      {"clip --polygon '2,1 14,1 6,4' --size 16x8 --region 8,0,4,8 --svg p.svg", "FillPoly"},
      {"join v.y4m v.y4m -o j.y4m", ""},
      {"key v.y4m --plate v.y4m k.uyvya", "AlphaLayerColorBased"},
      {"track v.y4m --at 8,4 --half 1x1 --range 1x1", "FeatureFind"},
      {"diff v.y4m v.y4m --stats", ""},
      {"selftest --rounds 1 --seed 3", ""},
  };
  for (const auto& [arguments, algorithm] : commands) {
    const json report = ReportOf(arguments, 0);
    const std::string text = arguments;
    EXPECT_EQ(report["command"], text.substr(0, text.find(' ')));
    EXPECT_TRUE(report["operations"].dump().find(algorithm) != std::string::npos) << report;
  }
}

TEST_F(Report, EveryCommandFitsTheSchemaWhenItFails) {
  for (const std::string command :
       {"demo", "members", "convert", "copy-roi", "diff", "average", "filter", "blend", "alpha-color",
        "alpha-prob", "parity", "pan", "find", "clip", "join", "selftest", "key", "track"}) {
    const json report = ReportOf(command + " --no-such-option", 2);
    EXPECT_EQ(report["command"], command);
    EXPECT_EQ(report["error"]["code"], "usage") << report;
    EXPECT_EQ(report["result"], nullptr);
  }
  EXPECT_EQ(ReportOf("nonsense", 2)["command"], nullptr);
  EXPECT_EQ(ReportOf("", 2)["command"], nullptr);
}

TEST_F(Report, ErrorsNameTheirKindTheFileAndTheByte) {
  WriteFile(folder_ / "cut.y4m", ReadFile(folder_ / "v.y4m").substr(0, 400));
  json error = ReportOf("convert cut.y4m x.bmp", 2)["error"];
  EXPECT_EQ(error["code"], "format");
  EXPECT_EQ(error["file"], "cut.y4m");
  EXPECT_EQ(error["offset"], 400);
  error = ReportOf("convert none.y4m x.bmp", 2)["error"];
  EXPECT_EQ(error["code"], "file");
  EXPECT_EQ(error["file"], "none.y4m");
  EXPECT_EQ(error["offset"], nullptr);
  EXPECT_EQ(ReportOf("convert v.y4m none/x.bmp", 2)["error"]["file"], "none/x.bmp");
  EXPECT_EQ(ReportOf("convert v.y4m x.gif", 2)["error"]["code"], "format");
  EXPECT_EQ(ReportOf("convert v.y4m x.bmp --size 4x4", 2)["error"]["code"], "usage");
  EXPECT_EQ(ReportOf("convert v.y4m x.bmp --member kv_algoX", 3)["error"]["code"], "noMember");
  EXPECT_EQ(ReportOf("find v.y4m v.y4m --at 8,4 --half 40x40 --range 2x2", 2)["error"]["code"], "operation");
  EXPECT_EQ(ReportOf("find v.y4m v.y4m --at 8,4 --half 1x1 --range 1x1 --around 900,9", 1)["error"]["code"],
            "notFound");
  EXPECT_EQ(ReportOf("clip --polygon '0,1 1,1 0,4' --size 16x8 --region 8,0,4,8", 1)["error"]["code"],
            "notFound");
  EXPECT_EQ(ReportOf("members --for Scanning:dib24:dib24", 3)["error"]["code"], "noMember");
}

TEST_F(Report, GoesWhereThePicturesDoNot) {
  for (const std::string input : {"v.y4m", "none.y4m"}) {
    const Outcome outcome = RunKv(folder_, "convert " + input + " - --json");
    const json report = json::parse(outcome.err, nullptr, false);
    ASSERT_FALSE(report.is_discarded()) << outcome.err;
    ExpectFits(report);
    EXPECT_EQ(report["status"], outcome.status);
    EXPECT_EQ(outcome.out.empty(), outcome.status != 0);
  }
}

TEST_F(Report, NamesThatAreNoTextDoNotBreakIt) {
  KV_NEEDS_SHELL();
  const Outcome outcome = kv_test::RunShell(folder_, "\"$KV\" convert v.y4m $'\\xff\\xfe.uyvy' --json");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  ExpectFits(json::parse(outcome.out));
}

TEST_F(Report, HelpIsNoReport) {
  const Outcome outcome = RunKv(folder_, "convert --help --json");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.out.find("Example: "), std::string::npos);
}

TEST(JsonSchema, FindsWhatDoesNotFit) {
  const json schema = json::parse(
      R"({"type": "object", "required": ["a"], "additionalProperties": false,
          "properties": {"a": {"type": ["integer", "null"]}, "b": {"items": {"enum": ["x"]}, "maxItems": 1}}})");
  EXPECT_EQ(kv_test::SchemaProblem(json::parse(R"({"a": 1, "b": ["x"]})"), schema), "");
  for (const char* wrong : {R"({"a": "1"})", R"({"b": []})", R"({"a": 1, "c": 2})", R"({"a": 1, "b": ["y"]})",
                            R"({"a": 1, "b": ["x", "x"]})", "[]"}) {
    EXPECT_NE(kv_test::SchemaProblem(json::parse(wrong), schema), "") << wrong;
  }
}

}  // namespace
