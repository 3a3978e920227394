// Every operation on more threads than its pictures have rows: all come back, and the bytes are those of
// threads that are called in turn.
#include <gtest/gtest.h>

#include <functional>

#include "frame/interfaces/absolute_difference.h"
#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/interfaces/average.h"
#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/blend_boost.h"
#include "frame/interfaces/copy.h"
#include "frame/interfaces/copy_roi.h"
#include "frame/interfaces/scanning.h"
#include "image/run_region.h"
#include "tests/stops/load.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace {

using namespace kv_test;
using kv_img::Image;
using kv_img::ImageRect;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV411P;
using kv_img::PixelYUV422;
using kv_std::SpinBarrier;
using NoColor = kv_img::PixelNoColor<unsigned char>;

/// Pictures of few rows, alike for every object of one seed, and the operations on them.
struct Pictures {
  static constexpr int width = 24;

  explicit Pictures(int pictureRows)
      : rows(pictureRows),
        rect(0, 0, width - 1, rows - 1),
        runs(rect),
        rawMask(std::make_shared<Grey8>(width, rows)) {}

  template <class PixelClass>
  static TestImage<PixelClass> Make(Random& random, int rows) {
    kv_img::ImageOptions options;
    options.properties.propertyFlag = 1;
    return {random, width, rows, Placement::Any(random), options};
  }

  int rows;
  Random random{0x3101};
  ImageRect rect;
  kv_img::RunRegion runs;
  TestImage<PixelYUV422> a = Make<PixelYUV422>(random, rows);
  TestImage<PixelYUV422> b = Make<PixelYUV422>(random, rows);
  TestImage<PixelYUV422> frame = Make<PixelYUV422>(random, rows);
  TestImage<NoColor> p = Make<NoColor>(random, rows);
  TestImage<NoColor> q = Make<NoColor>(random, rows);
  TestImage<NoColor> mask = Make<NoColor>(random, rows);
  TestImage<PixelDIB24> bitmap = Make<PixelDIB24>(random, rows);
  TestImage<PixelDIB32> bitmap32 = Make<PixelDIB32>(random, rows);
  TestImage<PixelYUV411P> planar = Make<PixelYUV411P>(random, rows);
  std::shared_ptr<Grey8> rawMask;
};

using Call = std::function<void(Pictures&, SpinBarrier&, std::uint32_t)>;

struct NamedCall {
  const char* name;
  Call call;
  /// Waits at the barrier: its threads cannot be called in turn, and its bytes do not depend on their number.
  bool waits = false;
};

template <class In, class Out>
const auto& CopyOf(const Member& member) {
  return *member.Get<kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>>("Copy",
                                                                            {In::ClassID, Out::ClassID});
}

std::vector<NamedCall> CallsOf(const Member& member) {
  const int yuv422 = PixelYUV422::ClassID;
  const int grey = NoColor::ClassID;
  const auto* roi =
      member.Get<kv_img::CopyROIAlgorithmInterface<Yuv422, Yuv422>>("CopyROI", {yuv422, yuv422});
  const auto* difference = member.Get<kv_img::AbsoluteDifferenceAlgorithmInterface<Yuv422, Grey8>>(
      "AbsoluteDifference", {yuv422, grey});
  const auto* average = member.Get<kv_img::AverageAlgorithmInterface<Grey8>>("Average", {grey});
  const auto* filter = member.Get<kv_img::AverageFilterAlgorithmInterface<Grey8>>("AverageFilter", {grey});
  const auto* blend = member.Get<kv_img::BlendBoostAlgorithmInterface<Yuv422>>("BlendBoost", {yuv422});
  const auto* scan =
      member.Get<kv_img::ScanningAlgorithmInterface<Yuv422, Yuv422>>("Scanning", {yuv422, yuv422});
  const auto* color =
      member.Get<kv_img::AlphaLayerColorBasedAlgorithmInterface<Yuv422>>("AlphaLayerColorBased", {yuv422});
  const auto* prob =
      member.Get<kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey8>>("AlphaLayerProbMask", {grey});
  return {
      {"Copy to DIB24", [&copy = CopyOf<PixelYUV422, PixelDIB24>(member)](
                            Pictures& on, SpinBarrier& barrier,
                            std::uint32_t index) { copy.Apply(*on.a, *on.bitmap, barrier, index); }},
      {"Copy from DIB32", [&copy = CopyOf<PixelDIB32, PixelYUV422>(member)](
                              Pictures& on, SpinBarrier& barrier,
                              std::uint32_t index) { copy.Apply(*on.bitmap32, *on.frame, barrier, index); }},
      {"Copy of planes", [&copy = CopyOf<PixelYUV411P, PixelYUV422>(member)](
                             Pictures& on, SpinBarrier& barrier,
                             std::uint32_t index) { copy.Apply(*on.planar, *on.frame, barrier, index); }},
      {"CopyROI",
       [roi](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         roi->Apply(*on.a, *on.frame, on.rect, on.rect, barrier, index);
       }},
      {"AbsoluteDifference",
       [difference](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         difference->Apply(*on.a, *on.b, *on.mask, on.runs, barrier, index);
       }},
      {"Average",
       [average](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         average->Apply(*on.p, *on.q, *on.mask, on.runs, on.runs, on.runs, barrier, index);
       }},
      {"AverageFilter",
       [filter](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         filter->Apply(*on.p, *on.mask, on.runs, 3, barrier, index);
       }},
      {"BlendBoost",
       [blend](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         blend->Apply(*on.a, *on.b, *on.p, *on.frame, on.runs, barrier, index);
       }},
      {"Scanning",
       [scan](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         const ImageRect part(0, 0, 11, on.rows - 1);
         scan->Apply(*on.a, *on.frame, on.rect, part, 1, 9, 4, barrier, static_cast<std::int32_t>(index));
       }},
      {"AlphaLayerColorBased",
       [color](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         color->Apply(*on.a, *on.b, *on.mask, on.runs, 3, on.rawMask, barrier, index);
       },
       true},
      {"AlphaLayerProbMask",
       [prob](Pictures& on, SpinBarrier& barrier, std::uint32_t index) {
         prob->Apply(*on.p, *on.q, *on.mask, on.runs, 3, on.rawMask, barrier, index);
       },
       true},
  };
}

class FewRows : public testing::TestWithParam<int> {};

TEST_P(FewRows, ThreadsWithoutRowsComeBackAndTheOthersDoTheWork) {
  const Member& member = Members()[static_cast<std::size_t>(GetParam())];
  for (const NamedCall& named : CallsOf(member)) {
    for (const int threads : {1, 2, 3, 4, 8, 64}) {
      if (threads > mostThreads) break;
      for (const int rows : {1, 7}) {
        SCOPED_TRACE(testing::Message()
                     << named.name << " on " << threads << " threads, " << rows << " rows");
        Pictures expected(rows);
        CallInTurn(named.waits ? 1 : threads,
                   [&](SpinBarrier& barrier, std::uint32_t index) { named.call(expected, barrier, index); });
        Pictures actual(rows);
        for (const auto& thrown : CallOnThreads(threads, [&](SpinBarrier&barrier, std::uint32_t index) {
               named.call(actual, barrier, index);
             })) {
          ASSERT_EQ(thrown, nullptr);
        }
        ASSERT_EQ(actual.frame.DifferenceFrom(expected.frame), "");
        ASSERT_EQ(actual.mask.DifferenceFrom(expected.mask), "");
        ASSERT_EQ(actual.bitmap.DifferenceFrom(expected.bitmap), "");
        ASSERT_EQ(actual.a.DifferenceFrom(expected.a), "");
        ASSERT_EQ(actual.rawMask.use_count(), 1);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Members, FewRows, EachMember(), MemberName);

}  // namespace
