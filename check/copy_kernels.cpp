#include <algorithm>

#include "algorithms/copy/kernels/kernel_sets.h"
#include "check/kernel_case.h"
#include "check/random.h"

namespace kv_check {

using namespace kv_img::copy;

namespace {

constexpr auto Interleave = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            InterleaveArgs args{call.groups, call.inputs[0], call.inputs[1], call.inputs[2], call.outputs[0]};
            kernel(args);
            call.inputs[0] = args.luma;
            call.inputs[1] = args.cb;
            call.inputs[2] = args.cr;
            call.outputs[0] = args.destination;
          }};
};

/// Both byte orders on either side.
constexpr auto RegroupPairs = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            RegroupPairsArgs args{call.groups, OrderFromBit(call.seed & 1), OrderFromBit(call.seed & 2),
                                  call.inputs[0], call.outputs[0]};
            kernel(args);
            call.inputs[0] = args.source;
            call.outputs[0] = args.destination;
          }};
};

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
concept HasAlpha = requires(Args& args) {
  args.alpha;
};

/// Both byte orders; the usual matrix in half of the calls, else any.
template <class Args>
constexpr auto ColourConversion = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            Args args{};
            args.groups = call.groups;
            args.order = OrderFromBit(call.seed & 1);
            args.source = call.inputs[0];
            args.destination = call.outputs[0];
            if ((call.seed & 2) != 0) Vary(args.matrix, call.seed);
            if constexpr (HasAlpha<Args>) args.alpha = call.outputs[1];
            kernel(args);
            call.inputs[0] = args.source;
            call.outputs[0] = args.destination;
            if constexpr (HasAlpha<Args>) call.outputs[1] = args.alpha;
          }};
};

}  // namespace

void AddCopyKernels(std::vector<KernelCase>& list) {
  list.push_back({"copy/Dib24ToYuv422",
                  {{.perGroup = 24}},
                  {{.perGroup = 16}},
                  AllSets(ColourConversion<RgbToYuvArgs>, scalar::Dib24ToYuv422, mmx::Dib24ToYuv422,
                          WideKernels::Dib24ToYuv422)});
  list.push_back({"copy/Dib32ToYuv422",
                  {{.perGroup = 16}},
                  {{.perGroup = 8}},
                  AllSets(ColourConversion<RgbToYuvArgs>, scalar::Dib32ToYuv422, mmx::Dib32ToYuv422,
                          WideKernels::Dib32ToYuv422)});
  list.push_back({"copy/Dib32ToYuva422",
                  {{.perGroup = 16}},
                  {{.perGroup = 8}, {.perGroup = 4}},
                  AllSets(ColourConversion<RgbToYuvaArgs>, scalar::Dib32ToYuva422, mmx::Dib32ToYuva422,
                          WideKernels::Dib32ToYuva422)});
  list.push_back({"copy/InterleaveChromaFirst",
                  {{.perGroup = 8}, {.perGroup = 4}, {.perGroup = 4}},
                  {{.perGroup = 16}},
                  AllSets(Interleave, scalar::InterleaveChromaFirst, mmx::InterleaveChromaFirst,
                          WideKernels::InterleaveChromaFirst)});
  list.push_back({"copy/InterleaveLumaFirst",
                  {{.perGroup = 8}, {.perGroup = 4}, {.perGroup = 4}},
                  {{.perGroup = 16}},
                  AllSets(Interleave, scalar::InterleaveLumaFirst, mmx::InterleaveLumaFirst,
                          WideKernels::InterleaveLumaFirst)});
  list.push_back({"copy/RegroupPairs",
                  {{.perGroup = 8, .behind = 2}},
                  {{.perGroup = 8}},
                  AllSets(RegroupPairs, scalar::RegroupPairs, mmx::RegroupPairs, WideKernels::RegroupPairs)});
  list.push_back({"copy/SwapBytes",
                  {{.perGroup = 8}},
                  {{.perGroup = 8}},
                  AllSets(SourceToDestination<SwapBytesArgs>, scalar::SwapBytes, mmx::SwapBytes,
                          WideKernels::SwapBytes)});
  list.push_back({"copy/Yuv422ToDib15",
                  {{.perGroup = 8}},
                  {{.perGroup = 8}},
                  AllSets(ColourConversion<YuvToRgbArgs>, scalar::Yuv422ToDib15, mmx::Yuv422ToDib15,
                          WideKernels::Yuv422ToDib15)});
  list.push_back({"copy/Yuv422ToDib16",
                  {{.perGroup = 8}},
                  {{.perGroup = 8}},
                  AllSets(ColourConversion<YuvToRgbArgs>, scalar::Yuv422ToDib16, mmx::Yuv422ToDib16,
                          WideKernels::Yuv422ToDib16)});
  list.push_back({"copy/Yuv422ToDib24",
                  {{.perGroup = 16}},
                  {{.perGroup = 24}},
                  AllSets(ColourConversion<YuvToRgbArgs>, scalar::Yuv422ToDib24, mmx::Yuv422ToDib24,
                          WideKernels::Yuv422ToDib24)});
};

}  // namespace kv_check
