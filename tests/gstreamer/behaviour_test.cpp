// What every element with one input does in a pipeline.
#include <gst/controller/gstdirectcontrolbinding.h>
#include <gst/controller/gstinterpolationcontrolsource.h>
#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "tests/gstreamer/element_harness.h"

namespace kv_test {
namespace {

/// An element at work: no buffer passes as it is.
struct Worker {
  const char* element;
  const char* inFormat;
  int inCode;
  const char* outFormat;
  const char* more;
};
constexpr Worker workers[] = {
    {"kvconvert", "UYVY", KV_FORMAT_UYVY, "BGRx", ""},
    {"kvboxfilter", "GRAY8", KV_FORMAT_GRAY8, "GRAY8", ""},
    {"kvboxfilter", "UYVY", KV_FORMAT_UYVY, "UYVY", ""},
    {"kvparity", "UYVY", KV_FORMAT_UYVY, "UYVY", "interlace-mode=(string)interleaved"},
    {"kvpan", "YUY2", KV_FORMAT_YUY2, "YUY2", ""},
};

void SetCapsOf(ElementHarness& element, const Worker& worker, int width, int height) {
  element.SetCaps(CapsText(worker.inFormat, width, height, worker.more),
                  std::string("video/x-raw,format=") + worker.outFormat);
}

constexpr const char* everyElement[] = {"kvconvert", "kvboxfilter",  "kvparity", "kvdiff", "kvaverage",
                                        "kvblend",   "kvalphacolor", "kvpan",    "kvtrack"};

class AtWork : public testing::TestWithParam<Worker> {};
INSTANTIATE_TEST_SUITE_P(Elements, AtWork, testing::ValuesIn(workers), [](const auto& one) {
  return std::string(one.param.element) + "_" + one.param.inFormat;
});

TEST_P(AtWork, NewCapsInMidStreamAreTaken) {
  ElementHarness element(GetParam().element);
  for (const int width : {16, 33, 8, 1, 640}) {
    SetCapsOf(element, GetParam(), width, width / 2 + 1);
    GuardedFrame from(GetParam().inCode, width, width / 2 + 1, Placement::EndOfPage);
    const Buffer result = element.Pass(BufferOver(from, GetParam().inFormat));
    ASSERT_TRUE(result) << element.Error();
    EXPECT_NE(element.SourceCaps().find("width=(int)" + std::to_string(width)), std::string::npos);
  }
}

TEST_P(AtWork, FlushAndSeekAndEndOfStreamGoThrough) {
  ElementHarness element(GetParam().element);
  SetCapsOf(element, GetParam(), 32, 8);
  GuardedFrame from(GetParam().inCode, 32, 8, Placement::EndOfPage);
  ASSERT_TRUE(element.Pass(BufferWith(from, GetParam().inFormat)));
  EXPECT_NE(gst_harness_push_event(element.Get(), gst_event_new_flush_start()), FALSE);
  EXPECT_EQ(element.Push(BufferWith(from, GetParam().inFormat)), GST_FLOW_FLUSHING);
  EXPECT_NE(gst_harness_push_event(element.Get(), gst_event_new_flush_stop(TRUE)), FALSE);
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  segment.start = segment.position = segment.time = 5 * GST_SECOND;
  gst_harness_push_event(element.Get(), gst_event_new_segment(&segment));
  Buffer in = BufferWith(from, GetParam().inFormat);
  GST_BUFFER_PTS(in.get()) = 6 * GST_SECOND;
  const Buffer result = element.Pass(std::move(in));
  ASSERT_TRUE(result) << element.Error();
  EXPECT_EQ(GST_BUFFER_PTS(result.get()), 6 * GST_SECOND);
  EXPECT_NE(gst_harness_push_event(element.Get(), gst_event_new_eos()), FALSE);
  EXPECT_EQ(element.Push(BufferWith(from, GetParam().inFormat)), GST_FLOW_EOS);
}

TEST_P(AtWork, LateFramesAreDroppedWhenDownstreamSaysSo) {
  ElementHarness element(GetParam().element);
  SetCapsOf(element, GetParam(), 32, 8);
  GuardedFrame from(GetParam().inCode, 32, 8, Placement::EndOfPage);
  const auto pass = [&](GstClockTime time) {
    Buffer in = BufferWith(from, GetParam().inFormat);
    GST_BUFFER_PTS(in.get()) = time;
    return element.Pass(std::move(in)) != nullptr;
  };
  EXPECT_TRUE(pass(0));
  gst_harness_push_upstream_event(
      element.Get(), gst_event_new_qos(GST_QOS_TYPE_UNDERFLOW, 2.0, 10 * GST_SECOND, GST_SECOND));
  EXPECT_FALSE(pass(2 * GST_SECOND));
  EXPECT_TRUE(pass(30 * GST_SECOND));
}

TEST_P(AtWork, BuffersOfTheSteadyStateComeFromAPool) {
  ElementHarness element(GetParam().element);
  SetCapsOf(element, GetParam(), 64, 16);
  GuardedFrame from(GetParam().inCode, 64, 16, Placement::EndOfPage);
  std::set<const GstMemory*> memories;
  for (int frame = 0; frame < 20; ++frame) {
    const Buffer result = element.Pass(BufferWith(from, GetParam().inFormat));
    ASSERT_TRUE(result) << element.Error();
    memories.insert(gst_buffer_peek_memory(result.get(), 0));
    ASSERT_NE(result->pool, nullptr);
  }
  EXPECT_EQ(memories.size(), 1U);
}

TEST_P(AtWork, UpstreamIsOfferedAPoolWithPaddingAndStrides) {
  ElementHarness element(GetParam().element);
  SetCapsOf(element, GetParam(), 32, 8);
  GuardedFrame from(GetParam().inCode, 32, 8, Placement::EndOfPage);
  ASSERT_TRUE(element.Pass(BufferWith(from, GetParam().inFormat)));
  GstCaps* caps = gst_caps_from_string(CapsText(GetParam().inFormat, 32, 8, GetParam().more).c_str());
  GstQuery* query = gst_query_new_allocation(caps, TRUE);
  EXPECT_NE(gst_pad_peer_query(element.Get()->srcpad, query), FALSE);
  EXPECT_NE(gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr), FALSE);
  EXPECT_GT(gst_query_get_n_allocation_pools(query), 0U);
  GstAllocationParams params;
  gst_allocation_params_init(&params);
  EXPECT_GT(gst_query_get_n_allocation_params(query), 0U);
  gst_query_parse_nth_allocation_param(query, 0, nullptr, &params);
  EXPECT_EQ(params.align, 63U);
  EXPECT_EQ(params.padding, 64U);
  gst_query_unref(query);
  gst_caps_unref(caps);
}

TEST_P(AtWork, RowsOfWhatIsMadeStartOn64ByteBoundariesWhereDownstreamTakesStrides) {
  ElementHarness element(GetParam().element);
  gst_harness_add_propose_allocation_meta(element.Get(), GST_VIDEO_META_API_TYPE, nullptr);
  SetCapsOf(element, GetParam(), 33, 8);
  GuardedFrame from(GetParam().inCode, 33, 8, Placement::EndOfPage);
  const Buffer result = element.Pass(BufferWith(from, GetParam().inFormat));
  ASSERT_TRUE(result) << element.Error();
  const GstVideoMeta* meta = gst_buffer_get_video_meta(result.get());
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(meta->stride[0] % 64, 0);
  GstMapInfo map;
  ASSERT_NE(gst_buffer_map(result.get(), &map, GST_MAP_READ), FALSE);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(map.data + meta->offset[0]) % 64, 0U);
  gst_buffer_unmap(result.get(), &map);
}

TEST_P(AtWork, ShortBuffersAreRefusedWithAText) {
  ElementHarness element(GetParam().element);
  SetCapsOf(element, GetParam(), 32, 8);
  EXPECT_EQ(element.Push(Buffer(gst_buffer_new_allocate(nullptr, 32 * 8 - 1, nullptr))), GST_FLOW_ERROR);
  EXPECT_EQ(element.Error(), "a buffer is too small for the caps, or its GstVideoMeta is of another format");
}

TEST_P(AtWork, SingleFieldsAreRefusedWithAText) {
  ElementHarness element(GetParam().element);
  element.SetCaps(CapsText(GetParam().inFormat, 32, 8, "interlace-mode=(string)fields"),
                  std::string("video/x-raw,format=") + GetParam().outFormat);
  GuardedFrame from(GetParam().inCode, 32, 8, Placement::EndOfPage);
  EXPECT_EQ(element.Push(BufferWith(from, GetParam().inFormat)), GST_FLOW_NOT_NEGOTIATED);
  EXPECT_EQ(element.Error(),
            "interlace-mode is fields; it has to be progressive, interleaved or mixed: whole frames");
  // The caps of alternating fields have a feature, which no template has.
  GstCaps* alternate = gst_caps_from_string(
      ("video/x-raw(format:Interlaced),interlace-mode=alternate,width=32,height=8,format=" +
       std::string(GetParam().inFormat))
          .c_str());
  EXPECT_EQ(gst_pad_peer_query_accept_caps(element.Get()->srcpad, alternate), FALSE);
  gst_caps_unref(alternate);
}

TEST_P(AtWork, AnUnknownMemberIsAnErrorThatNamesIt) {
  ElementHarness element(GetParam().element);
  gst_element_set_state(element.Element(), GST_STATE_NULL);
  g_object_set(element.Element(), "member", "kv_algoNone", nullptr);
  EXPECT_EQ(gst_element_set_state(element.Element(), GST_STATE_PAUSED), GST_STATE_CHANGE_FAILURE);
  EXPECT_NE(element.Error().find("kv_algoNone"), std::string::npos);
}

TEST_P(AtWork, MembersAndThreadsMayChangeWhilePlayingAndTheBytesStay) {
  std::mt19937 random(7);
  ElementHarness element(GetParam().element);
  SetCapsOf(element, GetParam(), 320, 240);
  GuardedFrame from(GetParam().inCode, 320, 240, Placement::EndOfPage);
  from.Fill(random);
  const Buffer first = element.Pass(BufferOver(from, GetParam().inFormat));
  ASSERT_TRUE(first) << element.Error();
  GstMapInfo expected;
  gst_buffer_map(first.get(), &expected, GST_MAP_READ);
  for (const int threads : {3, 1, 0}) {
    for (const char* member : {"kv_algoC", static_cast<const char*>(nullptr)}) {
      g_object_set(element.Element(), "threads", threads, "member", member, nullptr);
      const Buffer again = element.Pass(BufferOver(from, GetParam().inFormat));
      ASSERT_TRUE(again) << element.Error();
      EXPECT_EQ(gst_buffer_memcmp(again.get(), 0, expected.data, expected.size), 0) << threads;
    }
  }
  gst_buffer_unmap(first.get(), &expected);
}

TEST_P(AtWork, RegionsOfInterestAndTimestampsAreKept) {
  ElementHarness element(GetParam().element);
  SetCapsOf(element, GetParam(), 32, 8);
  GuardedFrame from(GetParam().inCode, 32, 8, Placement::EndOfPage);
  Buffer in = BufferWith(from, GetParam().inFormat);
  gst_buffer_add_video_region_of_interest_meta(in.get(), "face", 1, 2, 3, 4);
  GST_BUFFER_PTS(in.get()) = 40 * GST_MSECOND;
  GST_BUFFER_DURATION(in.get()) = 20 * GST_MSECOND;
  const Buffer result = element.Pass(std::move(in));
  ASSERT_TRUE(result) << element.Error();
  EXPECT_EQ(GST_BUFFER_PTS(result.get()), 40 * GST_MSECOND);
  EXPECT_EQ(GST_BUFFER_DURATION(result.get()), 20 * GST_MSECOND);
  const auto* meta = reinterpret_cast<GstVideoRegionOfInterestMeta*>(
      gst_buffer_get_meta(result.get(), GST_VIDEO_REGION_OF_INTEREST_META_API_TYPE));
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(meta->w, 3U);
}

TEST_P(AtWork, ThreadsThatPushIntoElementsOfTheirOwnDoNotMeet) {
  std::mt19937 random(8);
  GuardedFrame from(GetParam().inCode, 160, 33, Placement::EndOfPage);
  from.Fill(random);
  const auto work = [&](bool* isSame) {
    ElementHarness element(GetParam().element);
    SetCapsOf(element, GetParam(), 160, 33);
    const Buffer first = element.Pass(BufferOver(from, GetParam().inFormat));
    GstMapInfo expected;
    if (!first || gst_buffer_map(first.get(), &expected, GST_MAP_READ) == FALSE) return;
    *isSame = true;
    for (int frame = 0; frame < 30; ++frame) {
      g_object_set(element.Element(), "threads", 1 + frame % 3, nullptr);
      const Buffer again = element.Pass(BufferOver(from, GetParam().inFormat));
      *isSame = *isSame && again && gst_buffer_memcmp(again.get(), 0, expected.data, expected.size) == 0;
    }
    gst_buffer_unmap(first.get(), &expected);
  };
  bool areSame[2] = {};
  std::thread other(work, &areSame[1]);
  work(&areSame[0]);
  other.join();
  EXPECT_TRUE(areSame[0]);
  EXPECT_TRUE(areSame[1]);
}

TEST(ElementProperties, AControllerDrivesThemByStreamTime) {
  ElementHarness element("kvboxfilter");
  GstControlSource* source = gst_interpolation_control_source_new();
  g_object_set(source, "mode", GST_INTERPOLATION_MODE_NONE, nullptr);
  auto* values = GST_TIMED_VALUE_CONTROL_SOURCE(source);
  gst_timed_value_control_source_set(values, 0, 3);
  gst_timed_value_control_source_set(values, GST_SECOND, 31);
  gst_timed_value_control_source_set(values, 2 * GST_SECOND, 1);
  ASSERT_NE(gst_object_add_control_binding(
                GST_OBJECT(element.Element()),
                gst_direct_control_binding_new_absolute(GST_OBJECT(element.Element()), "window", source)),
            FALSE);
  element.SetCaps(CapsText("GRAY8", 40, 40), CapsText("GRAY8", 40, 40));
  GuardedFrame from(KV_FORMAT_GRAY8, 40, 40, Placement::EndOfPage);
  for (const auto& [time, window] : {std::pair{0, 3}, {1, 31}, {2, 1}, {1, 31}}) {
    Buffer in = BufferWith(from, "GRAY8");
    GST_BUFFER_PTS(in.get()) = static_cast<GstClockTime>(time) * GST_SECOND;
    const GstBuffer* same = in.get();
    const Buffer result = element.Pass(std::move(in));
    ASSERT_TRUE(result) << element.Error();
    int now = 0;
    g_object_get(element.Element(), "window", &now, nullptr);
    EXPECT_EQ(now, window);
    EXPECT_EQ(result.get() == same, window == 1);
  }
  gst_object_unref(source);
}

TEST(ElementProperties, AllThatDoNotChooseMembersOrCapsAreControllableAndAllMayChangeWhilePlaying) {
  for (const char* name : everyElement) {
    GstElement* element = gst_element_factory_make(name, nullptr);
    guint count = 0;
    GParamSpec** specs = g_object_class_list_properties(G_OBJECT_GET_CLASS(element), &count);
    int own = 0;
    for (guint i = 0; i < count; ++i) {
      const std::string type = g_type_name(specs[i]->owner_type);
      if (type.rfind("Kv", 0) != 0) continue;
      ++own;
      const std::string property = specs[i]->name;
      EXPECT_NE(specs[i]->flags & GST_PARAM_MUTABLE_PLAYING, 0) << name << "." << specs[i]->name;
      const bool isFixed = type == "KvPan" || property == "member" || property == "output";
      EXPECT_EQ((specs[i]->flags & GST_PARAM_CONTROLLABLE) != 0,
                !isFixed || property == "threads" || property == "direction")
          << name << "." << specs[i]->name;
    }
    g_free(specs);
    gst_object_unref(element);
    EXPECT_GE(own, 2) << name;
  }
}

TEST(ElementProperties, NoElementReplacesAnotherOneByRank) {
  for (const char* name : everyElement) {
    GstElementFactory* factory = gst_element_factory_find(name);
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(gst_plugin_feature_get_rank(GST_PLUGIN_FEATURE(factory)), static_cast<guint>(GST_RANK_NONE));
    gst_object_unref(factory);
  }
}

}  // namespace
}  // namespace kv_test
