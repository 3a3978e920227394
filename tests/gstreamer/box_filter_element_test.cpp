#include <gtest/gtest.h>

#include "tests/gstreamer/element_harness.h"

namespace kv_test {
namespace {

/// Every second row of a plane, or all of them, filtered by the C interface.
void FilterRows(const GuardedFrame& from, GuardedFrame& to, int first, int step, int window) {
  const int rows = (from.Get()->height - first + step - 1) / step;
  kv_frame source = *from.Get();
  kv_frame destination = *to.Get();
  for (kv_frame* view : {&source, &destination}) {
    view->height = rows;
    view->planes[0] += first * view->strides[0];
    view->strides[0] *= step;
  }
  const Context context = MakeContext();
  ASSERT_EQ(kv_box_filter(context.get(), &source, &destination, nullptr, window, nullptr), KV_OK)
      << kv_last_error();
}

void SetWindow(const ElementHarness& element, int window, const char* planes = "luma") {
  g_object_set(element.Element(), "window", window, nullptr);
  gst_util_set_object_arg(G_OBJECT(element.Element()), "planes", planes);
}

TEST(BoxFilterElement, GreyHasTheBytesOfTheCallAtAnySizeAndWindow) {
  std::mt19937 random(1);
  for (const int width : {1, 2, 9, 67}) {
    for (const int window : {2, 3, 9, 255}) {
      GuardedFrame from(KV_FORMAT_GRAY8, width, 11, Placement::EndOfPage);
      GuardedFrame to(KV_FORMAT_GRAY8, width, 11, Placement::EndOfPage);
      from.Fill(random);
      FilterRows(from, to, 0, 1, window);
      ElementHarness element("kvboxfilter");
      SetWindow(element, window);
      element.OfferGuardedMemory();
      const std::string caps = CapsText("GRAY8", width, 11);
      element.SetCaps(caps, caps);
      const Buffer result = element.Pass(BufferOver(from, "GRAY8"));
      ASSERT_TRUE(result) << element.Error();
      EXPECT_EQ(FirstOtherRow(result.get(), caps, to), -1) << width << ", window " << window;
      EXPECT_TRUE(HasCleanPadding(result.get(), caps));
    }
  }
}

TEST(BoxFilterElement, FieldsOfWovenFramesAreFilteredEachOnTheirOwn) {
  std::mt19937 random(2);
  for (const int height : {1, 2, 7, 8}) {
    GuardedFrame from(KV_FORMAT_GRAY8, 13, height, Placement::EndOfPage);
    GuardedFrame to(KV_FORMAT_GRAY8, 13, height, Placement::EndOfPage);
    from.Fill(random);
    FilterRows(from, to, 0, height == 1 ? 1 : 2, 5);
    if (height > 1) FilterRows(from, to, 1, 2, 5);
    ElementHarness element("kvboxfilter");
    SetWindow(element, 5);
    const std::string caps = CapsText("GRAY8", 13, height, "interlace-mode=(string)interleaved");
    element.SetCaps(caps, caps);
    const Buffer result = element.Pass(BufferWith(from, "GRAY8"));
    ASSERT_TRUE(result) << element.Error();
    EXPECT_EQ(FirstOtherRow(result.get(), caps, to), -1) << height;
  }
}

TEST(BoxFilterElement, OfMixedStreamsTheFlagOfEachBufferCounts) {
  std::mt19937 random(6);
  GuardedFrame from(KV_FORMAT_GRAY8, 13, 8, Placement::EndOfPage);
  from.Fill(random);
  ElementHarness element("kvboxfilter");
  SetWindow(element, 5);
  const std::string caps = CapsText("GRAY8", 13, 8, "interlace-mode=(string)mixed");
  element.SetCaps(caps, caps);
  for (const bool isWoven : {false, true, false}) {
    GuardedFrame to(KV_FORMAT_GRAY8, 13, 8, Placement::EndOfPage);
    FilterRows(from, to, 0, isWoven ? 2 : 1, 5);
    if (isWoven) FilterRows(from, to, 1, 2, 5);
    Buffer in = BufferWith(from, "GRAY8");
    if (isWoven) GST_BUFFER_FLAG_SET(in.get(), GST_VIDEO_BUFFER_FLAG_INTERLACED);
    const Buffer result = element.Pass(std::move(in));
    ASSERT_TRUE(result) << element.Error();
    EXPECT_EQ(FirstOtherRow(result.get(), CapsText("GRAY8", 13, 8), to), -1) << isWoven;
  }
}

/// The planes of packed 4:2:2: every second byte, and of the others every second.
void TakePlane(const GuardedFrame& packed, int first, int step, GuardedFrame& plane) {
  for (int row = 0; row < plane.Get()->height; ++row) {
    for (int x = 0; x < plane.Get()->width; ++x) plane.Row(0, row)[x] = packed.Row(0, row)[first + x * step];
  }
}
void PutPlane(const GuardedFrame& plane, int first, int step, GuardedFrame& packed) {
  for (int row = 0; row < plane.Get()->height; ++row) {
    for (int x = 0; x < plane.Get()->width; ++x) packed.Row(0, row)[first + x * step] = plane.Row(0, row)[x];
  }
}

TEST(BoxFilterElement, PackedVideoIsFilteredInTheChosenPlanes) {
  std::mt19937 random(3);
  for (const char* planes : {"luma", "chroma", "luma+chroma"}) {
    for (const bool isUyvy : {true, false}) {
      const int format = isUyvy ? KV_FORMAT_UYVY : KV_FORMAT_YUY2;
      const char* name = isUyvy ? "UYVY" : "YUY2";
      GuardedFrame from(format, 30, 6, Placement::EndOfPage);
      GuardedFrame to(format, 30, 6, Placement::EndOfPage);
      from.Fill(random);
      to.CopyFrom(from);
      for (int plane = 0; plane < 3; ++plane) {
        if (std::string(planes).find(plane == 0 ? "luma" : "chroma") == std::string::npos) continue;
        const int first = plane == 0 ? (isUyvy ? 1 : 0) : (isUyvy ? 0 : 1) + 2 * (plane - 1);
        const int step = plane == 0 ? 2 : 4;
        GuardedFrame samples(KV_FORMAT_GRAY8, plane == 0 ? 30 : 15, 6, Placement::EndOfPage);
        GuardedFrame means(KV_FORMAT_GRAY8, plane == 0 ? 30 : 15, 6, Placement::EndOfPage);
        TakePlane(from, first, step, samples);
        FilterRows(samples, means, 0, 1, 3);
        PutPlane(means, first, step, to);
      }
      ElementHarness element("kvboxfilter");
      SetWindow(element, 3, planes);
      const std::string caps = CapsText(name, 30, 6);
      element.SetCaps(caps, caps);
      const Buffer result = element.Pass(BufferOver(from, name));
      ASSERT_TRUE(result) << element.Error();
      EXPECT_EQ(FirstOtherRow(result.get(), caps, to), -1) << planes << " of " << name;
    }
  }
}

TEST(BoxFilterElement, EveryPlaneOfEveryFormatHasItsOwnSize) {
  std::mt19937 random(4);
  for (const char* format : {"GRAY8", "Y42B", "I420", "YV12", "Y444", "Y41B", "UYVY", "YUY2"}) {
    for (const int width : {1, 5, 18}) {
      ElementHarness element("kvboxfilter");
      SetWindow(element, 7, "luma+chroma");
      element.OfferGuardedMemory();
      const std::string caps = CapsText(format, width, 5, "interlace-mode=(string)interleaved");
      element.SetCaps(caps, caps);
      GstCaps* parsed = gst_caps_from_string(caps.c_str());
      GstVideoInfo info;
      gst_video_info_from_caps(&info, parsed);
      gst_caps_unref(parsed);
      Buffer in(gst_buffer_new_allocate(nullptr, GST_VIDEO_INFO_SIZE(&info), nullptr));
      gst_buffer_memset(in.get(), 0, 77, GST_VIDEO_INFO_SIZE(&info));
      const Buffer result = element.Pass(std::move(in));
      ASSERT_TRUE(result) << format << ": " << element.Error();
      // The mean of uniform samples is that sample, in every one of them.
      GstVideoFrame frame;
      ASSERT_NE(gst_video_frame_map(&frame, &info, result.get(), GST_MAP_READ), FALSE);
      for (guint component = 0; component < GST_VIDEO_FRAME_N_COMPONENTS(&frame); ++component) {
        for (int row = 0; row < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, component); ++row) {
          const auto* samples =
              static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, component)) +
              row * GST_VIDEO_FRAME_COMP_STRIDE(&frame, component);
          for (int x = 0; x < GST_VIDEO_FRAME_COMP_WIDTH(&frame, component); ++x) {
            ASSERT_EQ(samples[x * GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, component)], 77)
                << format << " component " << component << " row " << row << " column " << x;
          }
        }
      }
      gst_video_frame_unmap(&frame);
    }
  }
}

TEST(BoxFilterElement, PassesTheVeryBufferWhereNothingIsFiltered) {
  struct Case {
    const char* format;
    int code;
    int window;
    const char* planes;
    bool passes;
  };
  for (const Case& one :
       {Case{"GRAY8", KV_FORMAT_GRAY8, 1, "luma", true}, Case{"GRAY8", KV_FORMAT_GRAY8, 9, "chroma", true},
        Case{"UYVY", KV_FORMAT_UYVY, 9, "", true}, Case{"UYVY", KV_FORMAT_UYVY, 9, "chroma", false},
        Case{"GRAY8", KV_FORMAT_GRAY8, 2, "luma", false}}) {
    ElementHarness element("kvboxfilter");
    SetWindow(element, one.window, one.planes);
    element.SetCaps(CapsText(one.format, 16, 4), CapsText(one.format, 16, 4));
    GuardedFrame from(one.code, 16, 4, Placement::EndOfPage);
    Buffer in = BufferWith(from, one.format);
    const GstBuffer* same = in.get();
    const Buffer result = element.Pass(std::move(in));
    EXPECT_EQ(result.get() == same, one.passes)
        << one.format << " window " << one.window << " " << one.planes;
  }
}

}  // namespace
}  // namespace kv_test
