// Random images and regions against the plain model.

#include "check/models/parity_change_model.h"

#include "image/image_rect.h"
#include "image/run_region.h"
#include "tests/parity/parity_fixture.h"
#include "tests/support/random.h"

namespace {

using kv_img::ImageRect;
using kv_img::RegionOfSupport;
using kv_img::RunRegion;
using kv_img::PixelLayout::chromaFirst;
using kv_img::PixelLayout::lumaFirst;
using namespace kv_test;

class ParityChangeModel : public ParityFixture {};

kv_img::ImageOptions AnyOptions(Random& random) {
  return FieldOptions(random.Between(0, 2), random.Between(0, 2), random.Pick({chromaFirst, lumaFirst}));
}

TEST_P(ParityChangeModel, ImageEqualsTheModelForEveryWidth) {
  Random random(0x5101);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 10; ++round) {
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round);
      const int height = random.Between(1, 9);
      // The whole-image operation needs no slack.
      TestImage<kv_img::PixelYUV422> source(random, width, height, Placement::Any(random, 0),
                                            AnyOptions(random));
      TestImage<kv_img::PixelYUV422> destination(random, width, height, Placement::Any(random, 0),
                                                 AnyOptions(random));
      TestImage modelSource = source;
      TestImage model = destination;
      Run(*source, *destination);
      kv_model::ChangeParityOfImage(*modelSource, *model);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      ASSERT_EQ(source.DifferenceFrom(modelSource), "");
    }
  }
}

TEST_P(ParityChangeModel, RegionEqualsTheModelForEveryWidth) {
  Random random(0x5102);
  for (int width = 1; width <= 130; ++width) {
    for (int round = 0; round < 20; ++round) {
      const int height = random.Between(1, 9);
      TestImage<kv_img::PixelYUV422> source(random, width, height, Placement::Any(random, 2),
                                            AnyOptions(random));
      TestImage<kv_img::PixelYUV422> destination(random, width + random.Between(0, 3),
                                                 height + random.Between(0, 3), Placement::Any(random, 2),
                                                 AnyOptions(random));
      TestImage modelSource = source;
      TestImage model = destination;
      const ImageRect bounds(*source);
      const ImageRect rect = random.OneIn(3) ? bounds : RandomRect(random, bounds);
      const RunRegion runs(rect);
      SCOPED_TRACE(testing::Message() << "width " << width << " round " << round << " columns "
                                      << rect.GetLeft() << " to " << rect.GetRight());
      Run(*source, *destination, random.OneIn(2) ? static_cast<const RegionOfSupport&>(rect) : runs);
      kv_model::ChangeParityOfRegion(*modelSource, *model, rect);
      ASSERT_EQ(destination.DifferenceFrom(model), "");
      ASSERT_EQ(source.DifferenceFrom(modelSource), "");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Members, ParityChangeModel, EachMember(), MemberName);

}  // namespace
