// kv_mask_levels and kv_composite beside their rules.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/capi/door_fixture.h"
#include "tests/capi/sound_calls.h"

namespace kv_test {
namespace {

constexpr int rows = 5;

/// A rectangle of whole pairs, or that ends with the row.
struct PairsOfRows {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;

  PairsOfRows(std::mt19937& random, int frameWidth) {
    left = static_cast<int>(random() % static_cast<unsigned>(frameWidth)) / 2 * 2;
    const bool endsWithRow = random() % 2 != 0 || frameWidth - left < 2;
    width = endsWithRow
                ? frameWidth - left
                : 2 * (1 + static_cast<int>(random() % static_cast<unsigned>((frameWidth - left) / 2)));
    top = static_cast<int>(random() % rows);
    height = 1 + static_cast<int>(random() % static_cast<unsigned>(rows - top));
  }
  Region OfDoor() const { return Rectangle(left, top, width, height); }
  bool Has(int x, int y) const { return x >= left && x < left + width && y >= top && y < top + height; }
};

TEST(DoorKeying, LevelsInRegionsAlsoInPlace) {
  std::mt19937 random(1);
  const Context context = MakeContext(2);
  ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
    GuardedFrame from(KV_FORMAT_GRAY8, width, rows, placement, isBottomUp);
    GuardedFrame to(KV_FORMAT_GRAY8, width, rows, placement);
    GuardedFrame before(KV_FORMAT_GRAY8, width, rows, placement);
    GuardedFrame old(KV_FORMAT_GRAY8, width, rows, placement);
    from.Fill(random);
    to.Fill(random);
    before.CopyFrom(from);
    GuardedFrame& into = width % 2 == 0 ? to : from;
    old.CopyFrom(into);
    kv_levels_options levels;
    kv_levels_options_init(&levels);
    levels.low = 60;
    levels.high = 200;
    levels.is_inverted = width / 2 % 2;
    levels.gamma = width % 3 == 0 ? 1.0 : 2.2;
    const PairsOfRows region(random, width);
    ASSERT_EQ(kv_mask_levels(context.get(), from.Get(), into.Get(), region.OfDoor().get(), &levels, nullptr),
              KV_OK)
        << kv_last_error();
    for (int y = 0; y < rows; ++y) {
      for (int x = 0; x < width; ++x) {
        int expected = old.Row(0, y)[x];
        if (region.Has(x, y)) {
          int part = std::clamp(before.Row(0, y)[x] - 60, 0, 140);
          if (levels.is_inverted != 0) part = 140 - part;
          expected = levels.gamma == 1 ? (510 * part + 140) / 280
                                       : static_cast<int>(255 * std::pow(part / 140.0, 1 / 2.2) + 0.5);
        }
        ASSERT_EQ(into.Row(0, y)[x], expected) << width << ": " << x << ',' << y;
      }
    }
  });
}

TEST(DoorKeying, LevelsMayBeLeftOut) {
  std::mt19937 random(2);
  const Context context = MakeContext();
  GuardedFrame from(KV_FORMAT_GRAY8, 31, rows, Placement::EndOfPage);
  GuardedFrame to(KV_FORMAT_GRAY8, 31, rows, Placement::EndOfPage);
  from.Fill(random);
  to.Fill(random);
  ASSERT_EQ(kv_mask_levels(context.get(), from.Get(), to.Get(), nullptr, nullptr, nullptr), KV_OK);
  EXPECT_TRUE(to.Equals(from));
}

/// The pixel that byte `at` of a plane's row belongs to, and whether it is a chroma sample.
struct Sample {
  int x;
  bool isChroma;
};
Sample SampleAt(int format, int plane, int at) {
  if (format == KV_FORMAT_I422 || format == KV_FORMAT_YUV411P) {
    return plane == 0 ? Sample{at, false} : Sample{2 * at, true};
  }
  const bool isLuma = (at % 2 == 0) == (format == KV_FORMAT_YUY2);
  return isLuma ? Sample{at / 2, false} : Sample{at / 4 * 2, true};
}

TEST(DoorKeying, CompositionOfEveryFormatAlsoInPlace) {
  std::mt19937 random(3);
  const Context context = MakeContext(2);
  for (const int format : {KV_FORMAT_UYVY, KV_FORMAT_YUY2, KV_FORMAT_I422, KV_FORMAT_YUV411P}) {
    const auto composite = [&](int width, Placement placement, bool isBottomUp) {
      GuardedFrame a(format, width, rows, placement, isBottomUp);
      GuardedFrame b(format, width, rows, placement);
      GuardedFrame mask(KV_FORMAT_GRAY8, width, rows, placement);
      GuardedFrame to(format, width, rows, placement);
      GuardedFrame oldA(format, width, rows, placement);
      GuardedFrame oldB(format, width, rows, placement);
      GuardedFrame old(format, width, rows, placement);
      for (GuardedFrame* frame : {&a, &b, &mask, &to}) frame->Fill(random);
      oldA.CopyFrom(a);
      oldB.CopyFrom(b);
      GuardedFrame& into = width % 3 == 0 ? to : width % 3 == 1 ? a : b;
      old.CopyFrom(into);
      const PairsOfRows region(random, width);
      ASSERT_EQ(kv_composite(context.get(), a.Get(), b.Get(), mask.Get(), into.Get(), region.OfDoor().get(),
                             nullptr),
                KV_OK)
          << kv_last_error();
      for (int plane = 0; plane < to.Planes(); ++plane) {
        for (int y = 0; y < rows; ++y) {
          for (int at = 0; at < static_cast<int>(to.RowBytes(plane)); ++at) {
            const Sample sample = SampleAt(format, plane, at);
            const int x = std::min(sample.x, width - 1);
            int expected = old.Row(plane, y)[at];
            if (region.Has(x, y)) {
              int weight = mask.Row(0, y)[x];
              if (sample.isChroma) weight = (weight + mask.Row(0, y)[std::min(x + 1, width - 1)] + 1) / 2;
              expected =
                  (oldA.Row(plane, y)[at] * weight + oldB.Row(plane, y)[at] * (255 - weight) + 127) / 255;
            }
            ASSERT_EQ(into.Row(plane, y)[at], expected) << format << ' ' << width << ": " << at << ',' << y;
          }
        }
      }
    };
    ForEachWidth(composite);
    for (int width = 1200; width < 1206; ++width) composite(width, Placement::EndOfPage, false);
  }
}

TEST(DoorKeying, ARunThatCutsAPairIsRefused) {
  const Context context = MakeContext();
  const GuardedFrame picture(KV_FORMAT_I422, 7, 2, Placement::EndOfPage);
  const GuardedFrame mask(KV_FORMAT_GRAY8, 7, 2, Placement::EndOfPage);
  GuardedFrame to(KV_FORMAT_I422, 7, 2, Placement::EndOfPage);
  const auto composite = [&](int left, int width) {
    return kv_composite(context.get(), picture.Get(), picture.Get(), mask.Get(), to.Get(),
                        Rectangle(left, 1, width, 1).get(), nullptr);
  };
  const auto expectCut = [](kv_status status, const std::string& columns) {
    ExpectFailure(status, KV_BAD_ARGUMENT,
                  "region: row 1 has columns " + columns + "; kv_composite takes whole pairs", "a pair");
  };
  expectCut(composite(1, 3), "1 to 3");
  expectCut(composite(3, 4), "3 to 6");
  expectCut(composite(2, 3), "2 to 4");
  EXPECT_EQ(composite(2, 4), KV_OK);
  EXPECT_EQ(composite(2, 5), KV_OK) << "it ends with the row";
}

TEST(DoorKeying, EmptyRowsOfRegionsStay) {
  const Context context = MakeContext();
  GuardedFrame picture(KV_FORMAT_UYVY, 8, 2, Placement::EndOfPage);
  GuardedFrame other(KV_FORMAT_UYVY, 8, 2, Placement::EndOfPage);
  GuardedFrame mask(KV_FORMAT_GRAY8, 8, 2, Placement::EndOfPage);
  std::fill_n(mask.Row(0, 0), 8, std::uint8_t{255});
  std::fill_n(mask.Row(0, 1), 8, std::uint8_t{255});
  std::fill_n(picture.Row(0, 0), 16, std::uint8_t{9});
  std::fill_n(picture.Row(0, 1), 16, std::uint8_t{9});
  std::fill_n(other.Row(0, 0), 16, std::uint8_t{1});
  std::fill_n(other.Row(0, 1), 16, std::uint8_t{1});
  const std::int32_t firsts[] = {3, 2};
  const std::int32_t lasts[] = {2, 3};
  kv_region* region = nullptr;
  ASSERT_EQ(kv_region_runs(0, 2, firsts, lasts, &region), KV_OK);
  const Region owned(region);
  ASSERT_EQ(kv_composite(context.get(), picture.Get(), other.Get(), mask.Get(), other.Get(), region, nullptr),
            KV_OK)
      << kv_last_error();
  for (int at = 0; at < 16; ++at) {
    EXPECT_EQ(other.Row(0, 0)[at], 1) << at;
    EXPECT_EQ(other.Row(0, 1)[at], at >= 4 && at < 8 ? 9 : 1) << at;
  }
}

}  // namespace
}  // namespace kv_test
