// The gallery, without a browser: every algorithm on every picture.

#include <gtest/gtest.h>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "host/grey.h"
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
  void WritePicture(const std::string& name, const kv_host::Raster& raster) const {
    kv_host::PictureWriter writer((folder_ / name).string());
    writer.Write(raster);
    writer.Commit();
  }
  /// Mean difference of red, green and blue of two pictures of the gallery.
  double MeanDifference(const std::string& a, const std::string& b) const {
    const auto bytesOf = [&](const std::string& name) {
      const kv_host::Raster picture = *kv_host::PictureReader((folder_ / "out" / name).string()).Next();
      const bool isGrey = picture.kind == kv_host::RasterKind::Grey8;
      return (isGrey ? kv_host::BitmapOfGrey(picture, kv_host::RasterKind::Dib24) : picture).planes[0].bytes;
    };
    const auto first = bytesOf(a);
    const auto second = bytesOf(b);
    EXPECT_EQ(first.size(), second.size()) << a << ", " << b;
    double sum = 0;
    for (std::size_t i = 0; i < std::min(first.size(), second.size()); ++i)
      sum += std::abs(first[i] - second[i]);
    return sum / static_cast<double>(first.size());
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
  EXPECT_EQ(outcome.out, "open " + (fs::path("out") / "index.html").string() + "\n");
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

TEST_F(Demo, PicturesThatCannotBeUsedAreNamedAndTheRestIsShown) {
  ASSERT_NO_FATAL_FAILURE(MakePicture("good.y4m", "112x100"));
  ASSERT_NO_FATAL_FAILURE(MakePicture("small.y4m", "96x64"));
  kv_test::WriteFile(folder_ / "photo.jpg", "\xFF\xD8\xFF\xE0 and more");
  kv_test::WriteFile(folder_ / "cut.png", "\x89PNG\r\n\x1A\n");
  kv_host::Raster full = kv_host::MakeRaster(kv_host::RasterKind::Yuv422Planar, 2600, 600);
  full.range = kv_host::ColourRange::Full;
  WritePicture("full.y4m", full);
  const Outcome outcome =
      Kv("demo small.y4m missing.png good.y4m photo.jpg cut.png full.y4m -o out --threads 1");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.out, "open " + (fs::path("out") / "index.html").string() + "\n");
  EXPECT_EQ(outcome.ErrorLines(), 4) << outcome.err;
  for (const char* words : {"kv: small.y4m is 96x64", "kv: missing.png: ",
                            KV_HAS_AV ? "kv: photo.jpg: frame 0 at 0.000 s cannot be decoded"
                                      : "kv: photo.jpg: byte 0: JPEG is not read",
                            "kv: cut.png: "}) {
    EXPECT_NE(outcome.err.find(words), std::string::npos) << words << outcome.err;
  }
  EXPECT_EQ(Count("Not shown: "), 4U);
  EXPECT_EQ(Count("<h2>"), 2U);
  EXPECT_GE(Count("Polygon"), 1U);
}

TEST_F(Demo, TakesPhotographsOfEveryKind) {
  using enum kv_host::RasterKind;
  struct Photo {
    const char* file;
    kv_host::RasterKind kind;
    int width;
    int height;
    const char* size;
  };
  for (const Photo& photo : {Photo{"landscape.ppm", Dib24, 2999, 2001, "999x667, shown at 1/3 of 2999x2001"},
                             Photo{"portrait.png", Dib24, 1001, 1499, "500x749, shown at 1/2 of 1001x1499"},
                             Photo{"clear.png", Dib32, 301, 203, "301x203"},
                             Photo{"grey.png", Grey8, 401, 303, "401x303, grey: tinted to show colour"},
                             Photo{"narrow.bmp", Dib24, 3000, 97, "3000x97"}}) {
    kv_host::Raster picture = kv_host::MakeRaster(photo.kind, photo.width, photo.height);
    const std::size_t step = picture.planes[0].stride / static_cast<std::size_t>(photo.width);
    for (int y = 0; y < photo.height; ++y) {
      const auto row = picture.planes[0].Row(y);
      for (std::size_t at = 0; at < row.size(); ++at) {
        row[at] = static_cast<std::uint8_t>(at % step * 50 + at / step % 200 / 2 +
                                            static_cast<std::size_t>(y) % 90);
      }
    }
    WritePicture(photo.file, picture);
    const Outcome outcome = Kv(std::string("demo ") + photo.file + " -o out --threads 2");
    ASSERT_EQ(outcome.status, 0) << photo.file << ": " << outcome.err;
    EXPECT_EQ(Count(std::string("<small>") + photo.size + "</small>"), 1U) << photo.file;
    // Nothing comes out as it went in.
    for (const auto& [before, after] : {std::pair{"luma.png", "scene-24.png"},
                                        {"other-in.png", "copy-roi.png"},
                                        {"luma.png", "filtered.png"},
                                        {"fields-detail.png", "parity-detail.png"},
                                        {"other-in.png", "blend.png"},
                                        {"scene-in.png", "blend.png"},
                                        {"scene-in.png", "painted-in.png"}}) {
      EXPECT_GT(MeanDifference(before, after), 2.0) << photo.file << ": " << before << ", " << after;
    }
  }
}

}  // namespace
