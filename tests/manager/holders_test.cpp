// The process-wide holders and the classes that forward to them.
#include <gtest/gtest.h>

#include <set>

#include "frame/algorithm_manager.h"
#include "frame/forwarding_algorithms.h"
#include "tests/manager/test_family.h"
#include "tests/support/test_image.h"

namespace {

using namespace kv_test;
using Yuv411 = kv_img::Image<kv_img::PixelYUV411>;
using Yuv211 = kv_img::Image<kv_img::PixelYUV211>;

template <class Holder>
void ExpectFresh(const Holder& holder) {
  EXPECT_EQ(holder.selectedIndex, 0);
  EXPECT_EQ(holder.useCount, 0);
  EXPECT_EQ(holder.current, nullptr);
  EXPECT_EQ(holder.perLibrary, std::vector<typename Holder::Interface*>(4));
}

std::set<const void*> seen;

template <class In, class Out>
void ExpectCopyHolder() {
  const auto& holder = kv_img::CopyAlgorithm<In, Out>::Implementation();
  ExpectFresh(holder);
  EXPECT_TRUE(seen.insert(&holder).second);
  EXPECT_EQ(&holder, (&kv_img::CopyAlgorithm<In, Out>::Implementation()));
}

TEST(Holders, ExistForThirtySevenCopyPairs) {
  seen.clear();
  ExpectCopyHolder<Yuva422, Yuva422>();
  ExpectCopyHolder<Dib32, Yuv422>();
  ExpectCopyHolder<Grey8, Dib32>();
  ExpectCopyHolder<Yuv422, Yuv422>();
  ExpectCopyHolder<Yuva422, Dib24>();
  ExpectCopyHolder<Dib32, Yuva422>();
  ExpectCopyHolder<Grey8, Grey8>();
  ExpectCopyHolder<Yuv422, Yuva422>();
  ExpectCopyHolder<Yuva422, Dib32>();
  ExpectCopyHolder<Dib32, Dib24>();
  ExpectCopyHolder<Yuv422, Yuv411>();
  ExpectCopyHolder<Yuva422, Grey8>();
  ExpectCopyHolder<Dib32, Dib32>();
  ExpectCopyHolder<Yuv422, Yuv411P>();
  ExpectCopyHolder<Yuv411, Yuv422>();
  ExpectCopyHolder<Dib32, Grey8>();
  ExpectCopyHolder<Yuv422, Yuv211>();
  ExpectCopyHolder<Yuv411P, Yuv422>();
  ExpectCopyHolder<Dib16, Yuv422>();
  ExpectCopyHolder<Yuv422, Dib15>();
  ExpectCopyHolder<Yuv411P, Dib32>();
  ExpectCopyHolder<Dib16, Dib24>();
  ExpectCopyHolder<Yuv422, Dib16>();
  ExpectCopyHolder<Dib24, Yuv422>();
  ExpectCopyHolder<Dib15, Yuv422>();
  ExpectCopyHolder<Yuv422, Dib24>();
  ExpectCopyHolder<Dib24, Yuva422>();
  ExpectCopyHolder<Dib15, Dib24>();
  ExpectCopyHolder<Yuv422, Dib32>();
  ExpectCopyHolder<Dib24, Dib24>();
  ExpectCopyHolder<Grey8, Yuv422>();
  ExpectCopyHolder<Yuv422, Grey8>();
  ExpectCopyHolder<Dib24, Dib32>();
  ExpectCopyHolder<Grey8, Yuva422>();
  ExpectCopyHolder<Yuva422, Yuv422>();
  ExpectCopyHolder<Dib24, Grey8>();
  ExpectCopyHolder<Grey8, Dib24>();
  EXPECT_EQ(seen.size(), 37U);
  EXPECT_EQ((std::tuple_size_v<decltype(kv_img::holders::copy)>), 37U);
}

TEST(Holders, ExistForTwoAverageFilters) {
  ExpectFresh(kv_img::AverageFilterAlgorithm<Dib24>::Implementation());
  ExpectFresh(kv_img::AverageFilterAlgorithm<Grey8>::Implementation());
  EXPECT_EQ((std::tuple_size_v<decltype(kv_img::holders::averageFilter)>), 2U);
}

TEST(ForwardingFilter, PassesAllArgumentsOn) {
  kv_img::AlgorithmManagerImpl manager(Family({L"answers_5"}));
  auto& holder = kv_img::AverageFilterAlgorithm<Grey8>::Implementation();
  const int classId = Grey8::ClassID;
  manager.LoadImplementation("AverageFilter", &classId, 1, holder);

  Grey8 source(8, 7);
  source.Row(0)[0] = 77;
  Grey8 destination(8, 7);
  kv_std::SpinBarrier barrier(4);
  const kv_img::AverageFilterAlgorithm<Grey8> filter;
  EXPECT_EQ(&filter.Apply(source, destination, kv_img::ImageRect(1, 2, 3, 4), 31, barrier, 2), &destination);
  const auto row = destination.Row(0);
  EXPECT_EQ(std::vector<int>(row.begin(), row.begin() + 6), (std::vector{5, 77, 4, 31, 4, 2}));

  holder.current = nullptr;  // its module goes with the manager
  holder.useCount = 0;
  holder.perLibrary.assign(4, nullptr);
}

}  // namespace
