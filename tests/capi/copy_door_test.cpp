// kv_copy and kv_copy_region beside the family's own calls, on rows between guard pages.
#include <gtest/gtest.h>

#include <algorithm>

#include "frame/algorithm_manager.h"
#include "frame/interfaces/copy.h"
#include "frame/interfaces/copy_roi.h"
#include "image/image_rect.h"
#include "tests/capi/door_fixture.h"

namespace kv_test {
namespace {

template <class In, class Out>
void CompareCopies(int fromFormat, int toFormat) {
  std::mt19937 random(static_cast<unsigned>(100 * fromFormat + toFormat));
  const Context context = MakeContext();
  const auto& operation = Operation<kv_img::CopyAlgorithmInterface<kv_img::Image<In>, kv_img::Image<Out>>>(
      "Copy", {In::ClassID, Out::ClassID});
  ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
    const int height = 5;
    GuardedFrame from(fromFormat, width, height, placement, isBottomUp);
    GuardedFrame to(toFormat, width, height, placement, !isBottomUp);
    from.Fill(random);
    to.Fill(random);
    from->row_parity = width % 3 == 0 ? 1 : 0;
    to->row_parity = width % 5 == 0 ? 1 : 0;
    const auto source = ImageOf<In>(from);
    const auto destination = ImageOf<Out>(to);
    kv_std::SpinBarrier barrier(1);
    operation.Apply(*source, *destination, barrier, 0);
    ASSERT_EQ(kv_copy(context.get(), from.Get(), to.Get(), nullptr), KV_OK) << kv_last_error();
    ASSERT_EQ(FirstDifference(to, *destination), -1) << width;
  });
}

using kv_img::PixelDIB15;
using kv_img::PixelDIB16;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV411P;
using kv_img::PixelYUV422;
using kv_img::PixelYUVA422;
using NoColor = kv_img::PixelNoColor<unsigned char>;

TEST(DoorCopy, SameBytesAsTheFamilysCopies) {
  CompareCopies<PixelYUV422, PixelYUV422>(KV_FORMAT_UYVY, KV_FORMAT_UYVY);
  CompareCopies<PixelYUV422, PixelYUV422>(KV_FORMAT_UYVY, KV_FORMAT_YUY2);
  CompareCopies<PixelYUV422, PixelDIB24>(KV_FORMAT_UYVY, KV_FORMAT_BGR24);
  CompareCopies<PixelYUV422, PixelDIB24>(KV_FORMAT_YUY2, KV_FORMAT_BGR24);
  CompareCopies<PixelYUV422, PixelDIB15>(KV_FORMAT_YUY2, KV_FORMAT_RGB555);
  CompareCopies<PixelYUV422, PixelDIB16>(KV_FORMAT_UYVY, KV_FORMAT_RGB565);
  CompareCopies<PixelDIB24, PixelYUV422>(KV_FORMAT_BGR24, KV_FORMAT_UYVY);
  CompareCopies<PixelDIB32, PixelYUV422>(KV_FORMAT_BGRA32, KV_FORMAT_YUY2);
  CompareCopies<PixelDIB32, PixelYUVA422>(KV_FORMAT_BGRA32, KV_FORMAT_UYVYA);
  CompareCopies<PixelDIB32, PixelYUVA422>(KV_FORMAT_BGRA32, KV_FORMAT_YUY2A);
  CompareCopies<PixelYUV411P, PixelYUV422>(KV_FORMAT_YUV411P, KV_FORMAT_YUY2);
  CompareCopies<PixelYUV411P, PixelYUV422>(KV_FORMAT_YUV411P, KV_FORMAT_UYVY);
}

TEST(DoorCopy, BandsMoveAsTheWholePictureDoes) {
  // Large enough that four threads have bands of their own.
  constexpr int width = 1024;
  constexpr int height = 256;
  std::mt19937 random(7);
  const Context context = MakeContext(4);
  for (const int parity : {0, 1}) {
    GuardedFrame from(KV_FORMAT_UYVY, width, height, Placement::EndOfPage);
    GuardedFrame to(KV_FORMAT_UYVY, width, height, Placement::EndOfPage);
    from.Fill(random);
    from->row_parity = parity;
    to->row_parity = 1 - parity;
    ASSERT_EQ(kv_copy(context.get(), from.Get(), to.Get(), nullptr), KV_OK) << kv_last_error();
    for (int y = 0; y < height; ++y) {
      const int moved = parity == 1 ? std::min(y + 1, height - 1) : std::max(y - 1, 0);
      ASSERT_TRUE(std::equal(to.Row(0, y), to.Row(0, y) + to.RowBytes(0), from.Row(0, moved))) << y;
    }
  }
}

TEST(DoorCopy, SameBytesAsThePortableCopies) {
  CompareCopies<PixelYUV422, PixelYUVA422>(KV_FORMAT_UYVY, KV_FORMAT_YUY2A);
  CompareCopies<PixelYUV422, PixelYUV411P>(KV_FORMAT_YUY2, KV_FORMAT_YUV411P);
  CompareCopies<PixelYUV422, PixelDIB32>(KV_FORMAT_UYVY, KV_FORMAT_BGRA32);
  CompareCopies<PixelYUV422, NoColor>(KV_FORMAT_YUY2, KV_FORMAT_GRAY8);
  CompareCopies<PixelYUVA422, PixelYUV422>(KV_FORMAT_UYVYA, KV_FORMAT_YUY2);
  CompareCopies<PixelYUVA422, PixelYUVA422>(KV_FORMAT_UYVYA, KV_FORMAT_UYVYA);
  CompareCopies<PixelYUVA422, PixelDIB24>(KV_FORMAT_YUY2A, KV_FORMAT_BGR24);
  CompareCopies<PixelYUVA422, PixelDIB32>(KV_FORMAT_UYVYA, KV_FORMAT_BGRA32);
  CompareCopies<PixelYUVA422, NoColor>(KV_FORMAT_UYVYA, KV_FORMAT_GRAY8);
  CompareCopies<PixelYUV411P, PixelDIB32>(KV_FORMAT_YUV411P, KV_FORMAT_BGRA32);
  CompareCopies<PixelDIB15, PixelYUV422>(KV_FORMAT_RGB555, KV_FORMAT_UYVY);
  CompareCopies<PixelDIB15, PixelDIB24>(KV_FORMAT_RGB555, KV_FORMAT_BGR24);
  CompareCopies<PixelDIB16, PixelYUV422>(KV_FORMAT_RGB565, KV_FORMAT_YUY2);
  CompareCopies<PixelDIB16, PixelDIB24>(KV_FORMAT_RGB565, KV_FORMAT_BGR24);
  CompareCopies<PixelDIB24, PixelYUVA422>(KV_FORMAT_BGR24, KV_FORMAT_UYVYA);
  CompareCopies<PixelDIB24, PixelDIB24>(KV_FORMAT_BGR24, KV_FORMAT_BGR24);
  CompareCopies<PixelDIB24, PixelDIB32>(KV_FORMAT_BGR24, KV_FORMAT_BGRA32);
  CompareCopies<PixelDIB24, NoColor>(KV_FORMAT_BGR24, KV_FORMAT_GRAY8);
  CompareCopies<PixelDIB32, PixelDIB24>(KV_FORMAT_BGRA32, KV_FORMAT_BGR24);
  CompareCopies<PixelDIB32, PixelDIB32>(KV_FORMAT_BGRA32, KV_FORMAT_BGRA32);
  CompareCopies<PixelDIB32, NoColor>(KV_FORMAT_BGRA32, KV_FORMAT_GRAY8);
  CompareCopies<NoColor, PixelYUV422>(KV_FORMAT_GRAY8, KV_FORMAT_UYVY);
  CompareCopies<NoColor, PixelYUVA422>(KV_FORMAT_GRAY8, KV_FORMAT_YUY2A);
  CompareCopies<NoColor, PixelDIB24>(KV_FORMAT_GRAY8, KV_FORMAT_BGR24);
  CompareCopies<NoColor, PixelDIB32>(KV_FORMAT_GRAY8, KV_FORMAT_BGRA32);
  CompareCopies<NoColor, NoColor>(KV_FORMAT_GRAY8, KV_FORMAT_GRAY8);
}

template <class In>
void CompareRegionCopies(int fromFormat, int toFormat) {
  std::mt19937 random(7);
  const Context context = MakeContext();
  const auto& operation =
      Operation<kv_img::CopyROIAlgorithmInterface<kv_img::Image<In>, kv_img::Image<PixelYUV422>>>(
          "CopyROI", {In::ClassID, PixelYUV422::ClassID});
  constexpr bool isPlanar = std::is_same_v<In, PixelYUV411P>;
  ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
    const int height = 6;
    GuardedFrame from(fromFormat, width, height, placement, isBottomUp);
    GuardedFrame to(toFormat, width, height, placement);
    from.Fill(random);
    to.Fill(random);
    from->row_parity = width % 3 == 0 ? 1 : 0;
    to->row_parity = width % 5 == 0 ? 1 : 0;
    const auto below = [&](int limit) {
      return limit > 0 ? static_cast<int>(random() % unsigned(limit)) : 0;
    };
    int pixels = 1 + below(width);
    int fromLeft = below(width - pixels + 1);
    int toLeft = below(width - pixels + 1);
    if (isPlanar) {
      // What the rule takes from after the source's row is not compared: both start at its first column.
      pixels = width & ~1;
      fromLeft = toLeft = 0;
      if (pixels == 0) return;
    }
    const int rows = 1 + below(height);
    const int fromTop = below(height - rows + 1);
    const int toTop = below(height - rows + 1);
    const auto source = ImageOf<In>(from);
    const auto destination = ImageOf<PixelYUV422>(to);
    // Never as one block, which takes the slack of the rows along.
    source->GetProperties().propertyFlag = destination->GetProperties().propertyFlag = 1;
    source->GetPixelBuffer().properties.propertyMode = 0;
    const kv_img::ImageRect fromRect(fromLeft, fromTop, fromLeft + pixels - 1, fromTop + rows - 1);
    const kv_img::ImageRect toRect(toLeft, toTop, toLeft + pixels - 1, toTop + rows - 1);
    kv_std::SpinBarrier barrier(1);
    operation.Apply(*source, *destination, fromRect, toRect, barrier, 0);
    const Region fromRegion = Rectangle(fromLeft, fromTop, pixels, rows);
    const Region toRegion = Rectangle(toLeft, toTop, pixels, rows);
    ASSERT_EQ(kv_copy_region(context.get(), from.Get(), fromRegion.get(), to.Get(), toRegion.get(), nullptr),
              KV_OK)
        << kv_last_error();
    if (isPlanar && width % 2 != 0) {
      // The spare luma of the last pair would come from after the source's row: through the door it stays.
      const int spare = 2 * width + (toFormat == KV_FORMAT_UYVY ? 1 : 0);
      for (int row = 0; row < height; ++row) destination->Row(row).data()[spare] = to.Row(0, row)[spare];
    }
    ASSERT_EQ(FirstDifference(to, *destination), -1)
        << width << ' ' << fromLeft << ' ' << toLeft << ' ' << pixels;
  });
}

TEST(DoorCopyRegion, SameBytesAsTheFamilysCopies) {
  for (int repeat = 0; repeat < 3; ++repeat) {
    CompareRegionCopies<PixelYUV422>(KV_FORMAT_UYVY, KV_FORMAT_UYVY);
    CompareRegionCopies<PixelYUV422>(KV_FORMAT_YUY2, KV_FORMAT_UYVY);
    CompareRegionCopies<PixelYUV411P>(KV_FORMAT_YUV411P, KV_FORMAT_YUY2);
    CompareRegionCopies<PixelYUV411P>(KV_FORMAT_YUV411P, KV_FORMAT_UYVY);
  }
}

TEST(DoorCopyRegion, PlanarPixelsPastTheSourcesRowStay) {
  std::mt19937 random(11);
  const Context context = MakeContext();
  for (int width = 8; width <= 40; ++width) {
    GuardedFrame from(KV_FORMAT_YUV411P, width, 1, Placement::EndOfPage);
    GuardedFrame to(KV_FORMAT_YUY2, width, 1, Placement::EndOfPage);
    GuardedFrame before(KV_FORMAT_YUY2, width, 1, Placement::EndOfPage);
    from.Fill(random);
    before.Fill(random);
    to.CopyFrom(before);
    // From column 4 to column 0: the rule goes on for the whole width, four pixels further than the source has.
    const Region fromRegion = Rectangle(4, 0, 4, 1);
    const Region toRegion = Rectangle(0, 0, 4, 1);
    ASSERT_EQ(kv_copy_region(context.get(), from.Get(), fromRegion.get(), to.Get(), toRegion.get(), nullptr),
              KV_OK);
    const int written = width - 4;
    for (int x = 0; x < width; ++x) {
      const bool isCertain = x < std::min(written, width / 8 * 8);
      if (isCertain) {
        EXPECT_EQ(to.Row(0, 0)[2 * x], from.Row(0, 0)[x + 4]) << width << ' ' << x;
      } else if (x >= written) {
        EXPECT_EQ(to.Row(0, 0)[2 * x], before.Row(0, 0)[2 * x]) << width << ' ' << x;
      }
    }
  }
}

}  // namespace
}  // namespace kv_test
