// Frames of the library's own memory, and pieces of polygons.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "tests/capi/sound_calls.h"

namespace kv_test {
namespace {

kv_frame FrameOf(int format, int width, int height) {
  kv_frame frame;
  kv_frame_init(&frame);
  frame.format = format;
  frame.width = width;
  frame.height = height;
  return frame;
}

TEST(DoorFrames, AreZerosThatBeginOnBoundaries) {
  for (const int format : {KV_FORMAT_UYVY, KV_FORMAT_YUV411P, KV_FORMAT_I422, KV_FORMAT_GRAY8}) {
    // What is freed full comes again.
    for (int round = 0; round < 4; ++round) {
      kv_frame frame = FrameOf(format, 37, 5);
      std::int32_t planes = 0;
      ASSERT_EQ(kv_frame_alloc(&frame), KV_OK);
      ASSERT_EQ(kv_format_planes(format, &planes), KV_OK);
      for (int plane = 0; plane < planes; ++plane) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(frame.planes[plane]) % 64, 0U);
        EXPECT_EQ(frame.strides[plane] % 64, 0);
        const std::int64_t bytes = 5 * frame.strides[plane];
        for (std::int64_t at = 0; at < bytes; ++at)
          ASSERT_EQ(frame.planes[plane][at], 0) << plane << ' ' << at;
        std::fill_n(frame.planes[plane], bytes, std::uint8_t{255});
      }
      kv_frame_free(&frame);
      EXPECT_EQ(frame.memory, nullptr);
      EXPECT_EQ(frame.planes[0], nullptr);
      EXPECT_EQ(frame.strides[0], 0);
    }
  }
}

TEST(DoorFrames, OfACallersMemoryGetNoneAndKeepTheirs) {
  std::uint8_t row[8] = {};
  kv_frame frame = FrameOf(KV_FORMAT_GRAY8, 8, 1);
  frame.planes[0] = row;
  frame.strides[0] = 8;
  ExpectFailure(kv_frame_alloc(&frame), KV_BAD_ARGUMENT, "frame has planes already", "planes");
  kv_frame_free(&frame);
  EXPECT_EQ(frame.planes[0], row);
  EXPECT_EQ(frame.strides[0], 8);
}

TEST(DoorFrames, AreNotAllocatedTwice) {
  kv_frame frame = FrameOf(KV_FORMAT_GRAY8, 8, 1);
  ASSERT_EQ(kv_frame_alloc(&frame), KV_OK);
  ExpectFailure(kv_frame_alloc(&frame), KV_BAD_ARGUMENT, "frame has planes already", "twice");
  kv_frame_free(&frame);
}

TEST(DoorPolygons, PiecesHaveVerticesOfTheirOwn) {
  const double comb[] = {0, 0, 2, 0, 2, 4, 4, 4, 4, 0, 6, 0, 6, 6, 0, 6};
  double vertices[32];
  std::size_t pieces[4];
  std::size_t vertexCount = 0;
  std::size_t pieceCount = 0;
  const auto clip = [&](std::size_t count, std::size_t pieceCapacity) {
    return kv_clip_polygon(comb, count, 0, 1, 6, 3, vertices, 16, &vertexCount, pieces, pieceCapacity,
                           &pieceCount);
  };
  ASSERT_EQ(clip(8, 4), KV_OK);
  ASSERT_EQ(pieceCount, 2U);
  EXPECT_EQ(vertexCount, 8U);
  EXPECT_EQ(pieces[0], 4U);
  EXPECT_EQ(pieces[1], 4U);
  ExpectFailure(clip(8, 1), KV_SIZE_MISMATCH, "piece_capacity is 1; the pieces take 2", "pieces");
  ExpectFailure(clip(2, 4), KV_BAD_ARGUMENT, "count is 2; a polygon has 3 to 1000000 points", "points");
}

}  // namespace
}  // namespace kv_test
