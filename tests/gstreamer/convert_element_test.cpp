#include <gtest/gtest.h>

#include "tests/gstreamer/element_harness.h"

namespace kv_test {
namespace {

struct Size {
  int width;
  int height;
};

/// What a conversion by the C interface makes of a frame.
void Expect(const GuardedFrame& from, GuardedFrame& to, int resample = KV_RESAMPLE_LINEAR) {
  const Context context = MakeContext();
  kv_convert_options options;
  kv_convert_options_init(&options);
  options.resample = resample;
  ASSERT_EQ(kv_convert(context.get(), from.Get(), to.Get(), &options, nullptr), KV_OK) << kv_last_error();
}

TEST(ConvertElement, EveryPairOfFormatsHasTheBytesOfTheCallAtOddSizes) {
  std::mt19937 random(26);
  for (const Size size : {Size{1, 1}, Size{2, 3}, Size{7, 5}, Size{33, 2}, Size{131, 3}}) {
    for (const FormatPair& in : convertedFormats) {
      for (const FormatPair& out : convertedFormats) {
        SCOPED_TRACE(std::string(in.name) + " to " + out.name + ", width " + std::to_string(size.width));
        GuardedFrame from(in.format, size.width, size.height, Placement::EndOfPage);
        GuardedFrame to(out.format, size.width, size.height, Placement::EndOfPage);
        from.Fill(random);
        // What GStreamer means when caps say nothing: up to 576 rows BT.601, chroma between the pixels; grey is BT.601.
        from->matrix = to->matrix = KV_MATRIX_BT601;
        from->chroma = to->chroma = KV_CHROMA_CENTRE;
        Expect(from, to);
        ElementHarness element("kvconvert");
        const std::string caps = CapsText(out.name, size.width, size.height);
        element.OfferGuardedMemory();
        element.SetCaps(CapsText(in.name, size.width, size.height), caps);
        const Buffer result = element.Pass(BufferOver(from, in.name));
        ASSERT_TRUE(result) << element.Error();
        EXPECT_EQ(FirstOtherRow(result.get(), caps, to), -1);
        if (in.format != out.format) {
          EXPECT_TRUE(HasCleanPadding(result.get(), caps));
        }
      }
    }
  }
}

TEST(ConvertElement, BottomUpRowsAndRowsAtTheStartOfAPageAreReadWhereTheyAre) {
  std::mt19937 random(27);
  for (const char* format : {"UYVY", "Y42B", "BGR"}) {
    const int code = std::string(format) == "UYVY"  ? KV_FORMAT_UYVY
                     : std::string(format) == "BGR" ? KV_FORMAT_BGR24
                                                    : KV_FORMAT_I422;
    for (const Placement placement : {Placement::EndOfPage, Placement::StartOfPage}) {
      GuardedFrame from(code, 51, 6, placement, true);
      GuardedFrame to(KV_FORMAT_BGRX32, 51, 6, Placement::EndOfPage);
      from.Fill(random);
      from->matrix = to->matrix = KV_MATRIX_BT601;
      from->chroma = KV_CHROMA_CENTRE;
      Expect(from, to);
      ElementHarness element("kvconvert");
      element.SetCaps(CapsText(format, 51, 6), CapsText("BGRx", 51, 6));
      const Buffer result = element.Pass(BufferOver(from, format));
      ASSERT_TRUE(result) << element.Error();
      EXPECT_EQ(FirstOtherRow(result.get(), CapsText("BGRx", 51, 6), to), -1) << format;
    }
  }
}

TEST(ConvertElement, ColorimetryAndChromaSiteOfTheCapsAreObeyed) {
  struct Colours {
    const char* text;
    int matrix;
    int range;
  };
  std::mt19937 random(28);
  for (const Colours& colours : {Colours{"bt601", KV_MATRIX_BT601, KV_RANGE_LIMITED},
                                 Colours{"bt709", KV_MATRIX_BT709, KV_RANGE_LIMITED},
                                 Colours{"bt2020", KV_MATRIX_BT2020, KV_RANGE_LIMITED},
                                 Colours{"1:4:5:1", KV_MATRIX_BT601, KV_RANGE_FULL},
                                 Colours{"1:3:5:1", KV_MATRIX_BT709, KV_RANGE_FULL}}) {
    for (const bool isLeft : {true, false}) {
      GuardedFrame from(KV_FORMAT_UYVY, 37, 4, Placement::EndOfPage);
      GuardedFrame bitmap(KV_FORMAT_BGRX32, 37, 4, Placement::EndOfPage);
      GuardedFrame back(KV_FORMAT_YUY2, 37, 4, Placement::EndOfPage);
      from.Fill(random);
      from->matrix = back->matrix = colours.matrix;
      from->range = back->range = colours.range;
      from->chroma = back->chroma = isLeft ? KV_CHROMA_LEFT : KV_CHROMA_CENTRE;
      Expect(from, bitmap);
      Expect(bitmap, back);
      const std::string more = std::string("colorimetry=(string)") + colours.text + ",chroma-site=(string)" +
                               (isLeft ? "mpeg2" : "jpeg");
      ElementHarness there("kvconvert");
      there.SetCaps(CapsText("UYVY", 37, 4, more), CapsText("BGRx", 37, 4));
      const Buffer result = there.Pass(BufferWith(from, "UYVY"));
      ASSERT_TRUE(result) << there.Error();
      EXPECT_EQ(FirstOtherRow(result.get(), CapsText("BGRx", 37, 4), bitmap), -1) << more;
      ElementHarness back422("kvconvert");
      back422.SetCaps(CapsText("BGRx", 37, 4), CapsText("YUY2", 37, 4, more));
      const Buffer again = back422.Pass(BufferWith(bitmap, "BGRx"));
      ASSERT_TRUE(again) << back422.Error();
      EXPECT_EQ(FirstOtherRow(again.get(), CapsText("YUY2", 37, 4), back), -1) << more;
    }
  }
}

TEST(ConvertElement, HighPicturesAreBt709WithChromaAtTheLeftPixelWhenCapsSayNothing) {
  std::mt19937 random(29);
  GuardedFrame from(KV_FORMAT_UYVY, 6, 577, Placement::EndOfPage);
  GuardedFrame to(KV_FORMAT_BGRX32, 6, 577, Placement::EndOfPage);
  from.Fill(random);
  from->matrix = KV_MATRIX_BT709;
  from->chroma = KV_CHROMA_LEFT;
  Expect(from, to);
  ElementHarness element("kvconvert");
  element.SetCaps(CapsText("UYVY", 6, 577), CapsText("BGRx", 6, 577));
  const Buffer result = element.Pass(BufferWith(from, "UYVY"));
  ASSERT_TRUE(result) << element.Error();
  EXPECT_EQ(FirstOtherRow(result.get(), CapsText("BGRx", 6, 577), to), -1);
}

TEST(ConvertElement, NearestChromaIsAProperty) {
  std::mt19937 random(30);
  GuardedFrame from(KV_FORMAT_YUY2, 35, 3, Placement::EndOfPage);
  GuardedFrame to(KV_FORMAT_RGB24, 35, 3, Placement::EndOfPage);
  from.Fill(random);
  from->matrix = KV_MATRIX_BT601;
  from->chroma = KV_CHROMA_CENTRE;
  Expect(from, to, KV_RESAMPLE_NEAREST);
  ElementHarness element("kvconvert");
  gst_util_set_object_arg(G_OBJECT(element.Element()), "resample", "nearest");
  element.SetCaps(CapsText("YUY2", 35, 3), CapsText("RGB", 35, 3));
  const Buffer result = element.Pass(BufferWith(from, "YUY2"));
  ASSERT_TRUE(result) << element.Error();
  EXPECT_EQ(FirstOtherRow(result.get(), CapsText("RGB", 35, 3), to), -1);
}

TEST(ConvertElement, ExactCopiesLeaveNoOldBytesInTheirUnwrittenPixels) {
  std::mt19937 random(31);
  for (const FormatPair& out : {FormatPair{"BGR", KV_FORMAT_BGR24}, FormatPair{"Y42B", KV_FORMAT_YUV411P},
                                FormatPair{"GRAY8", KV_FORMAT_GRAY8}}) {
    GuardedFrame from(KV_FORMAT_UYVY, 21, 3, Placement::EndOfPage);
    GuardedFrame to(out.format, 21, 3, Placement::EndOfPage);
    from.Fill(random);
    const Context context = MakeContext();
    ElementHarness element("kvconvert");
    g_object_set(element.Element(), "exact-copy", TRUE, nullptr);
    element.OfferGuardedMemory();
    element.SetCaps(CapsText("UYVY", 21, 3), CapsText(out.name, 21, 3));
    const kv_status status = kv_copy(context.get(), from.Get(), to.Get(), nullptr);
    const Buffer result = element.Pass(BufferOver(from, "UYVY"));
    if (status != KV_OK) {
      EXPECT_FALSE(result);
      EXPECT_EQ(element.Error(), kv_last_error());
      continue;
    }
    ASSERT_TRUE(result) << element.Error();
    EXPECT_EQ(FirstOtherRow(result.get(), CapsText(out.name, 21, 3), to), -1) << out.name;
  }
}

TEST(ConvertElement, KeepsTheFormatWhereItMayAndPrefersTheSameLanguage) {
  struct Choice {
    const char* in;
    const char* offered;
    const char* chosen;
  };
  for (const Choice& choice :
       {Choice{"UYVY", "{ BGR, UYVY }", "UYVY"}, Choice{"UYVY", "{ GRAY8, BGR, YUY2 }", "YUY2"},
        Choice{"UYVY", "{ GRAY8, BGR }", "BGR"}, Choice{"BGRA", "{ BGR, RGBA }", "RGBA"},
        Choice{"BGRx", "{ GRAY8, UYVY, RGB }", "RGB"}, Choice{"GRAY8", "{ UYVY, RGB }", "RGB"}}) {
    ElementHarness element("kvconvert");
    element.SetCaps(CapsText(choice.in, 16, 4),
                    "video/x-raw,format=" + std::string(choice.offered) + ",width=[1,64],height=[1,64]");
    GuardedFrame any(choice.in[0] == 'U'   ? KV_FORMAT_UYVY
                     : choice.in[0] == 'G' ? KV_FORMAT_GRAY8
                                           : KV_FORMAT_BGRX32,
                     16, 4, Placement::EndOfPage);
    const Buffer result = element.Pass(BufferWith(any, choice.in));
    ASSERT_TRUE(result) << element.Error();
    EXPECT_NE(element.SourceCaps().find(std::string("format=(string)") + choice.chosen + ","),
              std::string::npos)
        << choice.in << " of " << choice.offered << ": " << element.SourceCaps();
  }
}

TEST(ConvertElement, ColoursOfVideoStayWhenOnlyTheByteOrderChanges) {
  ElementHarness element("kvconvert");
  element.SetCaps(CapsText("UYVY", 16, 4, "colorimetry=(string)bt2020,chroma-site=(string)mpeg2"),
                  "video/x-raw,format=YUY2");
  GuardedFrame from(KV_FORMAT_UYVY, 16, 4, Placement::EndOfPage);
  std::mt19937 random(32);
  from.Fill(random);
  GuardedFrame to(KV_FORMAT_YUY2, 16, 4, Placement::EndOfPage);
  Expect(from, to);
  const Buffer result = element.Pass(BufferWith(from, "UYVY"));
  ASSERT_TRUE(result) << element.Error();
  EXPECT_NE(element.SourceCaps().find("colorimetry=(string)bt2020"), std::string::npos)
      << element.SourceCaps();
  EXPECT_EQ(FirstOtherRow(result.get(), element.SourceCaps(), to), -1);
}

TEST(ConvertElement, PassesTheVeryBufferWhenNothingWouldChange) {
  ElementHarness element("kvconvert");
  element.SetCaps(CapsText("UYVY", 16, 4), CapsText("UYVY", 16, 4));
  GuardedFrame from(KV_FORMAT_UYVY, 16, 4, Placement::EndOfPage);
  Buffer in = BufferWith(from, "UYVY");
  const GstBuffer* same = in.get();
  const Buffer result = element.Pass(std::move(in));
  EXPECT_EQ(result.get(), same);
}

TEST(ConvertElement, OtherColoursOfOneFormatAreConverted) {
  std::mt19937 random(33);
  GuardedFrame from(KV_FORMAT_UYVY, 30, 2, Placement::EndOfPage);
  GuardedFrame to(KV_FORMAT_UYVY, 30, 2, Placement::EndOfPage);
  from.Fill(random);
  from->matrix = KV_MATRIX_BT601;
  to->matrix = KV_MATRIX_BT709;
  Expect(from, to);
  ElementHarness element("kvconvert");
  element.SetCaps(CapsText("UYVY", 30, 2, "colorimetry=(string)bt601,chroma-site=(string)mpeg2"),
                  CapsText("UYVY", 30, 2, "colorimetry=(string)bt709,chroma-site=(string)mpeg2"));
  const Buffer result = element.Pass(BufferWith(from, "UYVY"));
  ASSERT_TRUE(result) << element.Error();
  EXPECT_EQ(FirstOtherRow(result.get(), CapsText("UYVY", 30, 2), to), -1);
}

TEST(ConvertElement, RefusesColoursThatItDoesNotKnowAndSaysWhichItDoes) {
  for (const char* colorimetry : {"smpte240m", "2:2:5:1"}) {
    ElementHarness element("kvconvert");
    element.SetCaps(CapsText("UYVY", 16, 4, std::string("colorimetry=(string)") + colorimetry),
                    CapsText("BGRx", 16, 4));
    GuardedFrame from(KV_FORMAT_UYVY, 16, 4, Placement::EndOfPage);
    EXPECT_EQ(element.Push(BufferWith(from, "UYVY")), GST_FLOW_NOT_NEGOTIATED);
    EXPECT_EQ(element.Error(), "the matrix of the UYVY caps' colorimetry is none of bt601, bt709 and bt2020");
  }
  ElementHarness element("kvconvert");
  element.SetCaps(CapsText("BGRx", 16, 4, "colorimetry=(string)2:1:7:1"), CapsText("UYVY", 16, 4));
  GuardedFrame from(KV_FORMAT_BGRX32, 16, 4, Placement::EndOfPage);
  EXPECT_EQ(element.Push(BufferWith(from, "BGRx")), GST_FLOW_NOT_NEGOTIATED);
  EXPECT_EQ(element.Error(),
            "BGRx has the range 16 to 235 in its colorimetry; bitmaps and grey frames have 0 to 255 here");
}

}  // namespace
}  // namespace kv_test
