// The gallery, without a browser: every algorithm on every picture.

#include <gtest/gtest.h>

#include "host/formats/png_file.h"
#include "tests/host/program.h"
#include "tests/plugin/requests.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using kv_test::ReadFile;
using kv_test::RunKv;
namespace fs = std::filesystem;

class Demo : public testing::Test {
 protected:
  void SetUp() override {
    if (!kv_host::HasPng()) GTEST_SKIP() << "its pictures are PNG";
  }
  Outcome Kv(const std::string& arguments) const { return RunKv(folder_, arguments); }
  void ExpectRefused(const std::string& arguments, const std::string& words) const {
    const Outcome outcome = Kv(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err;
    EXPECT_NE(outcome.err.find(words), std::string::npos) << outcome.err;
    EXPECT_FALSE(fs::exists(folder_ / "out" / "index.html"));
  }
  /// A part of the photograph.
  void MakePicture(const std::string& name, const std::string& size) const {
    const Outcome outcome = Kv("pan '" + kv_test::Photograph().string() + "' '" + name + "' --size " + size +
                               " --frames 1 --direction right");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
  }
  /// How often `text` stands on the page.
  std::size_t Count(const std::string& text) const {
    const std::string page = ReadFile(folder_ / "out" / "index.html");
    std::size_t count = 0;
    for (std::size_t at = page.find(text); at != std::string::npos; at = page.find(text, at + 1)) ++count;
    return count;
  }

  const kv_test::TempFolder temp_;
  const fs::path folder_ = temp_.Path();
};

TEST_F(Demo, ShowsEveryAlgorithmOnThePictureThatComesAlong) {
  const Outcome outcome = Kv("demo -o out --threads 2");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "open out/index.html\n");
  for (const std::string& algorithm : kv_test::algorithmNames) {
    EXPECT_GE(Count("<dd>" + algorithm + "</dd></div><div><dt>answered by</dt><dd>kv_algo"), 1U) << algorithm;
  }
  EXPECT_EQ(Count("on 2 threads, the best of three runs"), 1U);
}

TEST_F(Demo, ShowsPicturesOfOnesOwnUnderTheirNames) {
  ASSERT_NO_FATAL_FAILURE(MakePicture("my & photo.y4m", "96x96"));
  ASSERT_NO_FATAL_FAILURE(MakePicture("other.y4m", "112x100"));
  const Outcome outcome = Kv("demo 'my & photo.y4m' other.y4m -o out --threads 1");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_GE(Count("my &amp; photo.y4m"), 1U);
  EXPECT_EQ(Count("my & photo.y4m"), 0U) << "a name is no part of the page's language";
  EXPECT_GE(Count("112x100"), 1U);
  for (const char* file : {"1-blend.png", "2-blend.png", "2-pieces.svg"}) {
    EXPECT_TRUE(fs::exists(folder_ / "out" / file)) << file;
  }
  EXPECT_EQ(Count("on 1 thread, the best of three runs"), 1U);
}

TEST_F(Demo, WhatItCannotShowIsTold) {
  ASSERT_NO_FATAL_FAILURE(MakePicture("small.y4m", "96x64"));
  ExpectRefused("demo missing.png -o out", "missing.png");
  ExpectRefused("demo small.y4m -o out", "small.y4m is 96x64; the gallery takes pictures from 96x96 on");
  ExpectRefused("demo small.y4m -o small.y4m", "--output: small.y4m cannot be made a folder");
}

}  // namespace
