// What every element with several inputs does in a pipeline.
#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "tests/gstreamer/mixer_harness.h"

namespace kv_test {
namespace {

struct Kind {
  const char* element;
  std::vector<const char*> pads;
  std::vector<const char*> formats;
};
const Kind kinds[] = {
    {"kvdiff", {"first", "second"}, {"UYVY", "UYVY"}},
    {"kvaverage", {"first", "second"}, {"GRAY8", "GRAY8"}},
    {"kvblend", {"background", "foreground", "mask"}, {"YUY2", "YUY2", "GRAY8"}},
    {"kvalphacolor", {"sink", "plate"}, {"UYVY", "UYVY"}},
};

Buffer AnyFrame(const char* format, int width, int height) {
  const std::string name = format;
  const int code = name == "UYVY" ? KV_FORMAT_UYVY : name == "YUY2" ? KV_FORMAT_YUY2 : KV_FORMAT_GRAY8;
  GuardedFrame frame(code, width, height, Placement::EndOfPage);
  std::mt19937 random(9);
  frame.Fill(random);
  return BufferWith(frame, format);
}

class Mixing : public testing::TestWithParam<Kind> {
 protected:
  void SetCaps(MixerHarness& element, int width, int height, const std::string& more = "") const {
    for (std::size_t i = 0; i < GetParam().pads.size(); ++i) {
      element.SetCaps(i, CapsText(GetParam().formats[i], width, height, more));
    }
  }
  void PushAll(MixerHarness& element, int width, int height, int number) const {
    for (std::size_t i = 0; i < GetParam().pads.size(); ++i) {
      element.Push(i, AnyFrame(GetParam().formats[i], width, height), number);
    }
  }
};
INSTANTIATE_TEST_SUITE_P(Elements, Mixing, testing::ValuesIn(kinds),
                         [](const auto& one) { return std::string(one.param.element); });

TEST_P(Mixing, FramesOfEqualTimesMeetAndNewCapsInMidStreamAreTaken) {
  MixerHarness element(GetParam().element, GetParam().pads);
  element.SetOutput("video/x-raw");
  int number = 0;
  for (const int width : {16, 33, 8}) {
    SetCaps(element, width, 6);
    for (int frame = 0; frame < 3; ++frame) PushAll(element, width, 6, number++);
  }
  for (std::size_t i = 0; i < GetParam().pads.size(); ++i) element.End(i);
  std::set<gsize> sizes;
  for (int frame = 0; frame < number; ++frame) {
    const Buffer result = element.Pull();
    ASSERT_TRUE(result) << element.Error();
    EXPECT_EQ(GST_BUFFER_PTS(result.get()), static_cast<GstClockTime>(frame) * 40 * GST_MSECOND);
    sizes.insert(gst_buffer_get_size(result.get()));
  }
  EXPECT_EQ(sizes.size(), 3U);
  EXPECT_NE(element.OutputCaps().find("width=(int)8,"), std::string::npos) << element.OutputCaps();
  EXPECT_NE(element.OutputCaps().find("framerate=(fraction)25/1"), std::string::npos);
}

TEST_P(Mixing, TheStreamEndsWithTheFirstInputThatDoes) {
  MixerHarness element(GetParam().element, GetParam().pads);
  element.SetOutput("video/x-raw");
  SetCaps(element, 16, 4);
  PushAll(element, 16, 4, 0);
  ASSERT_TRUE(element.Pull());
  element.End(1);
  element.Push(0, AnyFrame(GetParam().formats[0], 16, 4), 1);
  if (GetParam().pads.size() > 2) element.Push(2, AnyFrame(GetParam().formats[2], 16, 4), 1);
  bool hasEnded = false;
  for (int tries = 0; tries < 1000 && !hasEnded; ++tries) {
    while (GstEvent* event = gst_harness_try_pull_event(element.Input(0))) {
      hasEnded = hasEnded || GST_EVENT_TYPE(event) == GST_EVENT_EOS;
      gst_event_unref(event);
    }
    if (!hasEnded) g_usleep(10000);
  }
  EXPECT_TRUE(hasEnded);
  EXPECT_EQ(gst_harness_try_pull(element.Input(0)), nullptr);
}

TEST_P(Mixing, BeforeAllInputsHaveBegunThePictureIsBlack) {
  MixerHarness element(GetParam().element, GetParam().pads);
  element.SetOutput("video/x-raw");
  SetCaps(element, 16, 4);
  const std::size_t last = GetParam().pads.size() - 1;
  element.Push(last, AnyFrame(GetParam().formats[last], 16, 4), 1);
  std::thread others([&] {
    for (int number = 0; number < 2; ++number) {
      for (std::size_t i = 0; i < last; ++i) {
        element.Push(i, AnyFrame(GetParam().formats[i], 16, 4), number);
      }
    }
  });
  const Buffer black = element.Pull();
  others.join();
  ASSERT_TRUE(black) << element.Error();
  GuardedFrame expected(GetParam().element == std::string("kvblend") ? KV_FORMAT_YUY2 : KV_FORMAT_GRAY8, 16,
                        4, Placement::EndOfPage);
  for (int y = 0; y < 4 && expected->format == KV_FORMAT_YUY2; ++y) {
    for (int i = 0; i < 32; ++i) expected.Row(0, y)[i] = i % 2 == 0 ? 16 : 128;
  }
  EXPECT_EQ(FirstOtherRow(black.get(), element.OutputCaps(), expected), -1);
  EXPECT_TRUE(element.Pull());
}

TEST_P(Mixing, OtherSizesAreRefusedWithAText) {
  MixerHarness element(GetParam().element, GetParam().pads);
  element.SetOutput("video/x-raw");
  SetCaps(element, 16, 4);
  const std::size_t last = GetParam().pads.size() - 1;
  element.SetCaps(last, CapsText(GetParam().formats[last], 18, 4));
  for (std::size_t i = 0; i <= last; ++i) {
    element.Push(i, AnyFrame(GetParam().formats[i], i == last ? 18 : 16, 4), 0);
  }
  for (std::size_t i = 0; i <= last; ++i) element.End(i);
  EXPECT_EQ(element.Error(), std::string(GetParam().pads[0]) + " has 16x4, " + GetParam().pads[last] +
                                 " has 18x4; all inputs need one size");
}

TEST_P(Mixing, SingleFieldsAreRefusedWithAText) {
  MixerHarness element(GetParam().element, GetParam().pads);
  element.SetOutput("video/x-raw");
  SetCaps(element, 16, 4, "interlace-mode=(string)fields");
  PushAll(element, 16, 4, 0);
  EXPECT_EQ(element.Error(),
            "interlace-mode is fields; it has to be progressive, interleaved or mixed: whole frames");
}

TEST_P(Mixing, ShortBuffersAreRefusedWithAText) {
  MixerHarness element(GetParam().element, GetParam().pads);
  element.SetOutput("video/x-raw");
  SetCaps(element, 16, 4);
  element.Push(0, Buffer(gst_buffer_new_allocate(nullptr, 16, nullptr)), 0);
  for (std::size_t i = 1; i < GetParam().pads.size(); ++i) {
    element.Push(i, AnyFrame(GetParam().formats[i], 16, 4), 0);
  }
  EXPECT_EQ(element.Error(), "a buffer is too small for the caps, or its GstVideoMeta is of another format");
}

TEST_P(Mixing, BuffersOfTheSteadyStateComeFromAPool) {
  MixerHarness element(GetParam().element, GetParam().pads);
  element.SetOutput("video/x-raw");
  SetCaps(element, 64, 16);
  std::set<const GstMemory*> memories;
  for (int number = 0; number < 20; ++number) {
    PushAll(element, 64, 16, number);
    const Buffer result = element.Pull();
    ASSERT_TRUE(result) << element.Error();
    memories.insert(gst_buffer_peek_memory(result.get(), 0));
  }
  EXPECT_LE(memories.size(), 3U);
}

TEST_P(Mixing, ThreadsPushIntoTheInputsWhilePropertiesChange) {
  MixerHarness element(GetParam().element, GetParam().pads);
  element.SetOutput("video/x-raw");
  SetCaps(element, 96, 20);
  constexpr int count = 25;
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < GetParam().pads.size(); ++i) {
    threads.emplace_back([&, i] {
      for (int number = 0; number < count; ++number) {
        element.Push(i, AnyFrame(GetParam().formats[i], 96, 20), number);
      }
    });
  }
  Buffer first;
  bool isSame = true;
  for (int number = 0; number < count; ++number) {
    g_object_set(element.Element(), "threads", 1 + number % 3, nullptr);
    Buffer result = element.Pull();
    ASSERT_TRUE(result) << element.Error();
    if (!first) {
      first = std::move(result);
      continue;
    }
    GstMapInfo map;
    gst_buffer_map(first.get(), &map, GST_MAP_READ);
    isSame = isSame && gst_buffer_memcmp(result.get(), 0, map.data, map.size) == 0;
    gst_buffer_unmap(first.get(), &map);
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(isSame);
}

TEST_P(Mixing, FramesGoOnAfterAFlushOfAllInputs) {
  MixerHarness element(GetParam().element, GetParam().pads);
  element.SetOutput("video/x-raw");
  SetCaps(element, 16, 4);
  PushAll(element, 16, 4, 0);
  ASSERT_TRUE(element.Pull());
  for (std::size_t i = 0; i < GetParam().pads.size(); ++i) {
    gst_harness_push_event(element.Input(i), gst_event_new_flush_start());
  }
  for (std::size_t i = 0; i < GetParam().pads.size(); ++i) {
    gst_harness_push_event(element.Input(i), gst_event_new_flush_stop(TRUE));
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_harness_push_event(element.Input(i), gst_event_new_segment(&segment));
  }
  PushAll(element, 16, 4, 1);
  const Buffer result = element.Pull();
  ASSERT_TRUE(result) << element.Error();
  EXPECT_EQ(GST_BUFFER_PTS(result.get()), 40 * GST_MSECOND);
}

TEST_P(Mixing, AnUnknownMemberIsAnErrorThatNamesIt) {
  MixerHarness element(GetParam().element, GetParam().pads);
  gst_element_set_state(element.Element(), GST_STATE_NULL);
  g_object_set(element.Element(), "member", "kv_algoNone", nullptr);
  EXPECT_EQ(gst_element_set_state(element.Element(), GST_STATE_PAUSED), GST_STATE_CHANGE_FAILURE);
  EXPECT_NE(element.Error().find("kv_algoNone"), std::string::npos);
}

TEST(MixerPads, InputsNeedOneFormatAndMissingOnesAreNamed) {
  MixerHarness formats("kvdiff", {"first", "second"});
  formats.SetOutput("video/x-raw");
  formats.SetCaps(0, CapsText("UYVY", 8, 2));
  formats.SetCaps(1, CapsText("YUY2", 8, 2));
  formats.Push(0, AnyFrame("UYVY", 8, 2), 0);
  formats.Push(1, AnyFrame("YUY2", 8, 2), 0);
  EXPECT_EQ(formats.Error(), "first is UYVY, second is YUY2; they need one format");
  MixerHarness alone("kvblend", {"background", "foreground"});
  alone.SetOutput("video/x-raw");
  for (std::size_t i = 0; i < 2; ++i) {
    alone.SetCaps(i, CapsText("UYVY", 8, 2));
    alone.Push(i, AnyFrame("UYVY", 8, 2), 0);
  }
  EXPECT_EQ(alone.Error(), "nothing is linked to the pad mask");
}

TEST(MixerPads, PadsWithoutANameAreGivenOutInOrderAndOnceEach) {
  GstElement* element = gst_element_factory_make("kvblend", nullptr);
  GstPadTemplate* any = gst_element_class_get_pad_template(GST_ELEMENT_GET_CLASS(element), "background");
  for (const char* name : {"background", "foreground", "mask"}) {
    GstPad* pad = gst_element_request_pad(element, any, nullptr, nullptr);
    ASSERT_NE(pad, nullptr);
    EXPECT_STREQ(GST_PAD_NAME(pad), name);
    gst_object_unref(pad);
  }
  EXPECT_EQ(gst_element_request_pad(element, any, nullptr, nullptr), nullptr);
  gst_object_unref(element);
}

TEST(MixerPads, AnInputSaysWhatItTakesWhateverTheOutputIs) {
  MixerHarness element("kvdiff", {"first", "second"});
  GstCaps* caps = gst_pad_peer_query_caps(element.Input(0)->srcpad, nullptr);
  GstCaps* packed = gst_caps_from_string("video/x-raw,format=YUY2,width=7,height=5,framerate=25/1");
  GstCaps* grey = gst_caps_from_string("video/x-raw,format=GRAY8,width=7,height=5,framerate=25/1");
  EXPECT_NE(gst_caps_can_intersect(caps, packed), FALSE);
  EXPECT_EQ(gst_caps_can_intersect(caps, grey), FALSE);
  EXPECT_NE(gst_pad_peer_query_accept_caps(element.Input(0)->srcpad, packed), FALSE);
  EXPECT_EQ(gst_pad_peer_query_accept_caps(element.Input(0)->srcpad, grey), FALSE);
  for (GstCaps* one : {caps, packed, grey}) gst_caps_unref(one);
}

TEST(MixerPads, TheOutputFormatOfTheKeyMayChangeWhilePlaying) {
  MixerHarness element("kvalphacolor", {"sink"});
  element.SetOutput("video/x-raw");
  element.SetCaps(0, CapsText("UYVY", 16, 4));
  int number = 0;
  for (const char* output : {"mask", "bgra", "mask"}) {
    gst_util_set_object_arg(G_OBJECT(element.Element()), "output", output);
    element.Push(0, AnyFrame("UYVY", 16, 4), number++);
    ASSERT_TRUE(element.Pull()) << element.Error();
    const char* format = output == std::string("mask") ? "format=(string)GRAY8" : "format=(string)BGRA";
    EXPECT_NE(element.OutputCaps().find(format), std::string::npos) << element.OutputCaps();
  }
}

}  // namespace
}  // namespace kv_test
