// kv_change_parity and kv_pan beside the family's own calls.
#include <gtest/gtest.h>

#include "frame/interfaces/parity_change.h"
#include "frame/interfaces/scanning.h"
#include "image/image_rect.h"
#include "tests/capi/door_fixture.h"

namespace kv_test {
namespace {

using Packed = kv_img::PixelYUV422;
using PackedImage = kv_img::Image<Packed>;
using kv_img::ImageRect;

TEST(DoorParity, WholeFramesAndRegions) {
  std::mt19937 random(3);
  const Context context = MakeContext(3);
  const auto& operation = Operation<kv_img::ParityChangeAlgorithmInterface<PackedImage, PackedImage>>(
      "ParityChange", {Packed::ClassID, Packed::ClassID});
  ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
    const int height = 1 + width % 6;
    GuardedFrame from(packedFormats[random() % 2], width, height, placement, isBottomUp);
    GuardedFrame to(packedFormats[random() % 2], width, height, placement);
    from.Fill(random);
    to.Fill(random);
    from->field_order = static_cast<int>(random() % 3);
    from->row_parity = static_cast<int>(random() % 2);
    const auto source = ImageOf<Packed>(from);
    const auto expected = ImageOf<Packed>(to);
    Region region;
    if (width % 2 == 0) {
      operation.Apply(*source, *expected);
    } else {
      const int left = static_cast<int>(random() % static_cast<unsigned>(width));
      const int top = static_cast<int>(random() % static_cast<unsigned>(height));
      region = Rectangle(left, top, width - left, height - top);
      operation.Apply(*source, *expected, ImageRect(left, top, width - 1, height - 1));
    }
    ASSERT_EQ(kv_change_parity(context.get(), from.Get(), to.Get(), region.get(), KV_PARITY_BLEND, nullptr),
              KV_OK)
        << kv_last_error();
    ASSERT_EQ(FirstDifference(to, *expected), -1) << width;
    EXPECT_EQ(to->field_order == KV_FIELDS_BOTTOM_FIRST, expected->GetProperties().fieldOrder != 0);
  });
}

TEST(DoorParity, BandsOfOneRow) {
  // So wide that each row is a thread's share.
  constexpr int width = 65536;
  constexpr int height = 3;
  std::mt19937 random(6);
  const Context context = MakeContext(4);
  const auto& operation = Operation<kv_img::ParityChangeAlgorithmInterface<PackedImage, PackedImage>>(
      "ParityChange", {Packed::ClassID, Packed::ClassID});
  for (const int order : {KV_FIELDS_TOP_FIRST, KV_FIELDS_BOTTOM_FIRST}) {
    for (const int parity : {0, 1}) {
      GuardedFrame from(KV_FORMAT_UYVY, width, height, Placement::EndOfPage);
      GuardedFrame to(KV_FORMAT_UYVY, width, height, Placement::EndOfPage);
      from.Fill(random);
      to.Fill(random);
      from->field_order = order;
      from->row_parity = parity;
      const auto expected = ImageOf<Packed>(to);
      operation.Apply(*ImageOf<Packed>(from), *expected);
      ASSERT_EQ(kv_change_parity(context.get(), from.Get(), to.Get(), nullptr, KV_PARITY_BLEND, nullptr),
                KV_OK)
          << kv_last_error();
      EXPECT_EQ(FirstDifference(to, *expected), -1) << order << ' ' << parity;
    }
  }
}

TEST(DoorParity, LinesAndFieldsOfEveryFormat) {
  std::mt19937 random(9);
  const Context context = MakeContext(3);
  for (int format = 1; format <= KV_FORMAT_RGB565; ++format) {
    ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
      const int height = 1 + width % 5;
      GuardedFrame from(format, width, height, placement, isBottomUp);
      GuardedFrame to(format, width, height, placement);
      from.Fill(random);
      // Progressive counts as top first.
      from->field_order = width % 3;
      const bool isDown = from->field_order != KV_FIELDS_BOTTOM_FIRST;
      for (const int method : {KV_PARITY_LINE, KV_PARITY_FIELD}) {
        ASSERT_EQ(kv_change_parity(context.get(), from.Get(), to.Get(), nullptr, method, nullptr), KV_OK)
            << kv_last_error();
        EXPECT_EQ(to->field_order, isDown ? KV_FIELDS_BOTTOM_FIRST : KV_FIELDS_TOP_FIRST);
        for (int plane = 0; plane < from.Planes(); ++plane) {
          for (int y = 0; y < height; ++y) {
            const int above = y > 0 ? y - 1 : std::min(1, height - 1);
            const int below = y < height - 1 ? y + 1 : std::max(0, height - 2);
            const int moved = isDown ? std::max(y - 1, 0) : std::min(y + 1, height - 1);
            for (std::int64_t x = 0; x < from.RowBytes(plane); ++x) {
              const int mean = (from.Row(plane, above)[x] + from.Row(plane, below)[x] + 1) / 2;
              const int expected = method == KV_PARITY_LINE ? from.Row(plane, moved)[x] : mean;
              ASSERT_EQ(to.Row(plane, y)[x], expected) << format << ' ' << width << ' ' << method << ' ' << y;
            }
          }
        }
      }
    });
  }
}

class DoorPan : public testing::TestWithParam<int> {};

TEST_P(DoorPan, SameBytesAsTheFamilys) {
  std::mt19937 random(static_cast<unsigned>(GetParam()));
  const Context context = MakeContext();
  const auto& operation = Operation<kv_img::ScanningAlgorithmInterface<PackedImage, PackedImage>>(
      "Scanning", {Packed::ClassID, Packed::ClassID});
  const bool isSideways = GetParam() == KV_PAN_RIGHT || GetParam() == KV_PAN_LEFT;
  const auto upTo = [&](int most) { return static_cast<int>(random() % static_cast<unsigned>(most + 1)); };
  int calls = 0;
  for (int repeat = 0; repeat < 6; ++repeat) {
    ForEachWidth([&](int width, Placement placement, bool isBottomUp) {
      const int height = 2 + upTo(38);
      const int format = packedFormats[random() % 2];
      GuardedFrame from(format, width, height, placement, isBottomUp);
      GuardedFrame to(format, width, height, placement);
      from.Fill(random);
      to.Fill(random);
      kv_pan_options options;
      kv_pan_options_init(&options);
      options.direction = GetParam();
      options.steps = 1 + upTo(4);
      options.step = upTo(options.steps - 1);
      options.half_line = upTo(1);
      // The source's region often ends with the last column.
      const int sourceWidth = 1 + upTo(width - 1);
      const int sourceLeft = upTo(1) != 0 ? width - sourceWidth : upTo(width - sourceWidth);
      const int sourceHeight = 2 + upTo(height - 2);
      const int sourceTop = upTo(height - sourceHeight);
      const int toWidth = isSideways ? 1 + upTo(sourceWidth - 1) : sourceWidth;
      const int toHeight = isSideways ? sourceHeight : 2 + upTo(sourceHeight - 2);
      const int toLeft = upTo(width - toWidth);
      const int toTop = upTo(height - toHeight);
      const auto source = ImageOf<Packed>(from);
      const auto expected = ImageOf<Packed>(to);
      expected->GetProperties().fieldParity =
          static_cast<std::uint8_t>((options.step & 1) ^ options.half_line);
      kv_std::SpinBarrier barrier(1);
      operation.Apply(
          *source, *expected,
          ImageRect(sourceLeft, sourceTop, sourceLeft + sourceWidth - 1, sourceTop + sourceHeight - 1),
          ImageRect(toLeft, toTop, toLeft + toWidth - 1, toTop + toHeight - 1),
          static_cast<std::uint8_t>(options.direction), options.steps,
          static_cast<std::uint32_t>(options.step), barrier, 0);
      const Region sourceRegion = Rectangle(sourceLeft, sourceTop, sourceWidth, sourceHeight);
      const Region toRegion = Rectangle(toLeft, toTop, toWidth, toHeight);
      ASSERT_EQ(
          kv_pan(context.get(), from.Get(), sourceRegion.get(), to.Get(), toRegion.get(), &options, nullptr),
          KV_OK)
          << kv_last_error();
      ++calls;
      ASSERT_EQ(FirstDifference(to, *expected), -1)
          << width << 'x' << height << ' ' << sourceLeft << '+' << sourceWidth << " to " << toLeft << '+'
          << toWidth << ", step " << options.step << " of " << options.steps << ", " << options.half_line;
    });
  }
  EXPECT_EQ(calls, 6 * 260);
}

INSTANTIATE_TEST_SUITE_P(Directions, DoorPan,
                         testing::Values(KV_PAN_RIGHT, KV_PAN_LEFT, KV_PAN_DOWN, KV_PAN_UP));

}  // namespace
}  // namespace kv_test
