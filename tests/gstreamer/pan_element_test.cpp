#include <gtest/gtest.h>

#include "tests/gstreamer/element_harness.h"

namespace kv_test {
namespace {

Buffer AtTime(const GuardedFrame& frame, const char* format, GstClockTime time) {
  Buffer buffer = BufferOver(frame, format);
  GST_BUFFER_PTS(buffer.get()) = time;
  return buffer;
}

struct PanCase {
  const char* name;
  int direction;
  int left, top, width, height;  ///< what the viewport crosses, of 43x31
};

TEST(PanElement, EveryFrameIsTheCallsStepOfItsTime) {
  std::mt19937 random(51);
  for (const PanCase& pan :
       {PanCase{"right", KV_PAN_RIGHT, 0, 9, 43, 12}, PanCase{"left", KV_PAN_LEFT, 0, 9, 43, 12},
        PanCase{"down", KV_PAN_DOWN, 12, 0, 17, 31}, PanCase{"up", KV_PAN_UP, 12, 0, 17, 31}}) {
    for (const bool isUyvy : {true, false}) {
      const int format = isUyvy ? KV_FORMAT_UYVY : KV_FORMAT_YUY2;
      const char* name = isUyvy ? "UYVY" : "YUY2";
      GuardedFrame still(format, 43, 31, Placement::EndOfPage);
      still.Fill(random);
      ElementHarness element("kvpan");
      g_object_set(element.Element(), "duration", 0.2, "width", 17, "height", 12, nullptr);
      gst_util_set_object_arg(G_OBJECT(element.Element()), "direction", pan.name);
      element.OfferGuardedMemory();
      element.SetCaps(CapsText(name, 43, 31), "video/x-raw");
      const Context context = MakeContext();
      const Region across = Rectangle(pan.left, pan.top, pan.width, pan.height);
      // Five steps, in any order of time, and then the last one stays.
      for (const int frame : {0, 3, 1, 4, 9, 11}) {
        GuardedFrame to(format, 17, 12, Placement::EndOfPage);
        kv_pan_options options;
        kv_pan_options_init(&options);
        options.direction = pan.direction;
        options.steps = 5;
        options.step = std::min(frame, 4);
        ASSERT_EQ(kv_pan(context.get(), still.Get(), across.get(), to.Get(), nullptr, &options, nullptr),
                  KV_OK)
            << kv_last_error();
        const Buffer result =
            element.Pass(AtTime(still, name, static_cast<GstClockTime>(frame) * 40 * GST_MSECOND));
        ASSERT_TRUE(result) << element.Error();
        EXPECT_EQ(FirstOtherRow(result.get(), CapsText(name, 17, 12), to), -1)
            << pan.name << " " << name << " " << frame;
      }
      EXPECT_NE(element.SourceCaps().find("width=(int)17, height=(int)12"), std::string::npos)
          << element.SourceCaps();
    }
  }
}

TEST(PanElement, ASizeSetWhilePlayingIsNegotiated) {
  GuardedFrame still(KV_FORMAT_UYVY, 64, 32, Placement::EndOfPage);
  ElementHarness element("kvpan");
  element.SetCaps(CapsText("UYVY", 64, 32), "video/x-raw");
  ASSERT_TRUE(element.Pass(AtTime(still, "UYVY", 0))) << element.Error();
  EXPECT_NE(element.SourceCaps().find("width=(int)64"), std::string::npos);
  g_object_set(element.Element(), "width", 20, nullptr);
  ASSERT_TRUE(element.Pass(AtTime(still, "UYVY", 40 * GST_MSECOND))) << element.Error();
  EXPECT_NE(element.SourceCaps().find("width=(int)20"), std::string::npos) << element.SourceCaps();
}

TEST(PanElement, RefusesWhatIsNoStillAndSaysWhatWouldBeRight) {
  GuardedFrame still(KV_FORMAT_UYVY, 32, 8, Placement::EndOfPage);
  const auto refusal = [&](const std::string& caps, int width) {
    ElementHarness element("kvpan");
    g_object_set(element.Element(), "width", width, nullptr);
    element.SetCaps(caps, "video/x-raw");
    EXPECT_EQ(element.Push(AtTime(still, "UYVY", 0)), GST_FLOW_NOT_NEGOTIATED);
    return element.Error();
  };
  EXPECT_EQ(refusal(CapsText("UYVY", 32, 8, "interlace-mode=(string)interleaved"), 0),
            "interlace-mode is interleaved; a still is progressive");
  EXPECT_EQ(refusal("video/x-raw,format=UYVY,width=32,height=8,framerate=0/1", 0),
            "the framerate is 0/1; a pan needs one, and a still becomes a stream by imagefreeze");
  EXPECT_EQ(refusal(CapsText("UYVY", 32, 8), 34),
            "width and height are 34x8, the still is 32x8; the movie must not be larger");
}

}  // namespace
}  // namespace kv_test
