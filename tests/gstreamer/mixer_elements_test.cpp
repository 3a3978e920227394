// What the elements with several inputs make of a frame: the bytes of the C interface's calls.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/gstreamer/mixer_harness.h"

namespace kv_test {
namespace {

struct PackedFormat {
  const char* name;
  int format;
};
constexpr PackedFormat packedFormats[] = {{"UYVY", KV_FORMAT_UYVY}, {"YUY2", KV_FORMAT_YUY2}};

/// One frame through an element with guarded memory on both sides.
Buffer MixOnce(MixerHarness& element, const std::vector<std::pair<const char*, const GuardedFrame*>>& inputs,
               const std::string& more = "") {
  element.OfferGuardedMemory();
  element.SetOutput("video/x-raw");
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const kv_frame& view = *inputs[i].second->Get();
    element.SetCaps(i, CapsText(inputs[i].first, view.width, view.height, more));
    element.Push(i, BufferOver(*inputs[i].second, inputs[i].first), 0);
  }
  for (std::size_t i = 0; i < inputs.size(); ++i) element.End(i);
  return element.Pull();
}

TEST(DifferenceElement, HasTheBytesOfTheCallAndPostsItsStatistics) {
  std::mt19937 random(41);
  for (const PackedFormat& format : packedFormats) {
    for (const int width : {1, 2, 7, 34, 131}) {
      GuardedFrame first(format.format, width, 5, Placement::EndOfPage);
      GuardedFrame second(format.format, width, 5, Placement::EndOfPage);
      GuardedFrame to(KV_FORMAT_GRAY8, width, 5, Placement::EndOfPage);
      first.Fill(random);
      second.Fill(random);
      const Context context = MakeContext();
      ASSERT_EQ(kv_difference(context.get(), first.Get(), second.Get(), to.Get(), nullptr, nullptr), KV_OK);
      MixerHarness element("kvdiff", {"first", "second"});
      g_object_set(element.Element(), "threshold", 100, nullptr);
      const Buffer result = MixOnce(element, {{format.name, &first}, {format.name, &second}});
      ASSERT_TRUE(result) << element.Error();
      EXPECT_EQ(FirstOtherRow(result.get(), CapsText("GRAY8", width, 5), to), -1)
          << format.name << " " << width;
      EXPECT_TRUE(HasCleanPadding(result.get(), CapsText("GRAY8", width, 5)));

      double sum = 0;
      double squares = 0;
      int most = 0;
      int above = 0;
      for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < width; ++x) {
          const int level = to.Row(0, y)[x];
          sum += level;
          squares += level * level;
          most = std::max(most, level);
          above += level > 100 ? 1 : 0;
        }
      }
      GstMessage* message = element.ElementMessage();
      ASSERT_NE(message, nullptr);
      const GstStructure* statistics = gst_message_get_structure(message);
      EXPECT_STREQ(gst_structure_get_name(statistics), "kvdiff");
      double mean = 0;
      double psnr = 0;
      int maximum = 0;
      double share = 0;
      guint64 time = 1;
      EXPECT_NE(gst_structure_get(statistics, "mean", G_TYPE_DOUBLE, &mean, "psnr", G_TYPE_DOUBLE, &psnr,
                                  "maximum", G_TYPE_INT, &maximum, "share", G_TYPE_DOUBLE, &share,
                                  "timestamp", G_TYPE_UINT64, &time, nullptr),
                FALSE);
      EXPECT_DOUBLE_EQ(mean, sum / (5.0 * width));
      EXPECT_NEAR(psnr, 10 * std::log10(255.0 * 255.0 * 5 * width / squares), 1e-9);
      EXPECT_EQ(maximum, most);
      EXPECT_DOUBLE_EQ(share, double(above) / (5.0 * width));
      EXPECT_EQ(time, 0U);
      gst_message_unref(message);
    }
  }
}

TEST(DifferenceElement, IsSilentWhenNoMessagesAreWanted) {
  GuardedFrame frame(KV_FORMAT_UYVY, 8, 2, Placement::EndOfPage);
  MixerHarness element("kvdiff", {"first", "second"});
  g_object_set(element.Element(), "post-messages", FALSE, nullptr);
  ASSERT_TRUE(MixOnce(element, {{"UYVY", &frame}, {"UYVY", &frame}}));
  EXPECT_EQ(element.ElementMessage(), nullptr);
}

TEST(AverageElement, HasTheBytesOfTheCall) {
  std::mt19937 random(42);
  for (const int width : {1, 3, 64, 129}) {
    GuardedFrame first(KV_FORMAT_GRAY8, width, 4, Placement::EndOfPage);
    GuardedFrame second(KV_FORMAT_GRAY8, width, 4, Placement::EndOfPage);
    GuardedFrame to(KV_FORMAT_GRAY8, width, 4, Placement::EndOfPage);
    first.Fill(random);
    second.Fill(random);
    const Context context = MakeContext();
    ASSERT_EQ(
        kv_average(context.get(), first.Get(), nullptr, second.Get(), nullptr, to.Get(), nullptr, nullptr),
        KV_OK);
    MixerHarness element("kvaverage", {"first", "second"});
    const Buffer result = MixOnce(element, {{"GRAY8", &first}, {"GRAY8", &second}});
    ASSERT_TRUE(result) << element.Error();
    EXPECT_EQ(FirstOtherRow(result.get(), CapsText("GRAY8", width, 4), to), -1) << width;
    EXPECT_TRUE(HasCleanPadding(result.get(), CapsText("GRAY8", width, 4)));
  }
}

TEST(BlendElement, BothModesHaveTheBytesOfTheirCalls) {
  std::mt19937 random(43);
  for (const FormatPair& format : {FormatPair{"UYVY", KV_FORMAT_UYVY}, FormatPair{"YUY2", KV_FORMAT_YUY2},
                                   FormatPair{"Y42B", KV_FORMAT_I422}}) {
    for (const int width : {1, 5, 8, 36, 67}) {
      for (const bool isBoost : {false, true}) {
        if (isBoost && (width % 4 != 0 || format.format == KV_FORMAT_I422)) continue;
        GuardedFrame background(format.format, width, 3, Placement::EndOfPage);
        GuardedFrame foreground(format.format, width, 3, Placement::EndOfPage);
        GuardedFrame mask(KV_FORMAT_GRAY8, width, 3, Placement::EndOfPage);
        GuardedFrame to(format.format, width, 3, Placement::EndOfPage);
        background.Fill(random);
        foreground.Fill(random);
        mask.Fill(random);
        const Context context = MakeContext();
        const auto call = isBoost ? kv_blend : kv_composite;
        ASSERT_EQ(
            call(context.get(), foreground.Get(), background.Get(), mask.Get(), to.Get(), nullptr, nullptr),
            KV_OK)
            << kv_last_error();
        MixerHarness element("kvblend", {"background", "foreground", "mask"});
        gst_util_set_object_arg(G_OBJECT(element.Element()), "mode", isBoost ? "boost" : "linear");
        const Buffer result =
            MixOnce(element, {{format.name, &background}, {format.name, &foreground}, {"GRAY8", &mask}});
        ASSERT_TRUE(result) << element.Error();
        EXPECT_EQ(FirstOtherRow(result.get(), CapsText(format.name, width, 3), to), -1)
            << format.name << " " << width << (isBoost ? " boost" : " linear");
      }
    }
  }
}

TEST(BlendElement, BoostRefusesOtherWidthsAndSaysWhatWouldBeRight) {
  GuardedFrame picture(KV_FORMAT_UYVY, 6, 3, Placement::EndOfPage);
  GuardedFrame mask(KV_FORMAT_GRAY8, 6, 3, Placement::EndOfPage);
  MixerHarness element("kvblend", {"background", "foreground", "mask"});
  gst_util_set_object_arg(G_OBJECT(element.Element()), "mode", "boost");
  element.SetOutput("video/x-raw");
  for (std::size_t i = 0; i < 3; ++i) {
    element.SetCaps(i, CapsText(i < 2 ? "UYVY" : "GRAY8", 6, 3));
    element.Push(i, i < 2 ? BufferWith(picture, "UYVY") : BufferWith(mask, "GRAY8"), 0);
  }
  EXPECT_EQ(element.Error(),
            "mode=boost is for UYVY and YUY2 of a width that is a multiple of 4, not for UYVY of width 6; "
            "mode=linear takes it");
}

/// The mask as the element should make it, by other steps: levels by hand, fields as frames of their own.
void ExpectMask(const GuardedFrame& picture, const GuardedFrame& plate, GuardedFrame& to, int low, int high,
                int window, bool isWoven) {
  const int width = picture.Get()->width;
  const int height = picture.Get()->height;
  GuardedFrame raw(KV_FORMAT_GRAY8, width, height, Placement::EndOfPage);
  const Context context = MakeContext();
  ASSERT_EQ(kv_alpha_from_color(context.get(), picture.Get(), plate.Get(), raw.Get(), nullptr, 1, nullptr),
            KV_OK)
      << kv_last_error();
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double t = std::clamp(double(raw.Row(0, y)[x] - low) / (high - low), 0.0, 1.0);
      raw.Row(0, y)[x] = static_cast<std::uint8_t>(std::floor(255 * (1 - t) + 0.5));
    }
  }
  const int fields = isWoven ? 2 : 1;
  for (int field = 0; field < fields; ++field) {
    GuardedFrame in(KV_FORMAT_GRAY8, width, (height + fields - 1 - field) / fields, Placement::EndOfPage);
    GuardedFrame out(KV_FORMAT_GRAY8, width, in.Get()->height, Placement::EndOfPage);
    for (int y = 0; y < in.Get()->height; ++y)
      std::copy_n(raw.Row(0, y * fields + field), width, in.Row(0, y));
    ASSERT_EQ(kv_box_filter(context.get(), in.Get(), out.Get(), nullptr, window, nullptr), KV_OK);
    for (int y = 0; y < in.Get()->height; ++y)
      std::copy_n(out.Row(0, y), width, to.Row(0, y * fields + field));
  }
}

TEST(AlphaColorElement, KeysByAPlateAndByAColour) {
  std::mt19937 random(44);
  for (const PackedFormat& format : packedFormats) {
    for (const int width : {1, 6, 35}) {
      for (const bool hasPlate : {true, false}) {
        for (const bool isWoven : {true, false}) {
          GuardedFrame picture(format.format, width, 7, Placement::EndOfPage);
          GuardedFrame plate(format.format, width, 7, Placement::EndOfPage);
          GuardedFrame to(KV_FORMAT_GRAY8, width, 7, Placement::EndOfPage);
          picture.Fill(random);
          plate.Fill(random);
          const int chromaFirst = format.format == KV_FORMAT_UYVY ? 0 : 1;
          for (int y = 0; y < 7 && !hasPlate; ++y) {
            for (std::int64_t i = 0; i < plate.RowBytes(0); i += 4) {
              plate.Row(0, y)[i + chromaFirst] = 90;
              plate.Row(0, y)[i + chromaFirst + 2] = 60;
            }
          }
          // Of colours that differ by more than four the mask knows nothing.
          for (int y = 0; y < 7; ++y) {
            for (std::int64_t i = chromaFirst; i < plate.RowBytes(0); i += 2)
              picture.Row(0, y)[i] = static_cast<std::uint8_t>(plate.Row(0, y)[i] ^ (random() % 4));
          }
          ExpectMask(picture, plate, to, 130, 255, 3, isWoven);
          MixerHarness element("kvalphacolor", hasPlate ? std::vector<const char*>{"sink", "plate"}
                                                        : std::vector<const char*>{"sink"});
          g_object_set(element.Element(), "cb", 90, "cr", 60, "low", 130, "high", 255, "window", 3, nullptr);
          std::vector<std::pair<const char*, const GuardedFrame*>> inputs = {{format.name, &picture}};
          if (hasPlate) inputs.emplace_back(format.name, &plate);
          const Buffer result = MixOnce(element, inputs, isWoven ? "interlace-mode=(string)interleaved" : "");
          ASSERT_TRUE(result) << element.Error();
          EXPECT_EQ(FirstOtherRow(result.get(), CapsText("GRAY8", width, 7), to), -1)
              << format.name << " " << width << (hasPlate ? " plate" : " colour")
              << (isWoven ? " woven" : "");
        }
      }
    }
  }
}

TEST(AlphaColorElement, TheMaskBecomesAlpha) {
  std::mt19937 random(45);
  GuardedFrame picture(KV_FORMAT_UYVY, 33, 6, Placement::EndOfPage);
  GuardedFrame plate(KV_FORMAT_UYVY, 33, 6, Placement::EndOfPage);
  GuardedFrame mask(KV_FORMAT_GRAY8, 33, 6, Placement::EndOfPage);
  GuardedFrame to(KV_FORMAT_BGRA32, 33, 6, Placement::EndOfPage);
  picture.Fill(random);
  plate.Fill(random);
  ExpectMask(picture, plate, mask, 130, 255, 1, false);
  picture->matrix = KV_MATRIX_BT709;
  picture->chroma = KV_CHROMA_LEFT;
  const Context context = MakeContext();
  ASSERT_EQ(kv_convert(context.get(), picture.Get(), to.Get(), nullptr, nullptr), KV_OK);
  for (int y = 0; y < 6; ++y) {
    for (int x = 0; x < 33; ++x) to.Row(0, y)[4 * x + 3] = mask.Row(0, y)[x];
  }
  MixerHarness element("kvalphacolor", {"sink", "plate"});
  gst_util_set_object_arg(G_OBJECT(element.Element()), "output", "bgra");
  const Buffer result = MixOnce(element, {{"UYVY", &picture}, {"UYVY", &plate}},
                                "colorimetry=(string)bt709,chroma-site=(string)mpeg2");
  ASSERT_TRUE(result) << element.Error();
  EXPECT_EQ(FirstOtherRow(result.get(), CapsText("BGRA", 33, 6), to), -1);
}

TEST(AlphaColorElement, LowHasToBeBelowHigh) {
  GuardedFrame picture(KV_FORMAT_UYVY, 8, 2, Placement::EndOfPage);
  MixerHarness element("kvalphacolor", {"sink"});
  g_object_set(element.Element(), "low", 200, "high", 100, nullptr);
  element.SetOutput("video/x-raw");
  element.SetCaps(0, CapsText("UYVY", 8, 2));
  element.Push(0, BufferWith(picture, "UYVY"), 0);
  EXPECT_EQ(element.Error(), "low is 200, high is 100; low has to be below high");
}

}  // namespace
}  // namespace kv_test
