#include "check/models/feature_find_model.h"
#include "check/operation_call.h"
#include "frame/interfaces/feature_find.h"

namespace kv_check {
namespace {

using kv_img::AlgorithmInterface;
using kv_img::Image;

template <class PixelClass>
class FeatureFindRule final : public kv_img::FeatureFindAlgorithmInterface<Image<PixelClass>> {
  using ImageType = Image<PixelClass>;

  /// Records the scores, which come row after row, at their grid points.
  static void Record(const kv_model::Outcome& outcome, kv_img::MatchScoreMap* map, const int first[2],
                     const int last[2]) {
    if (map == nullptr) return;
    map->Reset({first[0], first[1], last[0], last[1]});
    std::size_t next = 0;
    const kv_img::ImageRect& rect = map->Rect();
    for (int y = rect.GetTop(); y <= rect.GetBottom(); ++y) {
      for (int x = rect.GetLeft(); x <= rect.GetRight(); ++x) map->Store(x, y, outcome.scores.at(next++));
    }
  }

  void LocateFeature(const ImageType& image1, const ImageType& image2, const int point1[2],
                     const int point2[2], int result[2], int hw, int hh, int rangeX, int rangeY,
                     kv_img::MatchScoreMap* map, kv_std::SpinBarrier& /*barrier*/,
                     int /*index*/) const override {
    const kv_model::Outcome outcome =
        kv_model::LocateFeature(image1, image2, point1, point2, result, hw, hh, rangeX, rangeY);
    if (outcome.isRefused) Refuse(1);
    const kv_model::Template t(image1, point1[0], point1[1], hw, hh);
    const auto limit = [&](unsigned size, int part) { return static_cast<int>(size) - part - 1; };
    const int first[2] = {t.ox + std::max(point2[0] - hw - rangeX, 0),
                          t.oy + std::max(point2[1] - hh - rangeY, 0)};
    const int last[2] = {t.ox + std::min(point2[0] - hw + rangeX, limit(image2.GetWidth(), t.tw)),
                         t.oy + std::min(point2[1] - hh + rangeY, limit(image2.GetHeight(), t.th))};
    Record(outcome, map, first, last);
  }
  void LocateFeatureNoMap(const ImageType& image1, const ImageType& image2, const int point1[2],
                          const int point2[2], int result[2], int hw, int hh, int rangeX, int rangeY,
                          kv_std::SpinBarrier& barrier, int index) const override {
    LocateFeature(image1, image2, point1, point2, result, hw, hh, rangeX, rangeY, nullptr, barrier, index);
  }
  void LocateFeatureSubPixel(const ImageType& image1, const ImageType& image2, const double point1[2],
                             const double point2[2], double result[2], int hw, int hh, double rangeX,
                             double rangeY, double stepX, double stepY, int levels,
                             kv_img::SubPixelScoreMap* map, kv_std::SpinBarrier& /*barrier*/,
                             int /*index*/) const override {
    const kv_model::Outcome outcome = kv_model::LocateFeatureSubPixel(
        image1, image2, point1, point2, result, hw, hh, rangeX, rangeY, stepX, stepY, levels);
    Finish(outcome, map);
  }
  void RefineFeature(const ImageType& image1, const ImageType& image2, const double point1[2],
                     const double point2[2], double result[2], int hw, int hh, double rangeX, double rangeY,
                     double stepX, double stepY, int level, int levels, kv_img::SubPixelScoreMap* map,
                     kv_std::SpinBarrier& /*barrier*/, int /*index*/) const override {
    const kv_model::Outcome outcome = kv_model::RefineFeature(image1, image2, point1, point2, result, hw, hh,
                                                              rangeX, rangeY, stepX, stepY, level, levels);
    Finish(outcome, map);
  }

  /// The scores alone, in a grid of one row.
  static void Finish(const kv_model::Outcome& outcome, kv_img::SubPixelScoreMap* map) {
    if (outcome.isRefused) Refuse(1);
    if (map == nullptr || outcome.scores.empty()) return;
    const auto columns = static_cast<double>(outcome.scores.size());
    map->Reset({0, 0, columns - 1, 0}, 1, 1);
    for (std::size_t i = 0; i < outcome.scores.size(); ++i) {
      map->Store(static_cast<double>(i), 0, outcome.scores[i]);
    }
  }
};

/// The arguments of a search, of any of the four operations.
struct Search {
  int operation;
  int whole1[2] = {};
  int whole2[2] = {};
  double point1[2];
  double point2[2];
  int hw;
  int hh;
  int rangeX;
  int rangeY;
  double stepX;
  double stepY;
  int levels;

  Search(Random& random, int width, int height) : operation(random.Between(0, 3)) {
    // Anywhere around an axis of `size` pixels, mostly inside.
    const auto anyPosition = [&](int size) {
      return random.OneIn(5) ? random.Between(-12, size + 12) : random.Between(0, size - 1);
    };
    for (int* point : {whole1, whole2}) {
      point[0] = anyPosition(width);
      point[1] = anyPosition(height);
    }
    for (int axis = 0; axis < 2; ++axis) {
      point1[axis] = whole1[axis] + random.Pick({0.0, 0.25, 0.5, 0.7});
      point2[axis] = whole2[axis] + random.Pick({0.0, 0.25, 0.5, 0.7});
    }
    hw = random.Between(0, 9);
    hh = random.Between(0, 6);
    rangeX = random.Between(0, 5);
    rangeY = random.Between(0, 4);
    stepX = random.Pick({1.0, 0.5, 1.0 / 3, 0.3});
    stepY = random.Pick({1.0, 0.5, 0.25});
    levels = random.Between(0, 3);
  }
};

/// A search by one operation: the result, the map's shape and its scores.
template <class PixelClass>
void Run(const Search& search, const kv_img::FeatureFindAlgorithmInterface<Image<PixelClass>>& find,
         const Image<PixelClass>& image1, const Image<PixelClass>& image2, std::vector<double>& values) {
  kv_std::SpinBarrier barrier(1);
  double result[2] = {-7, -9};
  int wholeResult[2] = {-7, -9};
  kv_img::MatchScoreMap wholeMap;
  kv_img::SubPixelScoreMap map;
  const Search& s = search;
  switch (s.operation) {
    case 0:
      find.LocateFeatureSubPixel(image1, image2, s.point1, s.point2, result, s.hw, s.hh, s.rangeX, s.rangeY,
                                 s.stepX, s.stepY, s.levels, &map, barrier, 0);
      break;
    case 1:
      find.LocateFeature(image1, image2, s.whole1, s.whole2, wholeResult, s.hw, s.hh, s.rangeX, s.rangeY,
                         &wholeMap, barrier, 0);
      break;
    case 2:
      find.LocateFeatureNoMap(image1, image2, s.whole1, s.whole2, wholeResult, s.hw, s.hh, s.rangeX, s.rangeY,
                              barrier, 0);
      break;
    default:
      find.RefineFeature(image1, image2, s.point1, s.point2, result, s.hw, s.hh, s.rangeX, s.rangeY, s.stepX,
                         s.stepY, 0, s.levels, &map, barrier, 0);
  }
  values = {result[0], result[1], static_cast<double>(wholeResult[0]), static_cast<double>(wholeResult[1])};
  // The score of a template without pixels is NaN, which equals nothing.
  for (const double score : wholeMap.Scores()) values.push_back(score == score ? score : -1);
  for (const double score : map.Scores()) values.push_back(score == score ? score : -1);
}

template <class PixelClass>
Comparison CompareSearches(Random& random, const AlgorithmInterface& reference,
                           const AlgorithmInterface& other) {
  const int width = random.Between(4, 44);
  const int height = random.Between(4, 24);
  const Search search(random, width, height);
  auto image1 = AnyImage<PixelClass>(random, random.OneIn(4) ? random.Between(4, 44) : width, height, 0);
  auto image2 = AnyImage<PixelClass>(random, width, height, 0);
  if (random.OneIn(4)) {
    // Few values, so that many positions have equal scores.
    for (std::uint8_t& byte : image1.Arena()) byte &= 1;
    for (std::uint8_t& byte : image2.Arena()) byte &= 1;
  }
  return CompareCalls<kv_img::FeatureFindAlgorithmInterface<Image<PixelClass>>>(
      reference, other,
      [&](const auto& find, std::vector<double>& values, Image<PixelClass>& first,
          Image<PixelClass>& second) { Run(search, find, first, second, values); },
      image1, image2);
}

}  // namespace

void AddFeatureFindOperations(std::vector<OperationCase>& list) {
  AddRows<kv_img::algorithms::FeatureFind>(list, []<class PixelClass>(kv_img::PixelClasses<PixelClass>) {
    return RowCheck{CompareSearches<PixelClass>, RuleOf<FeatureFindRule<PixelClass>>()};
  });
}

}  // namespace kv_check
