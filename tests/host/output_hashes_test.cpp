// The same bytes from every member, compiler and system: hashes that were taken once.

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "tests/host/program.h"
#include "tests/support/family.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;

std::string HashOf(const std::string& bytes) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
  return text;
}

struct Line {
  std::string hash;
  std::string file;
  std::string arguments;
};

/// Those of the whole list, or from the line on that begins so.
std::vector<Line> Lines(const std::string& start = "") {
  std::ifstream list(KV_OUTPUT_HASHES);
  std::vector<Line> lines;
  bool isIn = false;
  for (std::string text; std::getline(list, text);) {
    isIn = isIn || text.starts_with(start);
    if (!isIn) continue;
    if (text.empty() || text[0] == '#') continue;
    std::istringstream words(text);
    Line line;
    words >> line.hash >> line.file >> std::ws;
    std::getline(words, line.arguments);
    // Git may give text files the line ends of the system.
    if (line.arguments.ends_with('\r')) line.arguments.pop_back();
    const std::size_t photo = line.arguments.find("PHOTO");
    if (photo != std::string::npos) {
      line.arguments.replace(photo, 5, "'" + kv_test::Photograph().string() + "'");
    }
    lines.push_back(line);
  }
  return lines;
}

void ExpectHashes(const std::vector<Line>& lines, const std::string& options) {
  const kv_test::TempFolder temp;
  for (const Line& line : lines) {
    const Outcome outcome = kv_test::RunKv(temp.Path(), line.arguments + options);
    ASSERT_EQ(outcome.status, 0) << line.arguments << ": " << outcome.err;
    EXPECT_EQ(HashOf(kv_test::ReadFile(temp.Path() / line.file)), line.hash) << line.file;
  }
}

class OutputHashes : public testing::TestWithParam<const char*> {};

TEST_P(OutputHashes, AreThoseOfTheList) {
  const auto lines = Lines();
  ASSERT_GT(lines.size(), 45U);
  ExpectHashes(lines, GetParam());
}

TEST(OutputHashesOfColours, AreThoseOfTheListFromTheWideMember) {
  const auto lines = Lines("# ColorConversion");
  ASSERT_GT(lines.size(), 15U);
  ExpectHashes(lines, std::string(" --threads 2 --member ") + kv_test::wideMember);
}

INSTANTIATE_TEST_SUITE_P(Members, OutputHashes,
                         testing::Values(" --threads 1", " --threads 3 --member kv_algoC"),
                         [](const auto& info) { return info.index == 0 ? "Best" : "Portable"; });

}  // namespace
