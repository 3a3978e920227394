#include "run/composition.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "run/mask_levels.h"

namespace kv_run {
namespace {

constexpr std::size_t guardCount = 16;
constexpr std::uint8_t guardValue = 0x5A;

using Bytes = std::vector<std::uint8_t>;

Bytes RandomBytes(std::mt19937& random, std::size_t count) {
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

/// Memory for `count` bytes between guards.
struct Target {
  Bytes bytes;
  explicit Target(std::size_t count) : bytes(count + 2 * guardCount, guardValue) {}
  std::uint8_t* Data() { return bytes.data() + guardCount; }
  /// The bytes, once the guards are seen to stand.
  Bytes Content() const {
    for (std::size_t i = 0; i < guardCount; ++i) {
      EXPECT_EQ(bytes[i], guardValue);
      EXPECT_EQ(bytes[bytes.size() - 1 - i], guardValue);
    }
    return {bytes.begin() + guardCount, bytes.end() - guardCount};
  }
};

/// The rule, in the numbers that it is written in.
int Weighted(int foreground, int background, int weight) {
  return (foreground * weight + background * (255 - weight) + 127) / 255;
}

TEST(Composition, EveryMixIsTheRule) {
  for (int weight = 0; weight < 256; ++weight) {
    for (int a = 0; a < 256; ++a) {
      for (int b = 0; b < 256; ++b) {
        ASSERT_EQ(Mix(static_cast<std::uint8_t>(a), static_cast<std::uint8_t>(b),
                      static_cast<std::uint8_t>(weight)),
                  Weighted(a, b, weight))
            << a << ' ' << b << ' ' << weight;
      }
    }
  }
}

TEST(Composition, FullAndEmptyMasksAreThePicturesThemselves) {
  EXPECT_EQ(Mix(235, 16, 255), 235);
  EXPECT_EQ(Mix(235, 16, 0), 16);
}

TEST(Composition, SamplesOfEveryCount) {
  std::mt19937 random(1);
  for (std::size_t count = 0; count < 200; ++count) {
    const Bytes a = RandomBytes(random, count);
    const Bytes b = RandomBytes(random, count);
    const Bytes mask = RandomBytes(random, count);
    Target to(count);
    Composite(a.data(), b.data(), mask.data(), to.Data(), count);
    const Bytes result = to.Content();
    for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(result[i], Weighted(a[i], b[i], mask[i])) << count;
  }
}

TEST(Composition, PackedRowsOfEveryWidth) {
  std::mt19937 random(2);
  for (std::size_t width = 1; width < 140; ++width) {
    for (const bool isLumaFirst : {false, true}) {
      const std::size_t bytes = 4 * ((width + 1) / 2);
      const Bytes a = RandomBytes(random, bytes);
      const Bytes b = RandomBytes(random, bytes);
      const Bytes mask = RandomBytes(random, width);
      Target to(bytes);
      CompositePacked(a.data(), b.data(), mask.data(), to.Data(), width, isLumaFirst);
      const Bytes result = to.Content();
      for (std::size_t at = 0; at < bytes; ++at) {
        const std::size_t left = at / 4 * 2;
        const std::size_t right = left + 1 < width ? left + 1 : left;
        const bool isLuma = (at % 2 == 0) == isLumaFirst;
        int weight = (mask[left] + mask[right] + 1) / 2;
        if (isLuma) weight = mask[at % 4 < 2 ? left : right];
        ASSERT_EQ(result[at], Weighted(a[at], b[at], weight)) << width << ' ' << at;
      }
      // Over either source.
      Bytes overA = a;
      CompositePacked(overA.data(), b.data(), mask.data(), overA.data(), width, isLumaFirst);
      EXPECT_EQ(overA, result);
      Bytes overB = b;
      CompositePacked(a.data(), overB.data(), mask.data(), overB.data(), width, isLumaFirst);
      EXPECT_EQ(overB, result);
    }
  }
}

TEST(Composition, MasksOfPairsAreRoundedUp) {
  const std::uint8_t mask[] = {0, 1, 254, 255, 7};
  Target means(3);
  PairMeans(mask, 5, means.Data());
  EXPECT_EQ(means.Content(), (Bytes{1, 255, 7}));
}

TEST(MaskLevels, TheDefaultChangesNothing) {
  const LevelTable table = TableOf({});
  for (int level = 0; level < 256; ++level) EXPECT_EQ(table[static_cast<std::size_t>(level)], level);
}

TEST(MaskLevels, AColourMaskInvertedAndStretchedKeys) {
  const LevelTable table = TableOf({.low = 130, .high = 255, .isInverted = true});
  EXPECT_EQ(table[255], 0);
  EXPECT_EQ(table[254], 2);    // 255 / 125 = 2.04
  EXPECT_EQ(table[191], 131);  // 64 · 2.04 = 130.56
  EXPECT_EQ(table[131], 253);
  EXPECT_EQ(table[130], 255);
  EXPECT_EQ(table[127], 255);
  EXPECT_EQ(table[0], 255);
}

TEST(MaskLevels, HalvesAreRoundedUp) {
  // Level 1 of 2: 127.5.
  EXPECT_EQ(TableOf({.low = 0, .high = 2})[1], 128);
  EXPECT_EQ(TableOf({.low = 0, .high = 2, .isInverted = true})[1], 128);
}

TEST(MaskLevels, OneStepIsAThreshold) {
  const LevelTable table = TableOf({.low = 99, .high = 100});
  EXPECT_EQ(table[99], 0);
  EXPECT_EQ(table[100], 255);
}

TEST(MaskLevels, GammaComesLast) {
  // 255 · sqrt(64 / 255) = 127.75; inverted 255 · sqrt(191 / 255) = 220.69.
  EXPECT_EQ(TableOf({.gamma = 2})[64], 128);
  EXPECT_EQ(TableOf({.isInverted = true, .gamma = 2})[64], 221);
  // 255 · (64 / 255)² = 16.06.
  EXPECT_EQ(TableOf({.gamma = 0.5})[64], 16);
  EXPECT_EQ(TableOf({.gamma = 2})[0], 0);
  EXPECT_EQ(TableOf({.gamma = 2})[255], 255);
}

TEST(MaskLevels, EveryCountAndInPlace) {
  std::mt19937 random(4);
  const LevelTable table = TableOf({.low = 40, .high = 180, .isInverted = true, .gamma = 1.7});
  for (std::size_t count = 0; count < 100; ++count) {
    Bytes mask = RandomBytes(random, count);
    Target to(count);
    MapLevels(table, mask.data(), to.Data(), count);
    const Bytes result = to.Content();
    for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(result[i], table[mask[i]]);
    MapLevels(table, mask.data(), mask.data(), count);
    EXPECT_EQ(mask, result);
  }
}

}  // namespace
}  // namespace kv_run
