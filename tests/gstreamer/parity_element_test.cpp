#include <gtest/gtest.h>

#include "tests/gstreamer/element_harness.h"

namespace kv_test {
namespace {

constexpr const char* woven = "interlace-mode=(string)interleaved";

std::string WithOrder(const char* order) {
  return std::string(woven) + ",field-order=(string)" + order;
}

void ExpectParity(GuardedFrame& from, GuardedFrame& to, int method, bool isTopFirst) {
  from->field_order = isTopFirst ? KV_FIELDS_TOP_FIRST : KV_FIELDS_BOTTOM_FIRST;
  const Context context = MakeContext();
  const Region whole = Rectangle(0, 0, from->width, from->height);
  const kv_region* region = method == KV_PARITY_BLEND ? whole.get() : nullptr;
  ASSERT_EQ(kv_change_parity(context.get(), from.Get(), to.Get(), region, method, nullptr), KV_OK)
      << kv_last_error();
}

TEST(ParityElement, EveryMethodAndFormatHasTheBytesOfTheCall) {
  std::mt19937 random(5);
  for (const FormatPair& format : convertedFormats) {
    for (const int method : {KV_PARITY_LINE, KV_PARITY_FIELD, KV_PARITY_BLEND}) {
      const bool isPacked = format.format == KV_FORMAT_UYVY || format.format == KV_FORMAT_YUY2;
      if (method == KV_PARITY_BLEND && !isPacked) continue;
      for (const bool isTopFirst : {true, false}) {
        for (const int width : {1, 6, 35}) {
          GuardedFrame from(format.format, width, 7, Placement::EndOfPage);
          GuardedFrame to(format.format, width, 7, Placement::EndOfPage);
          from.Fill(random);
          ExpectParity(from, to, method, isTopFirst);
          ElementHarness element("kvparity");
          g_object_set(element.Element(), "method", method, nullptr);
          element.OfferGuardedMemory();
          const char* order = isTopFirst ? "top-field-first" : "bottom-field-first";
          element.SetCaps(CapsText(format.name, width, 7, WithOrder(order)), "video/x-raw");
          const Buffer result = element.Pass(BufferOver(from, format.name));
          ASSERT_TRUE(result) << element.Error();
          const std::string caps = CapsText(format.name, width, 7);
          EXPECT_EQ(FirstOtherRow(result.get(), caps, to), -1) << format.name << " method " << method;
          EXPECT_TRUE(HasCleanPadding(result.get(), caps));
        }
      }
    }
  }
}

TEST(ParityElement, FieldOrderOfCapsAndFlagsOfBuffersChange) {
  for (const bool isTopFirst : {true, false}) {
    ElementHarness element("kvparity");
    element.SetCaps(CapsText("UYVY", 16, 4, WithOrder(isTopFirst ? "top-field-first" : "bottom-field-first")),
                    "video/x-raw");
    GuardedFrame from(KV_FORMAT_UYVY, 16, 4, Placement::EndOfPage);
    Buffer in = BufferWith(from, "UYVY");
    if (isTopFirst) GST_BUFFER_FLAG_SET(in.get(), GST_VIDEO_BUFFER_FLAG_TFF);
    const Buffer result = element.Pass(std::move(in));
    ASSERT_TRUE(result) << element.Error();
    EXPECT_EQ(GST_BUFFER_FLAG_IS_SET(result.get(), GST_VIDEO_BUFFER_FLAG_TFF), !isTopFirst);
    const char* order =
        isTopFirst ? "field-order=(string)bottom-field-first" : "field-order=(string)top-field-first";
    EXPECT_NE(element.SourceCaps().find(order), std::string::npos) << element.SourceCaps();
  }
}

TEST(ParityElement, WithoutAnOrderInTheCapsTheFlagOfEachBufferCounts) {
  std::mt19937 random(6);
  ElementHarness element("kvparity");
  element.SetCaps(CapsText("YUY2", 10, 6, woven), "video/x-raw");
  for (const bool isTopFirst : {true, false, true}) {
    GuardedFrame from(KV_FORMAT_YUY2, 10, 6, Placement::EndOfPage);
    GuardedFrame to(KV_FORMAT_YUY2, 10, 6, Placement::EndOfPage);
    from.Fill(random);
    ExpectParity(from, to, KV_PARITY_LINE, isTopFirst);
    Buffer in = BufferWith(from, "YUY2");
    if (isTopFirst) GST_BUFFER_FLAG_SET(in.get(), GST_VIDEO_BUFFER_FLAG_TFF);
    const Buffer result = element.Pass(std::move(in));
    ASSERT_TRUE(result) << element.Error();
    EXPECT_EQ(FirstOtherRow(result.get(), CapsText("YUY2", 10, 6), to), -1);
    EXPECT_EQ(GST_BUFFER_FLAG_IS_SET(result.get(), GST_VIDEO_BUFFER_FLAG_TFF), !isTopFirst);
  }
}

TEST(ParityElement, ProgressiveFramesPassAsTheyAreAmongOthersToo) {
  for (const bool isMixed : {false, true}) {
    ElementHarness element("kvparity");
    element.SetCaps(CapsText("UYVY", 16, 4, isMixed ? "interlace-mode=(string)mixed" : ""), "video/x-raw");
    GuardedFrame from(KV_FORMAT_UYVY, 16, 4, Placement::EndOfPage);
    for (const bool isInterlaced : {false, true, false}) {
      if (isInterlaced && !isMixed) continue;
      Buffer in = BufferWith(from, "UYVY");
      if (isInterlaced) GST_BUFFER_FLAG_SET(in.get(), GST_VIDEO_BUFFER_FLAG_INTERLACED);
      const GstBuffer* same = in.get();
      const Buffer result = element.Pass(std::move(in));
      ASSERT_TRUE(result) << element.Error();
      EXPECT_EQ(result.get() == same, !isInterlaced);
    }
  }
}

TEST(ParityElement, BlendRefusesOtherFormatsAndNamesThoseItTakes) {
  ElementHarness element("kvparity");
  gst_util_set_object_arg(G_OBJECT(element.Element()), "method", "blend");
  element.SetCaps(CapsText("BGRx", 16, 4, woven), "video/x-raw");
  GuardedFrame from(KV_FORMAT_BGRX32, 16, 4, Placement::EndOfPage);
  EXPECT_EQ(element.Push(BufferWith(from, "BGRx")), GST_FLOW_NOT_NEGOTIATED);
  EXPECT_EQ(element.Error(), "method=blend is for UYVY and YUY2, not for BGRx; line and field take it");
}

}  // namespace
}  // namespace kv_test
