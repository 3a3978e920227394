// Which metas of an input's buffer the output has.
#include <gtest/gtest.h>

#include <set>

#include "tests/gstreamer/mixer_harness.h"

namespace kv_test {
namespace {

struct MetaCase {
  const char* element;
  std::vector<FormatPair> inputs;
  const char* pad;  ///< of the first input
  const char* second;
  const char* third;
  const char* output;
  bool keepsColours;
};
const MetaCase metaCases[] = {
    {"kvdiff",
     {{"UYVY", KV_FORMAT_UYVY}, {"UYVY", KV_FORMAT_UYVY}},
     "first",
     "second",
     nullptr,
     "GRAY8",
     false},
    {"kvaverage",
     {{"GRAY8", KV_FORMAT_GRAY8}, {"GRAY8", KV_FORMAT_GRAY8}},
     "first",
     "second",
     nullptr,
     "GRAY8",
     true},
    {"kvblend",
     {{"YUY2", KV_FORMAT_YUY2}, {"YUY2", KV_FORMAT_YUY2}, {"GRAY8", KV_FORMAT_GRAY8}},
     "background",
     "foreground",
     "mask",
     "YUY2",
     true},
    {"kvalphacolor", {{"UYVY", KV_FORMAT_UYVY}}, "sink", nullptr, nullptr, "GRAY8", false},
    {"kvconvert", {{"UYVY", KV_FORMAT_UYVY}}, "sink", nullptr, nullptr, "BGRx", false},
    {"kvboxfilter", {{"GRAY8", KV_FORMAT_GRAY8}}, "sink", nullptr, nullptr, "GRAY8", true},
    {"kvpan", {{"YUY2", KV_FORMAT_YUY2}}, "sink", nullptr, nullptr, "YUY2", true},
};

class Metas : public testing::TestWithParam<MetaCase> {};
INSTANTIATE_TEST_SUITE_P(Elements, Metas, testing::ValuesIn(metaCases),
                         [](const auto& one) { return std::string(one.param.element); });

void RegisterMeta(const char* name, const char* tag) {
  const gchar* tags[] = {tag, nullptr};
  if (gst_meta_get_info(name) == nullptr) gst_meta_register_custom(name, tags, nullptr, nullptr, nullptr);
}

/// The widths of a buffer's regions of interest.
std::multiset<guint> RegionWidths(GstBuffer* buffer) {
  std::multiset<guint> widths;
  gpointer state = nullptr;
  while (GstMeta* meta =
             gst_buffer_iterate_meta_filtered(buffer, &state, GST_VIDEO_REGION_OF_INTEREST_META_API_TYPE)) {
    widths.insert(reinterpret_cast<GstVideoRegionOfInterestMeta*>(meta)->w);
  }
  return widths;
}

TEST_P(Metas, OfTheFirstInputAreKeptByTheirTags) {
  RegisterMeta("KvTestVideo", "video");
  RegisterMeta("KvTestColours", "colorspace");
  RegisterMeta("KvTestMemory", "memory");
  const MetaCase& one = GetParam();
  std::vector<const char*> pads = {one.pad};
  for (const char* more : {one.second, one.third}) {
    if (more != nullptr) pads.push_back(more);
  }
  MixerHarness element(one.element, pads);
  element.SetOutput(std::string("video/x-raw,format=") + one.output);
  for (std::size_t i = 0; i < pads.size(); ++i) element.SetCaps(i, CapsText(one.inputs[i].name, 16, 4));
  for (std::size_t i = 0; i < pads.size(); ++i) {
    const GuardedFrame frame(one.inputs[i].format, 16, 4, Placement::EndOfPage);
    Buffer in = BufferWith(frame, one.inputs[i].name);
    gst_buffer_add_video_region_of_interest_meta(in.get(), "face", 1, 2, 3 + static_cast<guint>(i), 1);
    for (const char* name : {"KvTestVideo", "KvTestColours", "KvTestMemory"}) {
      if (i == 0) gst_buffer_add_custom_meta(in.get(), name);
    }
    element.Push(i, std::move(in), 0);
  }
  const Buffer result = element.Pull();
  ASSERT_TRUE(result) << element.Error();
  EXPECT_EQ(RegionWidths(result.get()), std::multiset<guint>{3});
  EXPECT_NE(gst_buffer_get_custom_meta(result.get(), "KvTestVideo"), nullptr);
  EXPECT_EQ(gst_buffer_get_custom_meta(result.get(), "KvTestColours") != nullptr, one.keepsColours);
  EXPECT_EQ(gst_buffer_get_custom_meta(result.get(), "KvTestMemory"), nullptr);
  EXPECT_LE(gst_buffer_get_n_meta(result.get(), GST_VIDEO_META_API_TYPE), 1U);
}

TEST(MetasOfOtherSizes, AreNotKept) {
  RegisterMeta("KvTestVideo", "video");
  const GuardedFrame still(KV_FORMAT_UYVY, 64, 32, Placement::EndOfPage);
  ElementHarness element("kvpan");
  g_object_set(element.Element(), "width", 20, "height", 32, nullptr);
  element.SetCaps(CapsText("UYVY", 64, 32), "video/x-raw");
  Buffer in = BufferWith(still, "UYVY");
  gst_buffer_add_video_region_of_interest_meta(in.get(), "face", 40, 2, 3, 4);
  gst_buffer_add_custom_meta(in.get(), "KvTestVideo");
  const Buffer result = element.Pass(std::move(in));
  ASSERT_TRUE(result) << element.Error();
  EXPECT_TRUE(RegionWidths(result.get()).empty());
  EXPECT_NE(gst_buffer_get_custom_meta(result.get(), "KvTestVideo"), nullptr);
}

}  // namespace
}  // namespace kv_test
