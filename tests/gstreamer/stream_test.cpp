// Seeks, latency, memory and caps templates of the elements.
#include <gtest/gtest.h>

#include "tests/formats/allocation_watch.h"
#include "tests/gstreamer/mixer_harness.h"

namespace kv_test {
namespace {

// Rows of every format end without padding.
constexpr int streamWidth = 44;
constexpr int streamHeight = 39;

struct Streamed {
  const char* element;
  const char* format;
  int code;
  const char* output;
  const char* more;
};
constexpr Streamed streamedElements[] = {
    {"kvconvert", "UYVY", KV_FORMAT_UYVY, "BGRx", ""},
    {"kvboxfilter", "GRAY8", KV_FORMAT_GRAY8, "GRAY8", ""},
    {"kvboxfilter", "UYVY", KV_FORMAT_UYVY, "UYVY", ""},
    {"kvparity", "UYVY", KV_FORMAT_UYVY, "UYVY", "interlace-mode=(string)interleaved"},
    {"kvpan", "YUY2", KV_FORMAT_YUY2, "YUY2", ""},
    {"kvtrack", "YUY2", KV_FORMAT_YUY2, "YUY2", ""},
};

class Stream : public testing::TestWithParam<Streamed> {
 protected:
  void SetCaps(ElementHarness& element, int width, int height) const {
    element.SetCaps(CapsText(GetParam().format, width, height, GetParam().more),
                    std::string("video/x-raw,format=") + GetParam().output);
  }
  Buffer Frame(int width, int height, GstClockTime time) const {
    std::mt19937 random(3);
    GuardedFrame frame(GetParam().code, width, height, Placement::EndOfPage);
    frame.Fill(random);
    Buffer buffer = BufferWith(frame, GetParam().format);
    GST_BUFFER_PTS(buffer.get()) = time;
    return buffer;
  }
};
INSTANTIATE_TEST_SUITE_P(Elements, Stream, testing::ValuesIn(streamedElements), [](const auto& one) {
  return std::string(one.param.element) + "_" + one.param.format;
});

TEST_P(Stream, AFlushingSeekGoesUpstreamAndItsFramesAreThoseOfAFreshStream) {
  ElementHarness element(GetParam().element);
  SetCaps(element, streamWidth, streamHeight);
  ASSERT_TRUE(element.Pass(Frame(streamWidth, streamHeight, 0))) << element.Error();
  ASSERT_TRUE(element.Pass(Frame(streamWidth, streamHeight, 40 * GST_MSECOND))) << element.Error();
  EXPECT_NE(gst_harness_push_upstream_event(
                element.Get(), gst_event_new_seek(1, GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, GST_SEEK_TYPE_SET,
                                                  2 * GST_SECOND, GST_SEEK_TYPE_NONE, 0)),
            FALSE);
  bool hasSeek = false;
  while (GstEvent* event = gst_harness_try_pull_upstream_event(element.Get())) {
    hasSeek = hasSeek || GST_EVENT_TYPE(event) == GST_EVENT_SEEK;
    gst_event_unref(event);
  }
  EXPECT_TRUE(hasSeek);
  const auto begin = [](ElementHarness& one) {
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    segment.start = segment.position = segment.time = 2 * GST_SECOND;
    gst_harness_push_event(one.Get(), gst_event_new_segment(&segment));
  };
  gst_harness_push_event(element.Get(), gst_event_new_flush_start());
  gst_harness_push_event(element.Get(), gst_event_new_flush_stop(TRUE));
  begin(element);
  const Buffer after = element.Pass(Frame(streamWidth, streamHeight, 2 * GST_SECOND));
  ASSERT_TRUE(after) << element.Error();
  ElementHarness fresh(GetParam().element);
  SetCaps(fresh, streamWidth, streamHeight);
  begin(fresh);
  const Buffer expected = fresh.Pass(Frame(streamWidth, streamHeight, 2 * GST_SECOND));
  ASSERT_TRUE(expected) << fresh.Error();
  EXPECT_EQ(GST_BUFFER_PTS(after.get()), 2 * GST_SECOND);
  GstMapInfo map;
  ASSERT_NE(gst_buffer_map(expected.get(), &map, GST_MAP_READ), FALSE);
  EXPECT_EQ(gst_buffer_get_size(after.get()), map.size);
  EXPECT_EQ(gst_buffer_memcmp(after.get(), 0, map.data, map.size), 0);
  gst_buffer_unmap(expected.get(), &map);
}

TEST_P(Stream, LatencyIsThatOfTheSource) {
  ElementHarness element(GetParam().element);
  SetCaps(element, streamWidth, streamHeight);
  gst_harness_set_upstream_latency(element.Get(), 30 * GST_MSECOND);
  ASSERT_TRUE(element.Pass(Frame(streamWidth, streamHeight, 0))) << element.Error();
  EXPECT_EQ(gst_harness_query_latency(element.Get()), 30 * GST_MSECOND);
}

TEST_P(Stream, NothingOfAFramesSizeIsAllocatedInTheSteadyState) {
  constexpr int width = 640;
  constexpr int height = 360;
  constexpr int warm = 3;
  ElementHarness element(GetParam().element);
  SetCaps(element, width, height);
  std::vector<Buffer> frames;
  for (int number = 0; number < 12; ++number) {
    frames.push_back(Frame(width, height, static_cast<GstClockTime>(number) * 40 * GST_MSECOND));
  }
  for (int number = 0; number < warm; ++number) {
    ASSERT_TRUE(element.Pass(std::move(frames[static_cast<std::size_t>(number)]))) << element.Error();
  }
  const kv_host::AllocationWatch watch;
  for (std::size_t number = warm; number < frames.size(); ++number) {
    ASSERT_TRUE(element.Pass(std::move(frames[number]))) << element.Error();
  }
  EXPECT_LT(watch.LargestBlock(), std::size_t{width} * height / 4);
}

TEST(StreamMemory, TheWatchSeesWhatAnElementAllocatesForItsFirstFrame) {
  ElementHarness element("kvtrack");
  element.SetCaps(CapsText("UYVY", 640, 360), "video/x-raw");
  const GuardedFrame frame(KV_FORMAT_UYVY, 640, 360, Placement::EndOfPage);
  Buffer in = BufferWith(frame, "UYVY");
  const kv_host::AllocationWatch watch;
  ASSERT_TRUE(element.Pass(std::move(in))) << element.Error();
  EXPECT_GT(watch.LargestBlock(), 17U * 17U);
}

constexpr int oddWidth = 41;
using Names = std::vector<std::string>;

/// The formats of a pad's template.
Names FormatsOf(GstElement* element, const char* pad) {
  GstPadTemplate* pads = gst_element_class_get_pad_template(GST_ELEMENT_GET_CLASS(element), pad);
  GstCaps* caps = gst_pad_template_get_caps(pads);
  const GValue* value = gst_structure_get_value(gst_caps_get_structure(caps, 0), "format");
  Names names;
  if (GST_VALUE_HOLDS_LIST(value)) {
    for (guint i = 0; i < gst_value_list_get_size(value); ++i) {
      names.emplace_back(g_value_get_string(gst_value_list_get_value(value, i)));
    }
  } else {
    names.emplace_back(g_value_get_string(value));
  }
  gst_caps_unref(caps);
  return names;
}

Buffer EmptyFrame(const std::string& caps) {
  GstCaps* parsed = gst_caps_from_string(caps.c_str());
  GstVideoInfo info;
  gst_video_info_from_caps(&info, parsed);
  gst_caps_unref(parsed);
  Buffer buffer(gst_buffer_new_allocate(nullptr, GST_VIDEO_INFO_SIZE(&info), nullptr));
  gst_buffer_memset(buffer.get(), 0, 128, GST_VIDEO_INFO_SIZE(&info));
  return buffer;
}

struct Templates {
  const char* element;
  std::vector<const char*> pads;
  bool makesAnyFormat;  ///< otherwise the output has the first input's
};
const Templates templateCases[] = {
    {"kvconvert", {"sink"}, true},
    {"kvboxfilter", {"sink"}, false},
    {"kvparity", {"sink"}, false},
    {"kvpan", {"sink"}, false},
    {"kvtrack", {"sink"}, false},
    {"kvdiff", {"first", "second"}, true},
    {"kvaverage", {"first", "second"}, false},
    {"kvblend", {"background", "foreground", "mask"}, false},
    {"kvalphacolor", {"sink", "plate"}, true},
};
class CapsTemplates : public testing::TestWithParam<Templates> {};
INSTANTIATE_TEST_SUITE_P(Elements, CapsTemplates, testing::ValuesIn(templateCases),
                         [](const auto& one) { return std::string(one.param.element); });

void PassThrough(const Templates& one, const std::string& in, const std::string& out) {
  MixerHarness element(one.element, one.pads);
  if (one.element == std::string("kvalphacolor")) {
    gst_util_set_object_arg(G_OBJECT(element.Element()), "output", out == "BGRA" ? "bgra" : "mask");
  }
  element.SetOutput("video/x-raw,format=" + out);
  const auto caps = [&](std::size_t i) {
    const bool isMask = one.pads[i] == std::string("mask");
    return CapsText(isMask ? "GRAY8" : in, oddWidth, streamHeight);
  };
  for (std::size_t i = 0; i < one.pads.size(); ++i) element.SetCaps(i, caps(i));
  for (std::size_t i = 0; i < one.pads.size(); ++i) element.Push(i, EmptyFrame(caps(i)), 0);
  ASSERT_TRUE(element.Pull()) << one.element << " " << in << " " << out << ": " << element.Error();
  EXPECT_NE(element.OutputCaps().find("format=(string)" + out), std::string::npos) << element.OutputCaps();
}

TEST_P(CapsTemplates, EveryFormatThatTheyNameWorksAndNoOther) {
  const Templates& one = GetParam();
  GstElement* element = gst_element_factory_make(one.element, nullptr);
  ASSERT_NE(element, nullptr);
  const Names sources = FormatsOf(element, "src");
  const Names sinks = FormatsOf(element, one.pads[0]);
  gst_object_unref(element);
  for (const std::string& in : sinks) {
    for (const std::string& out : sources) {
      if (one.makesAnyFormat || in == out) PassThrough(one, in, out);
    }
  }
  EXPECT_TRUE(one.makesAnyFormat || sinks == sources);
  MixerHarness other(one.element, one.pads);
  for (const char* format : {"NV12", "ARGB", "GRAY16_LE", "v210", "P010_10LE"}) {
    GstCaps* caps = gst_caps_from_string(CapsText(format, oddWidth, streamHeight).c_str());
    EXPECT_EQ(gst_pad_peer_query_accept_caps(other.Input(0)->srcpad, caps), FALSE) << format;
    gst_caps_unref(caps);
  }
}

}  // namespace
}  // namespace kv_test
