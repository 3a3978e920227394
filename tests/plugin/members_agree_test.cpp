// Every combination that all members answer gives the same bytes on each, whatever its model says.
#include <gtest/gtest.h>

#include <map>

#include "frame/interfaces/absolute_difference.h"
#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/interfaces/average.h"
#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/blend_boost.h"
#include "frame/interfaces/copy.h"
#include "frame/interfaces/copy_roi.h"
#include "frame/interfaces/feature_find.h"
#include "frame/interfaces/fill_poly.h"
#include "frame/interfaces/parity_change.h"
#include "frame/interfaces/scanning.h"
#include "tests/plugin/agreement.h"

namespace {

using kv_img::Image;
using kv_img::ImageOptions;
using kv_img::ImageRect;
using kv_img::PixelDIB15;
using kv_img::PixelDIB16;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using kv_img::PixelYUV411P;
using kv_img::PixelYUV422;
using kv_img::PixelYUVA422;
using NoColor = kv_img::PixelNoColor<unsigned char>;
using namespace kv_test;

/// Makes a random call on every member. True when it was not refused.
using Runner = bool (*)(Random& random, const Request& request);

ImageOptions AnyOptions(Random& random) {
  ImageOptions options = Options(
      random.Pick({kv_img::PixelLayout::chromaFirst, kv_img::PixelLayout::lumaFirst}), random.Between(0, 2));
  // Images in scattered rows are no block.
  options.properties.propertyFlag = 1;
  options.properties.fieldOrder = static_cast<std::uint8_t>(random.Between(0, 1));
  return options;
}

template <class PixelClass>
TestImage<PixelClass> AnyImage(Random& random, int width, int height, std::size_t slack = 8) {
  ImageOptions options = AnyOptions(random);
  if (!std::is_same_v<PixelClass, PixelYUV422> && !std::is_same_v<PixelClass, PixelYUVA422>)
    options.layout.reset();
  return {random, width, height, Placement::Any(random, slack), options};
}

template <class In, class Out>
bool RunCopy(Random& random, const Request& request) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const int threads = random.Between(1, 4);
  return ExpectAgreement<kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>>(
      request,
      [&](const auto& copy, auto& /*values*/, Image<In>& source, Image<Out>& destination) {
        CallInTurn(threads, [&](auto& barrier, std::uint32_t index) {
          copy.Apply(source, destination, barrier, index);
        });
      },
      AnyImage<In>(random, width, height), AnyImage<Out>(random, width, height));
}

template <class In>
bool RunCopyRoi(Random& random, const Request& request) {
  const int width = 2 * random.Between(4, 40);
  const int height = random.Between(2, 9);
  const int threads = random.Between(1, 3);
  // Planar rows run past short spans by up to their own length.
  const auto slack = static_cast<std::size_t>(4 * width + 64);
  const int step = std::is_same_v<In, PixelYUV411P> ? 2 : 1;
  const int roiWidth = step * random.Between(1, width / 2 / step);
  const int roiHeight = random.Between(1, height);
  const auto anyPlace = [&] {
    const int left = step * random.Between(0, (width - roiWidth) / step);
    const int top = random.Between(0, height - roiHeight);
    return ImageRect(left, top, left + roiWidth - 1, top + roiHeight - 1);
  };
  const ImageRect from = anyPlace();
  const ImageRect to = anyPlace();
  return ExpectAgreement<kv_img::CopyROIAlgorithmInterface<Image<In>, Image<PixelYUV422>>>(
      request,
      [&](const auto& copy, auto& /*values*/, Image<In>& source, Image<PixelYUV422>& destination) {
        CallInTurn(threads, [&](auto& barrier, std::uint32_t index) {
          copy.Apply(source, destination, from, to, barrier, index);
        });
      },
      AnyImage<In>(random, width, height, slack), AnyImage<PixelYUV422>(random, width, height, slack));
}

bool RunParityChange(Random& random, const Request& request) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const bool isWhole = random.OneIn(2);
  const ImageRect region = RandomRect(random, {0, 0, width - 1, height - 1});
  return ExpectAgreement<kv_img::ParityChangeAlgorithmInterface<Yuv422, Yuv422>>(
      request,
      [&](const auto& change, auto& /*values*/, Yuv422& source, Yuv422& destination) {
        if (isWhole) {
          change.Apply(source, destination);
        } else {
          change.Apply(source, destination, region);
        }
      },
      AnyImage<PixelYUV422>(random, width, height), AnyImage<PixelYUV422>(random, width, height));
}

bool RunScanning(Random& random, const Request& request) {
  const int width = random.Between(2, 60);
  const int height = random.Between(2, 12);
  const int threads = random.Between(1, 3);
  const bool isHorizontal = random.OneIn(2);
  const ImageRect to = RandomRect(random, {0, 0, width - 1, height - 1});
  const int roiWidth = static_cast<int>(to.GetWidth());
  const int roiHeight = static_cast<int>(to.GetHeight());
  // Room for the viewport to move, in one direction.
  const ImageRect from(0, 0, isHorizontal ? width - 1 : roiWidth - 1,
                       isHorizontal ? roiHeight - 1 : height - 1);
  const auto mode = static_cast<std::uint8_t>(isHorizontal ? random.Between(1, 3) : 4 * random.Between(1, 3));
  const int steps = random.Between(1, 20);
  const auto step = static_cast<std::uint32_t>(random.Between(0, steps - 1));
  ImageOptions options = AnyOptions(random);
  const TestImage<PixelYUV422> source(random, width, height, Placement::Any(random, 16), options);
  options.properties.fieldParity = static_cast<std::uint8_t>(random.Between(0, 1));
  const TestImage<PixelYUV422> destination(random, width, height, Placement::Any(random, 16), options);
  return ExpectAgreement<kv_img::ScanningAlgorithmInterface<Yuv422, Yuv422>>(
      request,
      [&](const auto& scan, auto& /*values*/, Yuv422& sourceImage, Yuv422& destinationImage) {
        CallInTurn(threads, [&](auto& barrier, std::uint32_t index) {
          scan.Apply(sourceImage, destinationImage, from, to, mode, steps, step, barrier,
                     static_cast<std::int32_t>(index));
        });
      },
      source, destination);
}

bool RunColorLayer(Random& random, const Request& request) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const kv_img::RunRegion region = RandomRuns(random, {0, 0, width - 1, height - 1});
  const auto window = static_cast<std::uint32_t>(random.Between(1, 7));
  const ImageOptions options = AnyOptions(random);
  return ExpectAgreement<kv_img::AlphaLayerColorBasedAlgorithmInterface<Yuv422>>(
      request,
      [&](const auto& layer, auto& /*values*/, Yuv422& first, Yuv422& second, Grey8& destination) {
        kv_std::SpinBarrier barrier(1);
        layer.Apply(first, second, destination, region, window, nullptr, barrier, 0);
      },
      TestImage<PixelYUV422>(random, width, height, Placement::Any(random), options),
      TestImage<PixelYUV422>(random, width, height, Placement::Any(random), options),
      AnyImage<NoColor>(random, width, height));
}

bool RunProbLayer(Random& random, const Request& request) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const kv_img::RunRegion region = RandomRuns(random, {0, 0, width - 1, height - 1});
  const auto window = static_cast<std::uint32_t>(random.Between(1, 7));
  const auto gain = static_cast<std::uint32_t>(random.Between(0, 5));
  return ExpectAgreement<kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey8>>(
      request,
      [&](const auto& layer, auto& /*values*/, Grey8& p, Grey8& q, Grey8& destination) {
        kv_std::SpinBarrier barrier(1);
        if (gain == 0) {
          layer.Apply(p, q, destination, region, window, nullptr, barrier, 0);
        } else {
          layer.Apply(p, q, destination, region, gain, window, nullptr, barrier, 0);
        }
      },
      AnyImage<NoColor>(random, width, height), AnyImage<NoColor>(random, width, height),
      AnyImage<NoColor>(random, width, height));
}

bool RunAverageFilter(Random& random, const Request& request) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 12);
  const int threads = random.Between(1, 4);
  const kv_img::RunRegion region = RandomRuns(random, {0, 0, width - 1, height - 1});
  const auto window = static_cast<std::uint32_t>(random.Between(1, 12));
  return ExpectAgreement<kv_img::AverageFilterAlgorithmInterface<Grey8>>(
      request,
      [&](const auto& filter, auto& /*values*/, Grey8& source, Grey8& destination) {
        CallInTurn(threads, [&](auto& barrier, std::uint32_t index) {
          filter.Apply(source, destination, region, window, barrier, index);
        });
      },
      AnyImage<NoColor>(random, width, height), AnyImage<NoColor>(random, width, height));
}

bool RunAbsoluteDifference(Random& random, const Request& request) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const int threads = random.Between(1, 4);
  const kv_img::RunRegion region = RandomRuns(random, {0, 0, width - 1, height - 1});
  return ExpectAgreement<kv_img::AbsoluteDifferenceAlgorithmInterface<Yuv422, Grey8>>(
      request,
      [&](const auto& difference, auto& /*values*/, Yuv422& first, Yuv422& second, Grey8& destination) {
        CallInTurn(threads, [&](auto& barrier, std::uint32_t index) {
          difference.Apply(first, second, destination, region, barrier, index);
        });
      },
      AnyImage<PixelYUV422>(random, width, height), AnyImage<PixelYUV422>(random, width, height),
      AnyImage<NoColor>(random, width, height));
}

bool RunBlendBoost(Random& random, const Request& request) {
  const int width = random.Between(4, 90);
  const int height = random.Between(1, 9);
  const int threads = random.Between(1, 4);
  const kv_img::RunRegion region = RandomRuns(random, {0, 0, width - 1, height - 1}, true, 4);
  return ExpectAgreement<kv_img::BlendBoostAlgorithmInterface<Yuv422>>(
      request,
      [&](const auto& blend, auto& /*values*/, Yuv422& b, Yuv422& a, Grey8& mask, Yuv422& destination) {
        CallInTurn(threads, [&](auto& barrier, std::uint32_t index) {
          blend.Apply(b, a, mask, destination, region, barrier, index);
        });
      },
      AnyImage<PixelYUV422>(random, width, height), AnyImage<PixelYUV422>(random, width, height),
      AnyImage<NoColor>(random, width, height), AnyImage<PixelYUV422>(random, width, height));
}

bool RunAverage(Random& random, const Request& request) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const int threads = random.Between(1, 4);
  const ImageRect bounds(0, 0, width - 1, height - 1);
  const kv_img::RunRegion first = RandomRuns(random, bounds);
  const kv_img::RunRegion second = RandomRuns(random, bounds);
  const kv_img::RunRegion output = RandomRuns(random, bounds);
  return ExpectAgreement<kv_img::AverageAlgorithmInterface<Grey8>>(
      request,
      [&](const auto& average, auto& /*values*/, Grey8& a, Grey8& b, Grey8& destination) {
        CallInTurn(threads, [&](auto& barrier, std::uint32_t index) {
          average.Apply(a, b, destination, first, second, output, barrier, index);
        });
      },
      AnyImage<NoColor>(random, width, height), AnyImage<NoColor>(random, width, height),
      AnyImage<NoColor>(random, width, height));
}

bool RunFillPoly(Random& random, const Request& request) {
  const int width = random.Between(1, 30);
  const int height = random.Between(1, 30);
  const ImageRect region = RandomRect(random, {0, 0, width - 1, height - 1});
  std::vector<kv_math::Vector2> vertices;
  for (int i = random.Between(0, 8); i > 0; --i) {
    vertices.emplace_back(60 * random.Unit() - 15, 60 * random.Unit() - 15);
  }
  return ExpectAgreement<kv_img::FillPolyAlgorithmInterface<Dib24>>(
      request,
      [&](const auto& fill, auto& /*values*/, Dib24& image) {
        fill.Apply(image, vertices, PixelDIB24(1, 2, 3), 0, 0, region);
      },
      AnyImage<PixelDIB24>(random, width, height));
}

template <class PixelClass>
bool RunFeatureFind(Random& random, const Request& request) {
  const int width = random.Between(8, 40);
  const int height = random.Between(8, 24);
  const int operation = random.Between(0, 3);
  const int whole1[2] = {random.Between(0, width - 1), random.Between(0, height - 1)};
  const int whole2[2] = {random.Between(0, width - 1), random.Between(0, height - 1)};
  const double point1[2] = {whole1[0] + random.Pick({0.0, 0.25, 0.7}), whole1[1] + random.Pick({0.0, 0.5})};
  const double point2[2] = {whole2[0] + random.Pick({0.0, 0.25, 0.7}), whole2[1] + random.Pick({0.0, 0.5})};
  const int hw = random.Between(1, 5);
  const int hh = random.Between(1, 4);
  const double step = random.Pick({1.0, 0.5, 1.0 / 3});
  return ExpectAgreement<kv_img::FeatureFindAlgorithmInterface<Image<PixelClass>>>(
      request,
      [&](const auto& find, std::vector<double>& values, Image<PixelClass>& image1,
          Image<PixelClass>& image2) {
        kv_std::SpinBarrier barrier(1);
        double result[2] = {-1, -1};
        int wholeResult[2] = {-1, -1};
        if (operation == 0) {
          find.LocateFeatureSubPixel(image1, image2, point1, point2, result, hw, hh, 3, 2, step, step, 2,
                                     nullptr, barrier, 0);
        } else if (operation == 1) {
          find.LocateFeature(image1, image2, whole1, whole2, wholeResult, hw, hh, 4, 3, nullptr, barrier, 0);
        } else if (operation == 2) {
          find.LocateFeatureNoMap(image1, image2, whole1, whole2, wholeResult, hw, hh, 4, 3, barrier, 0);
        } else {
          find.RefineFeature(image1, image2, point1, point2, result, hw, hh, 2, 2, step, step, 0, 1, nullptr,
                             barrier, 0);
        }
        values = {result[0], result[1], static_cast<double>(wholeResult[0]),
                  static_cast<double>(wholeResult[1])};
      },
      AnyImage<PixelClass>(random, width, height), AnyImage<PixelClass>(random, width, height));
}

const std::map<Request, Runner>& Runners() {
  static const std::map<Request, Runner> runners = {
      {{"Copy", {yuv422, dib24}}, RunCopy<PixelYUV422, PixelDIB24>},
      {{"Copy", {yuv422, dib16}}, RunCopy<PixelYUV422, PixelDIB16>},
      {{"Copy", {yuv422, dib15}}, RunCopy<PixelYUV422, PixelDIB15>},
      {{"Copy", {yuv411P, yuv422}}, RunCopy<PixelYUV411P, PixelYUV422>},
      {{"Copy", {dib24, yuv422}}, RunCopy<PixelDIB24, PixelYUV422>},
      {{"Copy", {dib32, yuv422}}, RunCopy<PixelDIB32, PixelYUV422>},
      {{"Copy", {dib32, yuva422}}, RunCopy<PixelDIB32, PixelYUVA422>},
      {{"Copy", {yuv422, yuv422}}, RunCopy<PixelYUV422, PixelYUV422>},
      {{"CopyROI", {yuv422, yuv422}}, RunCopyRoi<PixelYUV422>},
      {{"CopyROI", {yuv411P, yuv422}}, RunCopyRoi<PixelYUV411P>},
      {{"ParityChange", {yuv422, yuv422}}, RunParityChange},
      {{"AlphaLayerProbMask", {noColor}}, RunProbLayer},
      {{"AlphaLayerColorBased", {yuv422}}, RunColorLayer},
      {{"AverageFilter", {noColor}}, RunAverageFilter},
      {{"AbsoluteDifference", {yuv422, noColor}}, RunAbsoluteDifference},
      {{"Scanning", {yuv422, yuv422}}, RunScanning},
      {{"BlendBoost", {yuv422}}, RunBlendBoost},
      {{"FillPoly", {dib24}}, RunFillPoly},
      {{"Average", {noColor}}, RunAverage},
      {{"FeatureFind", {yuv422}}, RunFeatureFind<PixelYUV422>},
      {{"FeatureFind", {dib24}}, RunFeatureFind<PixelDIB24>},
      {{"FeatureFind", {dib32}}, RunFeatureFind<PixelDIB32>}};
  return runners;
}

std::vector<Request> CommonRequestList() {
  const std::set<Request> requests = CommonRequests();
  return {requests.begin(), requests.end()};
}

class MembersAgree : public testing::TestWithParam<Request> {};

TEST_P(MembersAgree, ByteForByte) {
  ASSERT_TRUE(Runners().contains(GetParam())) << "no runner for this combination";
  const Runner run = Runners().at(GetParam());
  Random random(0x7701);
  int done = 0;
  for (int round = 0; round < 300 && !HasFailure(); ++round) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    if (run(random, GetParam())) ++done;
  }
  EXPECT_GE(done, 60) << "nearly all calls were refused";
}

INSTANTIATE_TEST_SUITE_P(Rows, MembersAgree, testing::ValuesIn(CommonRequestList()), [](const auto& info) {
  std::string name = info.param.name;
  for (const int id : info.param.ids) name += "_" + std::to_string(id);
  return name;
});

}  // namespace
