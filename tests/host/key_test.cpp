// `kv key`, and the levels of masks.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;

constexpr int keyWidth = 18;
constexpr int keyHeight = 6;

/// A frame of UYVY: luma from `luma`, chroma 90 and 60 but for columns 6 to 11, whose Cb is `inside`.
std::string Scene(int luma, int inside) {
  std::string bytes;
  for (int y = 0; y < keyHeight; ++y) {
    for (int pair = 0; pair < keyWidth / 2; ++pair) {
      const bool isInside = pair >= 3 && pair < 6;
      for (const int byte : {isInside ? inside : 90, luma + pair, 60, luma + pair + y})
        bytes += static_cast<char>(byte);
    }
  }
  return bytes;
}

int Byte(const std::string& bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes.at(at));
}

class Keying : public testing::Test {
 protected:
  void SetUp() override {
    Put("plate.uyvy", Scene(40, 90));
    Put("actor.uyvy", Scene(80, 200));
    Put("faint.uyvy", Scene(80, 93));
    Put("beach.uyvy", beach);
  }
  void Put(const std::string& name, const std::string& bytes) const {
    kv_test::WriteFile(temp_.Path() / name, bytes);
  }
  std::string Get(const std::string& name) const { return kv_test::ReadFile(temp_.Path() / name); }
  /// What `kv key` with these arguments writes into the file that they end with.
  std::string Keyed(const std::string& arguments) const {
    const Outcome outcome = kv_test::RunKv(temp_.Path(), "key --size 18x6 " + arguments);
    EXPECT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
    return Get(arguments.substr(arguments.rfind(' ') + 1));
  }
  void Refused(const std::string& arguments, const std::string& message) const {
    const Outcome outcome = kv_test::RunKv(temp_.Path(), arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
  }
  /// The actor in columns `first` to `last`, the beach elsewhere.
  static std::string Expected(int first = 6, int last = 11) {
    const std::string actor = Scene(80, 200);
    std::string bytes = beach;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
      const int x = static_cast<int>(at) % (2 * keyWidth) / 4 * 2;
      if (x >= first && x <= last) bytes[at] = actor[at];
    }
    return bytes;
  }

  static const std::string beach;
  const kv_test::TempFolder temp_;
};

const std::string Keying::beach = Scene(170, 30);

TEST_F(Keying, WhatDiffersFromThePlateIsPutOverTheBackground) {
  EXPECT_EQ(Keyed("actor.uyvy --plate plate.uyvy beach.uyvy out.uyvy"), Expected());
  EXPECT_EQ(Keyed("actor.uyvy --color 90,60 beach.uyvy out.uyvy"), Expected());
  EXPECT_EQ(Keyed("actor.uyvy --color 200,60 --invert beach.uyvy out.uyvy"),
            Keyed("actor.uyvy --color 200,60 --invert --threads 1 --member kv_algoC beach.uyvy again.uyvy"));
  EXPECT_EQ(Get("out.uyvy"), Expected());
}

TEST_F(Keying, CompositionIsLinear) {
  // A chroma distance of 3: the mask is 255 - 27 = 228, inverted and stretched (255 - 228) * 255 / 125 = 55.
  const std::string result = Keyed("faint.uyvy --plate plate.uyvy beach.uyvy out.uyvy");
  const std::string faint = Scene(80, 93);
  for (std::size_t at = 0; at < result.size(); ++at) {
    const int x = static_cast<int>(at) % (2 * keyWidth) / 4 * 2;
    const int weight = x >= 6 && x <= 11 ? 55 : 0;
    const int expected = (Byte(faint, at) * weight + Byte(beach, at) * (255 - weight) + 127) / 255;
    ASSERT_EQ(Byte(result, at), expected) << at;
  }
}

TEST_F(Keying, WithoutABackgroundTheMaskIsAlpha) {
  const std::string packed = Keyed("actor.uyvy --plate plate.uyvy out.uyvya");
  ASSERT_EQ(packed.size(), 3U * keyWidth * keyHeight);
  EXPECT_EQ(packed.substr(0, 2 * keyWidth * keyHeight), Scene(80, 200));
  const std::string picture = Keyed("actor.uyvy --plate plate.uyvy out.rgba");
  ASSERT_EQ(picture.size(), 4U * keyWidth * keyHeight);
  for (std::size_t pixel = 0; pixel < keyWidth * keyHeight; ++pixel) {
    const bool isActor = pixel % keyWidth >= 6 && pixel % keyWidth <= 11;
    EXPECT_EQ(Byte(packed, 2 * keyWidth * keyHeight + pixel), isActor ? 255 : 0) << pixel;
    EXPECT_EQ(Byte(picture, 4 * pixel + 3), isActor ? 255 : 0) << pixel;
  }
  for (const std::string name : {"y4m", "uyvy", "ppm", "pgm"}) {
    Refused("key --size 18x6 actor.uyvy --plate plate.uyvy out." + name, "holds no alpha; name a background");
  }
}

TEST_F(Keying, TheMaskIsThatOfAlphaColorWithLevels) {
  // Smoothing comes last: that of `kv filter` on the mask.
  const auto run = [&](const std::string& arguments) {
    const Outcome outcome = kv_test::RunKv(temp_.Path(), arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  };
  const std::string keyed = Keyed("faint.uyvy --plate plate.uyvy --window 3 --gamma 2 out.uyvya");
  run("alpha-color --size 18x6 faint.uyvy plate.uyvy mask.gray --window 1 --low 130 --invert --gamma 2");
  run("filter --size 18x6 mask.gray smooth.gray --window 3");
  EXPECT_EQ(keyed.substr(2 * keyWidth * keyHeight), Get("smooth.gray"));
  EXPECT_NE(Get("mask.gray"), Get("smooth.gray"));
}

TEST_F(Keying, NothingIsSeenOutsideTheRegion) {
  EXPECT_EQ(Keyed("actor.uyvy --plate plate.uyvy --region 8,0,10,6 beach.uyvy out.uyvy"), Expected(8));
  EXPECT_EQ(Keyed("actor.uyvy --plate plate.uyvy --region 0,0,8,6 beach.uyvy out.uyvy"), Expected(6, 7));
  EXPECT_EQ(Keyed("actor.uyvy --plate plate.uyvy --region 8,0,2,6 beach.uyvy out.uyvy"), Expected(8, 9));
  const std::string upper = Keyed("actor.uyvy --plate plate.uyvy --region 0,0,18,2 beach.uyvy out.uyvy");
  EXPECT_EQ(upper, Expected().substr(0, 2 * 36) + beach.substr(2 * 36));
  // To the pixel, with smoothing too.
  for (const std::string window : {"1", "5"}) {
    const std::string bytes =
        Keyed("actor.uyvy --color 90,60 --invert --region 13,1,2,3 --window " + window + " out.uyvya");
    for (int y = 0; y < keyHeight; ++y) {
      for (int x = 0; x < keyWidth; ++x) {
        const bool isIn = x >= 13 && x < 15 && y >= 1 && y < 4;
        const auto at = static_cast<std::size_t>((2 * keyHeight + y) * keyWidth + x);
        if (!isIn || window == "1") {
          ASSERT_EQ(Byte(bytes, at), isIn ? 255 : 0) << x << ',' << y;
        } else {
          ASSERT_GT(Byte(bytes, at), 0) << x << ',' << y;
        }
      }
    }
  }
}

TEST_F(Keying, PicturesServeEveryFrameOfAClip) {
  const std::string clip = Scene(80, 200) + Scene(80, 90) + Scene(80, 200);
  Put("clip.uyvy", clip);
  const std::string expected = Expected() + beach + Expected();
  EXPECT_EQ(Keyed("clip.uyvy --plate plate.uyvy beach.uyvy out.uyvy"), expected);
  Put("plates.uyvy", Scene(40, 90) + Scene(40, 90) + Scene(40, 200));
  EXPECT_EQ(Keyed("clip.uyvy --plate plates.uyvy beach.uyvy out.uyvy"), Expected() + beach + beach);
  const Outcome outcome = kv_test::PipeThroughKv(
      temp_.Path(), "key - --from-format uyvy --size 18x6 --color 90,60 beach.uyvy - --to-format uyvy --json",
      clip);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, expected);
  EXPECT_NE(outcome.err.find("AlphaLayerColorBased"), std::string::npos)
      << "the report is not among pictures";
}

TEST_F(Keying, WrongOptions) {
  const std::string key = "key --size 18x6 actor.uyvy beach.uyvy out.uyvy ";
  Refused(key, "takes either --plate");
  Refused(key + "--plate plate.uyvy --color 1,2", "takes either --plate");
  Refused(key + "--color 1", "--color");
  Refused(key + "--color 1,256", "--color: 1,256 is no colour; Cb and Cr are 0 to 255");
  Refused(key + "--color 1,2 --low 200 --high 200", "--low: 200 is not below --high, which is 200");
  Refused(key + "--color 1,2 --gamma 0", "--gamma");
  Put("small.gray", std::string(16, 'x'));
  Put("small.pgm", "P5 4 4 255\n" + std::string(16, 'x'));
  Refused(key + "--plate small.pgm", "actor.uyvy is 18x6, small.pgm is 4x4; they must be of one size");
  EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "out.uyvy"));
}

TEST_F(Keying, LevelsOfMasksStayInsideTheRegion) {
  const std::string alpha = "alpha-color --size 18x6 --window 1 actor.uyvy plate.uyvy mask.gray ";
  ASSERT_EQ(kv_test::RunKv(temp_.Path(), alpha + "--low 130 --invert --region 4,1,8,2").status, 0);
  const std::string mask = Get("mask.gray");
  for (int y = 0; y < keyHeight; ++y) {
    for (int x = 0; x < keyWidth; ++x) {
      const bool isActor = x >= 6 && x <= 11 && y >= 1 && y < 3;
      ASSERT_EQ(Byte(mask, static_cast<std::size_t>(y * keyWidth + x)), isActor ? 255 : 0) << x << ',' << y;
    }
  }
  Put("p.gray", std::string(18 * 6, '\x40'));
  Put("q.gray", std::string(18 * 6, '\x20'));
  const std::string prob = "alpha-prob --size 18x6 --window 1 p.gray q.gray mask.gray ";
  ASSERT_EQ(kv_test::RunKv(temp_.Path(), prob + "--low 150 --high 170").status, 0);
  // 64 - 32 + 128 = 160: half of the way, 127.5.
  EXPECT_EQ(Get("mask.gray"), std::string(18 * 6, '\x80'));
}

}  // namespace
