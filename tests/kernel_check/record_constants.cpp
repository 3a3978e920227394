#include "tests/kernel_check/record_constants.h"

#include <algorithm>

#include "check/random.h"
#include "tests/kernel_check/kernel_case.h"

namespace kv_check {
namespace {

using namespace kv_img::copy;

std::int16_t AnyWeight(Random& random) {
  return static_cast<std::int16_t>(random.OneIn(4) ? random.Pick({-32768, 32767})
                                                   : random.Between(-32768, 32767));
}
std::uint8_t AnyOffset(Random& random) {
  return static_cast<std::uint8_t>(random.Between(0, 255));
}

void Vary(YuvToRgbMatrix& matrix, std::uint64_t seed) {
  Random random(seed);
  for (std::int16_t* gain :
       {&matrix.luma, &matrix.crToRed, &matrix.cbToGreen, &matrix.crToGreen, &matrix.cbToBlue}) {
    *gain = AnyWeight(random);
  }
  matrix.lumaOffset = AnyOffset(random);
  matrix.chromaOffset = AnyOffset(random);
}

/// Weights with which no pixel has a component outside 0 to 255, the offset included.
RgbWeights WeightsWithin(Random& random, int offset, bool mayBeNegative) {
  int below = mayBeNegative ? offset * 32768 / 255 : 0;
  int above = ((256 - offset) * 32768 - 1) / 255;
  RgbWeights weights{};
  std::int16_t* order[] = {&weights.red, &weights.green, &weights.blue};
  std::rotate(order, order + random.Between(0, 2), std::end(order));
  for (std::int16_t* weight : order) {
    const bool isNegative = mayBeNegative && random.OneIn(2);
    int& left = isNegative ? below : above;
    const int most = std::min(left, 32767);
    const int size = random.OneIn(3) ? most : random.Between(0, most);
    left -= size;
    *weight = static_cast<std::int16_t>(isNegative ? -size : size);
  }
  return weights;
}

void Vary(RgbToYuvMatrix& matrix, std::uint64_t seed) {
  Random random(seed);
  matrix.lumaOffset = AnyOffset(random);
  matrix.chromaOffset = AnyOffset(random);
  matrix.luma = WeightsWithin(random, matrix.lumaOffset, false);
  matrix.cb = WeightsWithin(random, matrix.chromaOffset, true);
  matrix.cr = WeightsWithin(random, matrix.chromaOffset, true);
}

template <class Args>
void DrawConversion(Args& args, std::uint64_t seed) {
  args.order = OrderFromBit(seed & 1);
  if ((seed & 2) != 0) Vary(args.matrix, seed);
}

}  // namespace

void DrawConstants(kv_img::alpha::ChromaDistance::Args& args, std::uint64_t seed) {
  args.order = OrderFromBit(seed & 1);
}

void DrawConstants(kv_img::arithmetic::BlendBoost::Args& args, std::uint64_t seed) {
  args.order = OrderFromBit(seed & 1);
}

void DrawConstants(kv_img::arithmetic::LumaDifference::Args& args, std::uint64_t seed) {
  args.order = OrderFromBit(seed & 1);
}

void DrawConstants(kv_img::featurefind::LumaBytes::Args& args, std::uint64_t seed) {
  args.order = OrderFromBit(seed & 1);
}

void DrawConstants(RegroupPairs::Args& args, std::uint64_t seed) {
  args.sourceOrder = OrderFromBit(seed & 1);
  args.destinationOrder = OrderFromBit(seed & 2);
}

void DrawConstants(RgbToYuv::Args& args, std::uint64_t seed) {
  DrawConversion(args, seed);
}

void DrawConstants(YuvToRgb::Args& args, std::uint64_t seed) {
  DrawConversion(args, seed);
}

void DrawConstants(kv_img::scanning::RowBlend::Args& args, std::uint64_t seed) {
  const std::uint32_t whole = std::uint32_t{1} << seed % 25;
  args.fraction = static_cast<float>(seed / 25 % (whole + 1)) / static_cast<float>(whole);
}

void DrawConstants(kv_img::scanning::RowPan::Args& args, std::uint64_t seed) {
  constexpr std::uint32_t extremes[] = {0, 1, 0x3FFFFF, 0x400000, 0x400001, 0x7FFF00, 0x7FFFFF, 0x100};
  const std::uint32_t weight =
      seed % 2 == 0 ? extremes[seed / 2 % 8] : static_cast<std::uint32_t>(seed >> 8) & 0x7FFFFFU;
  args.leftWeight = static_cast<std::uint16_t>((0x800000U - weight) >> 8);
  args.rightWeight = static_cast<std::uint16_t>(weight >> 8);
}

namespace {

/// Weights of both signs whose magnitudes sum to less than `limit`.
template <class... Weights>
void DrawWithin(Random& random, int limit, Weights&... weights) {
  int left = limit - 1;
  const auto draw = [&](std::int16_t& weight) {
    const int most = std::min(left, 32767);
    const int size = random.OneIn(3) ? most : random.Between(0, most);
    left -= size;
    weight = static_cast<std::int16_t>(random.OneIn(2) ? -size : size);
  };
  (draw(weights), ...);
}

template <class Choice>
Choice AnyOfThree(Random& random) {
  return static_cast<Choice>(random.Between(0, 2));
}

std::int16_t AnyBlack(Random& random) {
  return static_cast<std::int16_t>(random.Between(0, 255));
}

template <class Args>
void DrawScale(Args& args, std::uint64_t seed) {
  Random random(seed);
  args.order = OrderFromBit(seed & 1);
  args.weight = static_cast<std::int16_t>(random.Between(0, 32767));
  args.black = AnyBlack(random);
}

}  // namespace

void DrawConstants(kv_img::color::DecodeArgs& args, std::uint64_t seed) {
  Random random(seed);
  args.order = OrderFromBit(seed & 1);
  args.isRedFirst = (seed & 2) != 0;
  args.upsampling = AnyOfThree<kv_img::color::Upsampling>(random);
  auto& weights = args.weights;
  DrawWithin(random, 1 << 14, weights.luma);
  DrawWithin(random, 1 << 14, weights.crToRed);
  DrawWithin(random, 1 << 15, weights.cbToGreen, weights.crToGreen);
  DrawWithin(random, 1 << 14, weights.twoCbToBlue);
  if (random.OneIn(2)) weights = {19077, 29372, -3494, -8731, 17305, 16};
  weights.black = AnyBlack(random);
}

void DrawConstants(kv_img::color::EncodeArgs& args, std::uint64_t seed) {
  Random random(seed);
  args.order = OrderFromBit(seed & 1);
  args.isRedFirst = (seed & 2) != 0;
  args.downsampling = AnyOfThree<kv_img::color::Downsampling>(random);
  for (auto* sum : {&args.weights.luma, &args.weights.cb, &args.weights.cr}) {
    DrawWithin(random, 1 << 15, sum->red, sum->green, sum->blue);
  }
  args.weights.black = AnyBlack(random);
}

void DrawConstants(kv_img::color::Recode::Args& args, std::uint64_t seed) {
  Random random(seed);
  args.order = OrderFromBit(seed & 1);
  args.destinationOrder = OrderFromBit(seed & 2);
  args.upsampling = AnyOfThree<kv_img::color::Upsampling>(random);
  args.shift = AnyOfThree<kv_img::color::Shift>(random);
  auto& weights = args.weights;
  DrawWithin(random, 1 << 15, weights.luma, weights.cbToLuma, weights.crToLuma);
  DrawWithin(random, 1 << 15, weights.cbToCb, weights.crToCb);
  DrawWithin(random, 1 << 15, weights.cbToCr, weights.crToCr);
  weights.blackIn = AnyBlack(random);
  weights.blackOut = AnyBlack(random);
}

void DrawConstants(kv_img::color::GreyOfLuma::Args& args, std::uint64_t seed) {
  DrawScale(args, seed);
}

void DrawConstants(kv_img::color::LumaOfGrey::Args& args, std::uint64_t seed) {
  DrawScale(args, seed);
}

void DrawConstants(kv_img::color::RearrangeArgs& args, std::uint64_t seed) {
  args.isSwapped = (seed & 1) != 0;
  args.isOpaque = (seed & 2) != 0;
}

void DrawConstants(kv_img::color::GreyOfBitmapArgs& args, std::uint64_t seed) {
  Random random(seed);
  const auto first = static_cast<std::uint16_t>(random.Between(1, 32767));
  // Weights of one half, with which many sums end in one half.
  const auto third = static_cast<std::uint16_t>(random.OneIn(4) ? 32768 - first : random.Between(1, 32767));
  args.weights = {first, static_cast<std::uint16_t>(65536 - first - third), third};
}

void DrawConstants(kv_img::color::WordsArgs& args, std::uint64_t seed) {
  args.isSixGreen = (seed & 1) != 0;
}

}  // namespace kv_check
