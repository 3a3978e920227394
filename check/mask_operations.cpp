// Operations whose result is an 8-bit image.

#include "check/models/absolute_difference_model.h"
#include "check/models/alpha_layer_model.h"
#include "check/models/average_filter_model.h"
#include "check/models/average_model.h"
#include "check/operation_call.h"
#include "frame/interfaces/absolute_difference.h"
#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/interfaces/average.h"
#include "frame/interfaces/average_filter.h"

namespace kv_check {
namespace {

using kv_img::AlgorithmInterface;
using kv_img::ImageRect;
using kv_img::PixelYUV422;
using kv_img::RunRegion;
using NoColor = kv_img::PixelNoColor<unsigned char>;

/// Two frames of one byte order, or now and then of two.
struct FramePair {
  TestImage<PixelYUV422> first;
  TestImage<PixelYUV422> second;

  FramePair(Random& random, int width, int height) : FramePair(random, width, height, Layouts(random)) {}

 private:
  static std::pair<kv_img::ImageOptions, kv_img::ImageOptions> Layouts(Random& random) {
    const kv_img::ImageOptions first = AnyOptions<PixelYUV422>(random);
    kv_img::ImageOptions second = AnyOptions<PixelYUV422>(random);
    if (!random.OneIn(20)) second.layout = first.layout;
    return {first, second};
  }
  FramePair(Random& random, int width, int height,
            const std::pair<kv_img::ImageOptions, kv_img::ImageOptions>& options)
      : first(random, width, height, Placement::Any(random), options.first),
        second(random, AlmostAlways(random, width), height, Placement::Any(random), options.second) {
    // Chroma that is nearly the same, so that alpha is seldom the least there is.
    if (first->GetWidth() != second->GetWidth() || random.OneIn(3)) return;
    Random noise(static_cast<std::uint64_t>(random.Between(0, 255)));
    for (int row = 0; row < height; ++row) {
      for (std::size_t i = 0; i < first->Row(row).size(); ++i) {
        second->Row(row)[i] = static_cast<std::uint8_t>(first->Row(row)[i] + noise.Between(0, 3));
      }
    }
  }
};

class AbsoluteDifferenceRule final : public kv_img::AbsoluteDifferenceAlgorithmInterface<Yuv422, Grey8> {
  Grey8& Apply(const Yuv422& first, const Yuv422& second, Grey8& destination,
               const kv_img::RegionOfSupport& region, kv_std::SpinBarrier& /*barrier*/,
               std::uint32_t index) const override {
    if (!HaveEqualSizes(first, destination) || !HaveEqualSizes(second, destination)) Refuse(1);
    if (first.GetPixelLayout() != second.GetPixelLayout()) Refuse(6);
    if (index == 0) kv_model::AbsoluteDifference(first, second, destination, region);
    return destination;
  }
};

Comparison CompareDifferences(Random& random, const AlgorithmInterface& reference,
                              const AlgorithmInterface& other) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const int threads = random.Between(1, 9);
  const RunRegion region = RandomRuns(random, {0, 0, width - 1, height - 1});
  const FramePair frames(random, width, height);
  return CompareCalls<kv_img::AbsoluteDifferenceAlgorithmInterface<Yuv422, Grey8>>(
      reference, other,
      [&](const auto& difference, auto& /*values*/, Yuv422& first, Yuv422& second, Grey8& destination) {
        InTurn(threads, [&](auto& barrier, std::uint32_t index) {
          difference.Apply(first, second, destination, region, barrier, index);
        });
      },
      frames.first, frames.second, AnyImage<NoColor>(random, width, height));
}

class AverageRule final : public kv_img::AverageAlgorithmInterface<Grey8> {
  Grey8& Apply(const Grey8& first, const Grey8& second, Grey8& destination,
               const kv_img::RegionOfSupport& firstRegion, const kv_img::RegionOfSupport& secondRegion,
               const kv_img::RegionOfSupport& outputRegion, kv_std::SpinBarrier& /*barrier*/,
               std::uint32_t index) const override {
    if (!HaveEqualSizes(first, destination) || !HaveEqualSizes(second, destination)) Refuse(1);
    if (index == 0) kv_model::Average(first, second, destination, firstRegion, secondRegion, outputRegion);
    return destination;
  }
};

Comparison CompareAverages(Random& random, const AlgorithmInterface& reference,
                           const AlgorithmInterface& other) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const int threads = random.Between(1, 9);
  const ImageRect bounds(0, 0, width - 1, height - 1);
  const RunRegion first = RandomRuns(random, bounds);
  const RunRegion second = RandomRuns(random, bounds);
  const RunRegion output = RandomRuns(random, bounds);
  return CompareCalls<kv_img::AverageAlgorithmInterface<Grey8>>(
      reference, other,
      [&](const auto& average, auto& /*values*/, Grey8& a, Grey8& b, Grey8& destination) {
        InTurn(threads, [&](auto& barrier, std::uint32_t index) {
          average.Apply(a, b, destination, first, second, output, barrier, index);
        });
      },
      AnyImage<NoColor>(random, AlmostAlways(random, width), height),
      AnyImage<NoColor>(random, width, height), AnyImage<NoColor>(random, width, height));
}

void Smooth(const Grey8& source, Grey8& destination, const kv_img::RegionOfSupport& region,
            std::uint32_t windowSize) {
  if (!HaveEqualSizes(source, destination)) Refuse(1);
  if (windowSize < 1 || windowSize > 255) Refuse(4);
  kv_model::AverageFilter(source, destination, region, static_cast<int>(windowSize));
}

class AverageFilterRule final : public kv_img::AverageFilterAlgorithmInterface<Grey8> {
  Grey8& Apply(const Grey8& source, Grey8& destination, const kv_img::RegionOfSupport& region,
               std::uint32_t windowSize, kv_std::SpinBarrier& /*barrier*/,
               std::uint32_t index) const override {
    if (index == 0) Smooth(source, destination, region, windowSize);
    return destination;
  }
};

Comparison CompareFilters(Random& random, const AlgorithmInterface& reference,
                          const AlgorithmInterface& other) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 12);
  const int threads = random.Between(1, 4);
  const RunRegion region = RandomRuns(random, {0, 0, width - 1, height - 1});
  const auto window = static_cast<std::uint32_t>(random.OneIn(8) ? random.Between(0, 256)  //
                                                                 : random.Between(1, 12));
  return CompareCalls<kv_img::AverageFilterAlgorithmInterface<Grey8>>(
      reference, other,
      [&](const auto& filter, auto& /*values*/, Grey8& source, Grey8& destination) {
        InTurn(threads, [&](auto& barrier, std::uint32_t index) {
          filter.Apply(source, destination, region, window, barrier, index);
        });
      },
      AnyImage<NoColor>(random, width, AlmostAlways(random, height)),
      AnyImage<NoColor>(random, width, height));
}

/// One thread makes its own intermediate.
class ColorLayerRule final : public kv_img::AlphaLayerColorBasedAlgorithmInterface<Yuv422> {
  Grey8& Apply(const Yuv422& first, const Yuv422& second, Grey8& destination,
               const kv_img::RegionOfSupport& region, std::uint32_t windowSize,
               std::shared_ptr<Grey8> /*intermediate*/, kv_std::SpinBarrier& /*barrier*/,
               std::uint32_t /*index*/) const override {
    if (!HaveEqualSizes(first, second) || !HaveEqualSizes(first, destination)) Refuse(1);
    if (first.GetPixelLayout() != second.GetPixelLayout()) Refuse(6);
    Grey8 raw(static_cast<int>(first.GetWidth()), static_cast<int>(first.GetHeight()));
    kv_model::ColorRawMask(first, second, raw, region);
    Smooth(raw, destination, region, windowSize);
    return destination;
  }
};

Comparison CompareColorLayers(Random& random, const AlgorithmInterface& reference,
                              const AlgorithmInterface& other) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const RunRegion region = RandomRuns(random, {0, 0, width - 1, height - 1});
  const auto window = static_cast<std::uint32_t>(random.Between(0, 7));
  const FramePair frames(random, width, height);
  return CompareCalls<kv_img::AlphaLayerColorBasedAlgorithmInterface<Yuv422>>(
      reference, other,
      [&](const auto& layer, auto& /*values*/, Yuv422& first, Yuv422& second, Grey8& destination) {
        kv_std::SpinBarrier barrier(1);
        layer.Apply(first, second, destination, region, window, nullptr, barrier, 0);
      },
      frames.first, frames.second, AnyImage<NoColor>(random, width, height));
}

class ProbLayerRule final : public kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey8> {
  Grey8& Apply(const Grey8& p, const Grey8& q, Grey8& destination, const kv_img::RegionOfSupport& region,
               std::uint32_t gain, std::uint32_t windowSize, std::shared_ptr<Grey8> /*intermediate*/,
               kv_std::SpinBarrier& /*barrier*/, std::uint32_t /*index*/) const override {
    if (!HaveEqualSizes(p, q) || !HaveEqualSizes(p, destination)) Refuse(1);
    Grey8 raw(static_cast<int>(p.GetWidth()), static_cast<int>(p.GetHeight()));
    kv_model::ProbRawMask(p, q, raw, region, gain);
    Smooth(raw, destination, region, windowSize);
    return destination;
  }
  Grey8& Apply(const Grey8& p, const Grey8& q, Grey8& destination, const kv_img::RegionOfSupport& region,
               std::uint32_t windowSize, std::shared_ptr<Grey8> intermediate, kv_std::SpinBarrier& barrier,
               std::uint32_t index) const override {
    return Apply(p, q, destination, region, 1U, windowSize, std::move(intermediate), barrier, index);
  }
};

Comparison CompareProbLayers(Random& random, const AlgorithmInterface& reference,
                             const AlgorithmInterface& other) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const RunRegion region = RandomRuns(random, {0, 0, width - 1, height - 1});
  const auto window = static_cast<std::uint32_t>(random.Between(0, 7));
  const bool hasGain = random.OneIn(2);
  const auto gain =
      static_cast<std::uint32_t>(random.OneIn(4) ? random.Next() : std::uint64_t(random.Between(0, 5)));
  return CompareCalls<kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey8>>(
      reference, other,
      [&](const auto& layer, auto& /*values*/, Grey8& p, Grey8& q, Grey8& destination) {
        kv_std::SpinBarrier barrier(1);
        if (hasGain) {
          layer.Apply(p, q, destination, region, gain, window, nullptr, barrier, 0);
        } else {
          layer.Apply(p, q, destination, region, window, nullptr, barrier, 0);
        }
      },
      AnyImage<NoColor>(random, AlmostAlways(random, width), height),
      AnyImage<NoColor>(random, width, height), AnyImage<NoColor>(random, width, height));
}

}  // namespace

void AddMaskOperations(std::vector<OperationCase>& list) {
  using namespace kv_img::algorithms;
  AddRows<AlphaLayerProbMask>(list, [](auto) {
    return RowCheck{CompareProbLayers, RuleOf<ProbLayerRule>()};
  });
  AddRows<AlphaLayerColorBased>(list, [](auto) {
    return RowCheck{CompareColorLayers, RuleOf<ColorLayerRule>()};
  });
  AddRows<AverageFilter>(list, [](auto) { return RowCheck{CompareFilters, RuleOf<AverageFilterRule>()}; });
  AddRows<AbsoluteDifference>(list, [](auto) {
    return RowCheck{CompareDifferences, RuleOf<AbsoluteDifferenceRule>()};
  });
  AddRows<Average>(list, [](auto) { return RowCheck{CompareAverages, RuleOf<AverageRule>()}; });
}

}  // namespace kv_check
