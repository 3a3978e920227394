#include "check/models/color_conversion_model.h"
#include "check/operation_call.h"
#include "frame/interfaces/color_conversion.h"

namespace kv_check {
namespace {

using kv_img::AlgorithmInterface;
using kv_img::Image;

template <class Value>
bool IsValue(Value value, int count) {
  return static_cast<int>(value) >= 0 && static_cast<int>(value) < count;
}
bool AreValues(const kv_img::YuvColors& colors) {
  return IsValue(colors.matrix, 3) && IsValue(colors.range, 2) && IsValue(colors.chroma, 2);
}

template <class In, class Out>
class ColorConversionRule final : public kv_img::ColorConversionAlgorithmInterface<Image<In>, Image<Out>> {
  Image<Out>& Apply(const Image<In>& source, Image<Out>& destination,
                    const kv_img::ColorConversionParameters& parameters, kv_std::SpinBarrier& /*barrier*/,
                    std::uint32_t index) const override {
    if (!HaveEqualSizes(source, destination)) Refuse(1);
    if (!AreValues(parameters.yuv) || (std::is_same_v<In, Out> && !AreValues(parameters.destination)) ||
        !IsValue(parameters.resample, 2)) {
      Refuse(4);
    }
    if (index == 0) kv_model::color::ConvertColors(source, destination, parameters);
    return destination;
  }
};

/// One of `count` values, or now and then one that there is not.
template <class Value>
Value AlmostAny(Random& random, int count) {
  return static_cast<Value>(random.OneIn(60) ? random.Pick({-1, count}) : random.Between(0, count - 1));
}

kv_img::YuvColors AnyColors(Random& random) {
  return {AlmostAny<kv_img::ColorMatrix>(random, 3), AlmostAny<kv_img::ColorRange>(random, 2),
          AlmostAny<kv_img::ChromaPosition>(random, 2)};
}

template <class In, class Out>
Comparison CompareConversions(Random& random, const AlgorithmInterface& reference,
                              const AlgorithmInterface& other) {
  const int width = random.Between(1, 130);
  const int height = random.Between(1, 5);
  const int threads = random.Between(1, 5);
  kv_img::ColorConversionParameters parameters{AnyColors(random), AnyColors(random)};
  parameters.resample = AlmostAny<kv_img::ChromaResampling>(random, 2);
  return CompareCalls<kv_img::ColorConversionAlgorithmInterface<Image<In>, Image<Out>>>(
      reference, other,
      [&](const auto& convert, auto& /*values*/, Image<In>& source, Image<Out>& destination) {
        InTurn(threads, [&](auto& barrier, std::uint32_t index) {
          convert.Apply(source, destination, parameters, barrier, index);
        });
      },
      AnyImage<In>(random, width, AlmostAlways(random, height), 0), AnyImage<Out>(random, width, height, 0));
}

}  // namespace

void AddColorOperations(std::vector<OperationCase>& list) {
  AddRows<kv_img::algorithms::ColorConversion>(list, []<class In, class Out>(kv_img::PixelClasses<In, Out>) {
    return RowCheck{CompareConversions<In, Out>, RuleOf<ColorConversionRule<In, Out>>()};
  });
}

}  // namespace kv_check
