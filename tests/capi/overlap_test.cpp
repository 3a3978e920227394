// Frames that share memory: the last byte that is taken, and the first one that is not.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/capi/sound_calls.h"

namespace kv_test {
namespace {

constexpr int sharedWidth = 24;
constexpr int sharedHeight = 4;
constexpr std::int64_t sharedRowBytes = 2 * sharedWidth;

/// Two frames of one block of memory.
class Shared : public testing::Test {
 protected:
  kv_frame At(std::int64_t offset, std::int64_t stride, int format = KV_FORMAT_UYVY) {
    kv_frame frame;
    kv_frame_init(&frame);
    frame.format = format;
    frame.width = sharedWidth;
    frame.height = sharedHeight;
    frame.planes[0] = memory_.data() + offset;
    frame.strides[0] = stride;
    return frame;
  }
  kv_status Convert(const kv_frame& from, kv_frame to) {
    return kv_convert(context_.get(), &from, &to, nullptr, nullptr);
  }
  /// Needs memory of its own, but for the very rows of its source.
  kv_status Levels(const kv_frame& from, kv_frame to) {
    return kv_mask_levels(context_.get(), &from, &to, nullptr, nullptr, nullptr);
  }
  static void ExpectOverlap(kv_status status, const char* what) {
    ExpectFailure(status, KV_BAD_ARGUMENT, "destination: plane 0 overlaps plane 0 of source", what);
  }

 private:
  std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(4096);
  Context context_ = MakeContext();
};

TEST_F(Shared, APlaneEndsWithTheBytesOfItsLastRowNotWithItsStride) {
  const std::int64_t end = 3 * 64 + sharedRowBytes;
  for (const std::int64_t stride : {std::int64_t{64}, std::int64_t{80}}) {
    EXPECT_EQ(Convert(At(0, 64), At(end, stride, KV_FORMAT_YUY2)), KV_OK) << kv_last_error();
    ExpectOverlap(Convert(At(0, 64), At(end - 1, stride, KV_FORMAT_YUY2)), "a byte less");
    EXPECT_EQ(Convert(At(end, stride), At(0, 64, KV_FORMAT_YUY2)), KV_OK) << kv_last_error();
    ExpectOverlap(Convert(At(end - 1, stride), At(0, 64, KV_FORMAT_YUY2)), "a byte less");
  }
  // Bottom-up, the first row is the last one in memory.
  EXPECT_EQ(Convert(At(0, 64), At(end + 3 * 64, -64, KV_FORMAT_YUY2)), KV_OK) << kv_last_error();
  ExpectOverlap(Convert(At(0, 64), At(end + 3 * 64 - 1, -64, KV_FORMAT_YUY2)), "bottom-up");
}

TEST_F(Shared, WovenRowsEndBeforeTheOtherFramesNextRow) {
  // Offsets in a stride: the other rows begin where one's end, and end where one's next begin.
  const std::int64_t tight = 2 * sharedRowBytes;
  EXPECT_EQ(Convert(At(0, tight), At(sharedRowBytes, tight, KV_FORMAT_YUY2)), KV_OK) << kv_last_error();
  EXPECT_EQ(Convert(At(sharedRowBytes, tight), At(0, tight, KV_FORMAT_YUY2)), KV_OK) << kv_last_error();
  ExpectOverlap(Convert(At(0, tight), At(sharedRowBytes - 1, tight, KV_FORMAT_YUY2)), "begins in a row");
  ExpectOverlap(Convert(At(0, tight), At(sharedRowBytes + 1, tight, KV_FORMAT_YUY2)), "ends in the next row");
  ExpectOverlap(Convert(At(0, tight - 1), At(sharedRowBytes, tight - 1, KV_FORMAT_YUY2)),
                "ends in the next row");
  ExpectOverlap(Convert(At(sharedRowBytes + 1, tight), At(0, tight, KV_FORMAT_YUY2)),
                "begins in the row before");
  // Rows of two lengths fit, too.
  EXPECT_EQ(Convert(At(0, 3 * sharedWidth), At(sharedRowBytes, 3 * sharedWidth, KV_FORMAT_GRAY8)), KV_OK)
      << kv_last_error();
  ExpectOverlap(Convert(At(0, 3 * sharedWidth), At(sharedRowBytes + 1, 3 * sharedWidth, KV_FORMAT_GRAY8)),
                "grey");
  // Rows of two strides meet somewhere.
  ExpectOverlap(Convert(At(0, tight), At(sharedRowBytes, tight + 2, KV_FORMAT_YUY2)), "two strides");
}

TEST_F(Shared, InPlaceMeansTheVeryRows) {
  EXPECT_EQ(Levels(At(1024, 64, KV_FORMAT_GRAY8), At(1024, 64, KV_FORMAT_GRAY8)), KV_OK) << kv_last_error();
  for (const std::int64_t stride : {32, 63, 65, 128, -64}) {
    ExpectOverlap(Levels(At(1024, 64, KV_FORMAT_GRAY8), At(1024, stride, KV_FORMAT_GRAY8)),
                  ("stride " + std::to_string(stride)).c_str());
  }
  ExpectOverlap(Levels(At(1024, 64, KV_FORMAT_GRAY8), At(1025, 64, KV_FORMAT_GRAY8)), "one byte on");
}

}  // namespace
}  // namespace kv_test
