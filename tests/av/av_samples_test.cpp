// The rules by which decoded samples become 4:2:2, beside plain spellings of them.

#include <gtest/gtest.h>

#include <memory>

#include "host/av/samples.h"
#include "host/formats/chroma_rows.h"

namespace {

struct FreeFrame {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FreeFrame>;

Frame MakeFrame(AVPixelFormat pixels, int width, int height) {
  Frame frame(av_frame_alloc());
  frame->format = pixels;
  frame->width = width;
  frame->height = height;
  EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
  return frame;
}

void SetWords(AVFrame& frame, int plane, int width, int height, int step) {
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int value = (x * 37 + y * 101) * step & 1023;
      std::uint8_t* to = frame.data[plane] + y * frame.linesize[plane] + 2 * x;
      to[0] = static_cast<std::uint8_t>(value);
      to[1] = static_cast<std::uint8_t>(value >> 8);
    }
  }
}

TEST(AvSamples, TenBitsAreRoundedAndClamped) {
  const Frame frame = MakeFrame(AV_PIX_FMT_YUV422P10LE, 7, 5);
  SetWords(*frame, 0, 7, 5, 1);
  SetWords(*frame, 1, 4, 5, 3);
  SetWords(*frame, 2, 4, 5, 5);
  frame->data[0][0] = 0xFF;
  frame->data[0][1] = 0x03;  // 1023 would round to 256
  kv_av::Samples samples;
  KvAvFrame out{};
  char problem[KvAvProblemSize] = "";
  ASSERT_TRUE(samples.Take(*frame, AVCHROMA_LOC_LEFT, out, problem)) << problem;
  ASSERT_EQ(out.kind, KvAvPlanar);
  EXPECT_EQ(out.data[0][0], 255);
  for (int plane = 0; plane < 3; ++plane) {
    const int width = plane == 0 ? 7 : 4;
    ASSERT_EQ(out.rowBytes[plane], width);
    for (int y = 0; y < 5; ++y) {
      for (int x = 0; x < width; ++x) {
        const std::uint8_t* word = frame->data[plane] + y * frame->linesize[plane] + 2 * x;
        const int value = word[0] + 256 * word[1];
        EXPECT_EQ(out.data[plane][y * out.stride[plane] + x], std::min(255, (value + 2) / 4))
            << plane << " " << y << " " << x;
      }
    }
  }
}

TEST(AvSamples, OrderedDitherAddsQuartersOfAStep) {
  struct Depth {
    AVPixelFormat pixels;
    int step;
  };
  for (const Depth& depth : {Depth{AV_PIX_FMT_GRAY9LE, 2}, Depth{AV_PIX_FMT_GRAY10LE, 4},
                             Depth{AV_PIX_FMT_GRAY12LE, 16}, Depth{AV_PIX_FMT_GRAY16LE, 256}}) {
    const Frame frame = MakeFrame(depth.pixels, 6, 4);
    for (int value : {0, 1, 100 * depth.step + 1, 100 * depth.step + depth.step / 2, 255 * depth.step,
                      256 * depth.step - 1}) {
      for (int i = 0; i < 24; ++i) {
        std::uint8_t* to = frame->data[0] + i / 6 * frame->linesize[0] + 2 * (i % 6);
        to[0] = static_cast<std::uint8_t>(value);
        to[1] = static_cast<std::uint8_t>(value >> 8);
      }
      kv_av::Samples samples(kv_host::Dither::Ordered);
      KvAvFrame out{};
      char problem[KvAvProblemSize] = "";
      ASSERT_TRUE(samples.Take(*frame, AVCHROMA_LOC_UNSPECIFIED, out, problem)) << problem;
      for (int i = 0; i < 24; ++i) {
        const int quarters = i / 6 % 2 == 0 ? (i % 2 == 0 ? 0 : 2) : (i % 2 == 0 ? 3 : 1);
        EXPECT_EQ(out.data[0][i / 6 * out.stride[0] + i % 6],
                  std::min(255, (value + quarters * depth.step / 4) / depth.step))
            << depth.step << " " << value << " " << i;
      }
    }
  }
}

TEST(AvSamples, RowsOf420FollowTheirDistance) {
  const Frame frame = MakeFrame(AV_PIX_FMT_YUV420P, 2, 8);
  const std::uint8_t rows[] = {0, 80, 160, 40};
  for (int y = 0; y < 4; ++y) {
    frame->data[1][y * frame->linesize[1]] = rows[y];
    frame->data[2][y * frame->linesize[2]] = 9;
  }
  struct Case {
    AVChromaLocation position;
    int isInterlaced;
    std::uint8_t expected[8];
  };
  for (const Case& one :
       {Case{AVCHROMA_LOC_LEFT, 0, {0, 20, 60, 100, 140, 130, 70, 40}},
        Case{AVCHROMA_LOC_TOPLEFT, 0, {0, 40, 80, 120, 160, 100, 40, 40}},
        Case{AVCHROMA_LOC_BOTTOM, 0, {0, 0, 40, 80, 120, 160, 100, 40}},
        // Top field: rows 0 and 160 at 0.25 and 2.25 of its rows; bottom field: 80 and 40 at 0.75 and 2.75.
        Case{AVCHROMA_LOC_LEFT, 1, {0, 80, 60, 75, 140, 55, 160, 40}}}) {
    frame->interlaced_frame = one.isInterlaced;
    kv_av::Samples samples;
    KvAvFrame out{};
    char problem[KvAvProblemSize] = "";
    ASSERT_TRUE(samples.Take(*frame, one.position, out, problem)) << problem;
    for (int y = 0; y < 8; ++y) {
      EXPECT_EQ(out.data[1][y * out.stride[1]], one.expected[y])
          << one.position << one.isInterlaced << " row " << y;
      EXPECT_EQ(out.data[2][y * out.stride[2]], 9);
    }
  }
}

TEST(AvSamples, ColumnsOf444And411BecomePairs) {
  const std::uint8_t full[] = {10, 20, 40, 80, 120};
  const Frame frame = MakeFrame(AV_PIX_FMT_YUV444P, 5, 1);
  std::copy_n(full, 5, frame->data[1]);
  kv_av::Samples samples;
  KvAvFrame out{};
  char problem[KvAvProblemSize] = "";
  ASSERT_TRUE(samples.Take(*frame, AVCHROMA_LOC_UNSPECIFIED, out, problem));
  EXPECT_EQ(out.data[1][0], (10 + 20 + 20 + 2) / 4);
  EXPECT_EQ(out.data[1][1], (20 + 80 + 80 + 2) / 4);
  EXPECT_EQ(out.data[1][2], (80 + 240 + 120 + 2) / 4);
  EXPECT_EQ(out.site, KvAvLeft);

  const Frame quarter = MakeFrame(AV_PIX_FMT_YUV411P, 8, 1);
  quarter->data[1][0] = 10;
  quarter->data[1][1] = 31;
  out = {};
  ASSERT_TRUE(samples.Take(*quarter, AVCHROMA_LOC_LEFT, out, problem));
  EXPECT_EQ(out.data[1][0], 10);
  EXPECT_EQ(out.data[1][1], 21);
  EXPECT_EQ(out.data[1][2], 31);
  EXPECT_EQ(out.data[1][3], 31);
}

TEST(AvSamples, Packed411HasFourPixelsInSixBytes) {
  const Frame frame = MakeFrame(AV_PIX_FMT_UYYVYY411, 7, 2);
  for (int y = 0; y < 2; ++y) {
    const std::uint8_t row[] = {60, 1, 2, 90, 3, 4, 80, 5, 6, 70, 7, 8};
    for (int i = 0; i < 12; ++i)
      frame->data[0][y * frame->linesize[0] + i] = static_cast<std::uint8_t>(row[i] + y);
  }
  kv_av::Samples samples;
  KvAvFrame out{};
  char problem[KvAvProblemSize] = "";
  ASSERT_TRUE(samples.Take(*frame, AVCHROMA_LOC_LEFT, out, problem)) << problem;
  ASSERT_EQ(out.kind, KvAvPlanar);
  EXPECT_EQ(out.path, KvAvByRule);
  const int chroma[2][4] = {{60, 70, 80, 80}, {90, 80, 70, 70}};
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 7; ++x) EXPECT_EQ(out.data[0][y * out.stride[0] + x], x + 1 + y);
    for (int plane = 1; plane < 3; ++plane) {
      for (int x = 0; x < 4; ++x)
        EXPECT_EQ(out.data[plane][y * out.stride[plane] + x], chroma[plane - 1][x] + y);
    }
  }
}

}  // namespace
