// Operations on frames of packed 4:2:2 and on bitmaps: parity change, pans, blending, polygons.

#include "check/models/blend_boost_model.h"
#include "check/models/parity_change_model.h"
#include "check/models/scanning_model.h"
#include "check/operation_call.h"
#include "frame/interfaces/blend_boost.h"
#include "frame/interfaces/fill_poly.h"
#include "frame/interfaces/parity_change.h"
#include "frame/interfaces/scanning.h"

namespace kv_check {
namespace {

using kv_img::AlgorithmInterface;
using kv_img::ImageRect;
using kv_img::PixelDIB24;
using kv_img::PixelYUV422;
using NoColor = kv_img::PixelNoColor<unsigned char>;

class ParityChangeRule final : public kv_img::ParityChangeAlgorithmInterface<Yuv422, Yuv422> {
  Yuv422& Apply(const Yuv422& source, Yuv422& destination,
                const kv_img::RegionOfSupport& region) const override {
    if (!region.IsInside(kv_img::ImageRect(source)) || !region.IsInside(kv_img::ImageRect(destination)))
      Refuse(1);
    kv_model::ChangeParityOfRegion(source, destination, region);
    return destination;
  }
  Yuv422& Apply(const Yuv422& source, Yuv422& destination) const override {
    if (!HaveEqualSizes(source, destination)) Refuse(1);
    kv_model::ChangeParityOfImage(source, destination);
    return destination;
  }
};

Comparison CompareParityChanges(Random& random, const AlgorithmInterface& reference,
                                const AlgorithmInterface& other) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const bool isWhole = random.OneIn(2);
  const ImageRect region = RandomRect(random, {0, 0, width - 1, height - 1});
  return CompareCalls<kv_img::ParityChangeAlgorithmInterface<Yuv422, Yuv422>>(
      reference, other,
      [&](const auto& change, auto& /*values*/, Yuv422& source, Yuv422& destination) {
        if (isWhole) {
          change.Apply(source, destination);
        } else {
          change.Apply(source, destination, region);
        }
      },
      AnyImage<PixelYUV422>(random, AlmostAlways(random, width), height),
      AnyImage<PixelYUV422>(random, width, height));
}

class ScanningRule final : public kv_img::ScanningAlgorithmInterface<Yuv422, Yuv422> {
  Yuv422& Apply(const Yuv422& source, Yuv422& destination, const kv_img::RegionOfSupport& from,
                const kv_img::RegionOfSupport& to, std::uint8_t mode, std::int32_t steps, std::uint32_t step,
                kv_std::SpinBarrier& barrier, std::int32_t index) const override {
    const bool isHorizontal = (mode & 3) != 0;
    const bool isVertical = !isHorizontal && (mode & 12) != 0;
    if (to.GetWidth() > from.GetWidth() || to.GetHeight() > from.GetHeight() ||
        (isHorizontal && to.GetHeight() != from.GetHeight()) ||
        (isVertical && to.GetWidth() != from.GetWidth())) {
      Refuse(2);
    }
    if (index == 0) {
      const auto& fromRect = static_cast<const kv_img::ImageRect&>(from);
      const auto& toRect = static_cast<const kv_img::ImageRect&>(to);
      kv_model::Scan(source, destination, fromRect, toRect, mode, steps, step, barrier.GetThreadCount());
    }
    return destination;
  }
};

/// A pan that fits its images; now and then the regions are exchanged, so that it does not.
struct Pan {
  ImageRect from;
  ImageRect to;
  std::uint8_t mode;
  std::int32_t steps;
  std::uint32_t step;

  explicit Pan(Random& random) : mode(static_cast<std::uint8_t>(random.Between(0, 15))) {
    const bool isHorizontal = (mode & 3) != 0;
    const bool isVertical = !isHorizontal && (mode & 12) != 0;
    const int width = random.Between(1, 60);
    const int height = random.Between(1, 9);
    const auto place = [&](int moreColumns, int moreRows) {
      const int left = random.Between(0, 5);
      const int top = random.Between(0, 3);
      return ImageRect(left, top, left + width + moreColumns - 1, top + height + moreRows - 1);
    };
    to = place(0, 0);
    from = place(isVertical ? 0 : random.Between(0, 20), isHorizontal ? 0 : random.Between(0, 6));
    if (random.OneIn(30)) std::swap(from, to);
    steps = random.Between(0, 60);
    step = static_cast<std::uint32_t>(random.Between(0, std::max(steps - 1, 0)));
  }
};

Comparison CompareScans(Random& random, const AlgorithmInterface& reference,
                        const AlgorithmInterface& other) {
  const Pan pan(random);
  const int threads = random.Between(1, 5);
  // Both regions are inside the source.
  const int width = std::max(pan.from.GetRight(), pan.to.GetRight()) + 1 + random.Between(0, 2);
  const int height = std::max(pan.from.GetBottom(), pan.to.GetBottom()) + 1 + random.Between(0, 2);
  const kv_img::ImageOptions options = AnyOptions<PixelYUV422>(random);
  kv_img::ImageOptions toOptions = AnyOptions<PixelYUV422>(random);
  toOptions.layout = options.layout;
  return CompareCalls<kv_img::ScanningAlgorithmInterface<Yuv422, Yuv422>>(
      reference, other,
      [&](const auto& scan, auto& /*values*/, Yuv422& source, Yuv422& destination) {
        InTurn(threads, [&](auto& barrier, std::uint32_t index) {
          scan.Apply(source, destination, pan.from, pan.to, pan.mode, pan.steps, pan.step, barrier,
                     static_cast<std::int32_t>(index));
        });
      },
      TestImage<PixelYUV422>(random, width, height, Placement::Any(random), options),
      TestImage<PixelYUV422>(random, width, height, Placement::Any(random), toOptions));
}

class BlendBoostRule final : public kv_img::BlendBoostAlgorithmInterface<Yuv422> {
  Yuv422& Apply(const Yuv422& b, const Yuv422& a, const Grey8& mask, Yuv422& destination,
                const kv_img::RegionOfSupport& region, kv_std::SpinBarrier& barrier,
                std::uint32_t index) const override {
    if (region.GetRegionType() != 3) Refuse(4);
    if (!HaveEqualSizes(a, destination) || !HaveEqualSizes(b, destination)) Refuse(1);
    if (a.GetPixelLayout() != b.GetPixelLayout()) Refuse(6);
    // Row after row, for a run that is refused leaves the rows above it written.
    const int rows = std::max(region.GetBottom() - region.GetTop() + 1, 0);
    const int threads = barrier.GetThreadCount();
    const int first = region.GetTop() + rows * static_cast<int>(index) / threads;
    const int end = region.GetTop() + rows * static_cast<int>(index + 1) / threads;
    for (int row = first; row < end; ++row) {
      const int left = region.GetLeft(row);
      const int right = region.GetRight(row);
      if ((right - left + 1) % 4 != 0 || right - left + 1 < 0) {
        throw kv_img::AlgoMotionException(4, L"model", L"");
      }
      kv_model::BlendBoost(b, a, mask, destination, kv_img::ImageRect(left, row, right, row));
    }
    return destination;
  }
};

Comparison CompareBlends(Random& random, const AlgorithmInterface& reference,
                         const AlgorithmInterface& other) {
  const int width = random.Between(4, 90);
  const int height = random.Between(1, 9);
  const int threads = random.Between(1, 4);
  const ImageRect bounds(0, 0, width - 1, height - 1);
  const kv_img::RunRegion runs = RandomRuns(random, bounds, true, random.OneIn(20) ? 1 : 4);
  const ImageRect rect = RandomRect(random, bounds);
  const bool isRect = random.OneIn(40);
  const auto& region = isRect ? static_cast<const kv_img::RegionOfSupport&>(rect) : runs;
  kv_img::ImageOptions options = AnyOptions<PixelYUV422>(random);
  const kv_img::ImageOptions otherOptions = AnyOptions<PixelYUV422>(random);
  if (random.OneIn(2)) options.layout = otherOptions.layout;
  return CompareCalls<kv_img::BlendBoostAlgorithmInterface<Yuv422>>(
      reference, other,
      [&](const auto& blend, auto& /*values*/, Yuv422& b, Yuv422& a, Grey8& mask, Yuv422& destination) {
        InTurn(threads, [&](auto& barrier, std::uint32_t index) {
          blend.Apply(b, a, mask, destination, region, barrier, index);
        });
      },
      TestImage<PixelYUV422>(random, width, height, Placement::Any(random), options),
      TestImage<PixelYUV422>(random, width, height, Placement::Any(random), otherOptions),
      AnyImage<NoColor>(random, width, height),
      AnyImage<PixelYUV422>(random, AlmostAlways(random, width), height));
}

/// Prepares, and paints nothing.
class FillPolyRule final : public kv_img::FillPolyAlgorithmInterface<Dib24> {
  Dib24& Apply(Dib24& image, const std::vector<kv_math::Vector2>& /*vertices*/,
               const kv_img::Pixel& /*colour*/, int /*unused1*/, int /*unused2*/,
               const kv_img::RegionOfSupport& /*region*/) const override {
    return image;
  }
};

/// A coordinate: on the grid, between grid points, far outside, infinite or NaN.
double AnyCoordinate(Random& random) {
  switch (random.Between(0, 9)) {
    case 0:
      return random.Pick({1e300, -1e300, 1e-300, std::numeric_limits<double>::infinity(),
                          std::numeric_limits<double>::quiet_NaN()});
    case 1:
    case 2:
      return 60 * random.Unit() - 15;
    case 3:
      return random.Between(-1000000, 1000000);
    default:
      return 0.5 * random.Between(-30, 90);
  }
}

Comparison CompareFills(Random& random, const AlgorithmInterface& reference,
                        const AlgorithmInterface& other) {
  const int width = random.Between(1, 30);
  const int height = random.Between(1, 30);
  const ImageRect region(random.Between(-5, width), random.Between(-5, height), random.Between(-5, width + 5),
                         random.Between(-5, height + 5));
  std::vector<kv_math::Vector2> vertices;
  for (int i = random.Between(0, 12); i > 0; --i) {
    const double x = AnyCoordinate(random);
    vertices.emplace_back(x, AnyCoordinate(random));
  }
  return CompareCalls<kv_img::FillPolyAlgorithmInterface<Dib24>>(
      reference, other,
      [&](const auto& fill, auto& /*values*/, Dib24& image) {
        fill.Apply(image, vertices, PixelDIB24(1, 2, 3), 0, 0, region);
      },
      AnyImage<PixelDIB24>(random, width, height));
}

}  // namespace

void AddFrameOperations(std::vector<OperationCase>& list) {
  using namespace kv_img::algorithms;
  AddRows<ParityChange>(list, [](auto) {
    return RowCheck{CompareParityChanges, RuleOf<ParityChangeRule>()};
  });
  AddRows<Scanning>(list, [](auto) { return RowCheck{CompareScans, RuleOf<ScanningRule>()}; });
  AddRows<BlendBoost>(list, [](auto) { return RowCheck{CompareBlends, RuleOf<BlendBoostRule>()}; });
  AddRows<FillPoly>(list, [](auto) { return RowCheck{CompareFills, RuleOf<FillPolyRule>()}; });
}

}  // namespace kv_check
