// kv_find and kv_find_subpixel beside the family's own searches.
#include <gtest/gtest.h>

#include "frame/interfaces/feature_find.h"
#include "tests/capi/door_fixture.h"

namespace kv_test {
namespace {

template <class PixelClass>
class Searches {
 public:
  Searches(int format, int threads)
      : format_(format), random_(static_cast<unsigned>(format)), context_(MakeContext(threads)) {}

  void Compare(int width, Placement placement) {
    const int height = 12 + UpTo(20);
    GuardedFrame reference(format_, width, height, placement, width % 2 == 0);
    GuardedFrame searched(format_, width, height, placement);
    // Few values, so that there are positions that match equally well.
    reference.Fill(random_, 3);
    searched.Fill(random_, 3);
    kv_find_options options;
    kv_find_options_init(&options);
    options.x = UpTo(width - 1);
    options.y = UpTo(height - 1);
    options.around_x = UpTo(width - 1);
    options.around_y = UpTo(height - 1);
    options.half_width = UpTo(6);
    options.half_height = UpTo(3);
    options.range_x = UpTo(width);
    options.range_y = UpTo(height);
    const auto first = ImageOf<PixelClass>(reference);
    const auto second = ImageOf<PixelClass>(searched);
    CompareWhole(reference, searched, options, *first, *second);
    options.x += UpTo(3) / 4.0;
    options.x = std::min(options.x, width - 1.0);
    options.around_y += UpTo(7) / 8.0;
    options.range_x = UpTo(5);
    options.range_y = UpTo(5);
    options.step_x = UpTo(1) != 0 ? 0.5 : 0.3;
    options.step_y = UpTo(2) != 0 ? 0.25 : 0.7;
    options.levels = 1 + UpTo(2);
    CompareBetween(reference, searched, options, *first, *second);
  }

  int Found() const { return found_; }

 private:
  using Image = kv_img::Image<PixelClass>;

  int UpTo(int most) { return static_cast<int>(random_() % static_cast<unsigned>(most + 1)); }
  const kv_img::FeatureFindAlgorithmInterface<Image>& Search() const {
    return Operation<kv_img::FeatureFindAlgorithmInterface<Image>>("FeatureFind", {PixelClass::ClassID});
  }

  template <class Expect>
  void Check(const kv_find_options& given, std::vector<double>& scores, Expect expect, bool isWhole,
             const GuardedFrame& reference, const GuardedFrame& searched) {
    kv_find_options options = given;
    kv_score_map map;
    kv_score_map_init(&map);
    map.scores = scores.data();
    map.capacity = scores.size();
    options.map = &map;
    kv_match match;
    kv_match_init(&match);
    const auto find = isWhole ? kv_find : kv_find_subpixel;
    const kv_status status = find(context_.get(), reference.Get(), searched.Get(), &options, &match, nullptr);
    expect(status, match, map);
    options.map = nullptr;
    kv_match again;
    kv_match_init(&again);
    ASSERT_EQ(find(context_.get(), reference.Get(), searched.Get(), &options, &again, nullptr), status);
    EXPECT_EQ(again.is_found, match.is_found);
    EXPECT_EQ(again.x, match.x);
    EXPECT_EQ(again.y, match.y);
    EXPECT_EQ(again.score, match.score);
    found_ += match.is_found;
  }

  void CompareWhole(const GuardedFrame& reference, const GuardedFrame& searched,
                    const kv_find_options& options, const Image& first, const Image& second) {
    const int point1[2] = {static_cast<int>(options.x), static_cast<int>(options.y)};
    const int point2[2] = {static_cast<int>(options.around_x), static_cast<int>(options.around_y)};
    int result[2] = {};
    kv_img::MatchScoreMap expected;
    kv_std::SpinBarrier barrier(1);
    bool isRefused = false;
    try {
      Search().LocateFeature(first, second, point1, point2, result, options.half_width, options.half_height,
                             static_cast<int>(options.range_x), static_cast<int>(options.range_y), &expected,
                             barrier, 0);
    } catch (const kv_img::AlgoMMXException&) {
      isRefused = true;
    }
    std::vector<double> scores(expected.Scores().size() + 1);
    Check(
        options, scores,
        [&](kv_status status, const kv_match& match, const kv_score_map& map) {
          ASSERT_EQ(status, isRefused ? KV_SIZE_MISMATCH : KV_OK) << kv_last_error();
          if (isRefused) return;
          const auto best = std::min_element(expected.Scores().begin(), expected.Scores().end());
          if (best == expected.Scores().end() || *best == kv_img::unscored) {
            EXPECT_EQ(match.is_found, 0);
            EXPECT_EQ(map.columns * map.rows, 0U);
            return;
          }
          ASSERT_EQ(map.columns * map.rows, expected.Scores().size());
          EXPECT_EQ(match.x, result[0]);
          EXPECT_EQ(match.y, result[1]);
          EXPECT_EQ(map.left, expected.Rect().GetLeft());
          EXPECT_EQ(map.top, expected.Rect().GetTop());
          EXPECT_TRUE(std::equal(expected.Scores().begin(), expected.Scores().end(), scores.begin()));
          EXPECT_EQ(match.score, *best);
        },
        true, reference, searched);
  }

  void CompareBetween(const GuardedFrame& reference, const GuardedFrame& searched,
                      const kv_find_options& options, const Image& first, const Image& second) {
    const double point1[2] = {options.x, options.y};
    const double point2[2] = {options.around_x, options.around_y};
    double result[2] = {};
    kv_img::SubPixelScoreMap expected;
    kv_std::SpinBarrier barrier(1);
    bool isRefused = false;
    try {
      Search().LocateFeatureSubPixel(first, second, point1, point2, result, options.half_width,
                                     options.half_height, options.range_x, options.range_y, options.step_x,
                                     options.step_y, options.levels, &expected, barrier, 0);
    } catch (const kv_img::AlgoMMXException&) {
      isRefused = true;
    }
    std::vector<double> scores(expected.Scores().size() + 1);
    Check(
        options, scores,
        [&](kv_status status, const kv_match& match, const kv_score_map& map) {
          ASSERT_EQ(status, isRefused ? KV_SIZE_MISMATCH : KV_OK) << kv_last_error();
          if (isRefused || match.is_found == 0) return;
          EXPECT_EQ(match.x, result[0]);
          EXPECT_EQ(match.y, result[1]);
          ASSERT_EQ(static_cast<std::int64_t>(map.columns), expected.Columns());
          ASSERT_EQ(static_cast<std::int64_t>(map.rows), expected.Rows());
          EXPECT_TRUE(std::equal(expected.Scores().begin(), expected.Scores().end(), scores.begin()));
        },
        false, reference, searched);
  }

  int format_;
  std::mt19937 random_;
  Context context_;
  int found_ = 0;
};

template <class PixelClass>
void CompareSearches(int format) {
  for (const int threads : {1, 4}) {
    Searches<PixelClass> searches(format, threads);
    ForEachWidth([&](int width, Placement placement, bool) { searches.Compare(width, placement); });
    EXPECT_GT(searches.Found(), 150);
  }
}

TEST(DoorFind, Packed) {
  CompareSearches<kv_img::PixelYUV422>(KV_FORMAT_UYVY);
  CompareSearches<kv_img::PixelYUV422>(KV_FORMAT_YUY2);
}
TEST(DoorFind, Bitmaps) {
  CompareSearches<kv_img::PixelDIB24>(KV_FORMAT_BGR24);
  CompareSearches<kv_img::PixelDIB24>(KV_FORMAT_RGB24);
  CompareSearches<kv_img::PixelDIB32>(KV_FORMAT_BGRA32);
  CompareSearches<kv_img::PixelDIB32>(KV_FORMAT_RGBX32);
}

}  // namespace
}  // namespace kv_test
