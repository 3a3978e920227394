// The C interface where kv_algoMMX is the only member: the alpha layers that it has find no averaging filter.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "capi/kv/kv.h"

namespace {

constexpr int width = 16;
constexpr int height = 8;

struct OwnFrame {
  explicit OwnFrame(int format) : bytes(std::size_t{2} * width * height, 77) {
    kv_frame_init(&view);
    view.format = format;
    view.width = width;
    view.height = height;
    view.planes[0] = bytes.data();
    view.strides[0] = 2 * width;
  }
  std::vector<std::uint8_t> bytes;
  kv_frame view;
};

TEST(AloneInItsFolder, TheDoorHasOneMember) {
  kv_member members[4] = {};
  for (kv_member& member : members) member.struct_size = sizeof member;
  std::size_t count = 0;
  ASSERT_EQ(kv_members(members, 4, &count), KV_OK) << kv_last_error();
  ASSERT_EQ(count, 4U);
  for (const kv_member& member : members)
    EXPECT_EQ(member.is_usable, std::string(member.name) == "kv_algoMMX" ? 1 : 0) << member.name;
}

TEST(AloneInItsFolder, TheDoorsAlphaLayersSayThatNoMemberHasTheFilter) {
  kv_context* made = nullptr;
  ASSERT_EQ(kv_context_new(nullptr, &made), KV_OK);
  const std::unique_ptr<kv_context, void (*)(kv_context*)> context(made, kv_context_free);
  const OwnFrame first(KV_FORMAT_UYVY);
  const OwnFrame second(KV_FORMAT_UYVY);
  const OwnFrame p(KV_FORMAT_GRAY8);
  const OwnFrame q(KV_FORMAT_GRAY8);
  OwnFrame mask(KV_FORMAT_GRAY8);
  const std::vector<std::uint8_t> before = mask.bytes;
  const auto expectNoFilter = [&](kv_status status) {
    EXPECT_EQ(status, KV_NO_MEMBER) << kv_last_error();
    EXPECT_NE(std::string(kv_last_error()).find("AverageFilter"), std::string::npos) << kv_last_error();
    EXPECT_EQ(mask.bytes, before);
  };
  expectNoFilter(
      kv_alpha_from_color(context.get(), &first.view, &second.view, &mask.view, nullptr, 3, nullptr));
  for (const int gain : {1, 2}) {
    expectNoFilter(
        kv_alpha_from_difference(context.get(), &p.view, &q.view, &mask.view, nullptr, gain, 3, nullptr));
  }
  // It has one, which the layers do not ask for.
  EXPECT_EQ(kv_box_filter(context.get(), &p.view, &mask.view, nullptr, 3, nullptr), KV_OK);
}

}  // namespace
