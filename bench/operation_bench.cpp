// Times whole operations of every member on one thread: what a host calls, on frames of 1920 x 1080.

#include <benchmark/benchmark.h>

#include <string>

#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/copy.h"
#include "frame/interfaces/feature_find.h"
#include "frame/interfaces/parity_change.h"
#include "frame/interfaces/scanning.h"
#include "image/image_rect.h"
#include "tests/support/member.h"
#include "tests/support/random.h"
#include "tests/support/test_image.h"

namespace {

using namespace kv_test;
using kv_img::ImageRect;
using kv_img::PixelYUV422;
using GreyPixel = kv_img::PixelNoColor<unsigned char>;

constexpr int width = 1920;
constexpr int height = 1080;

template <class ImageType>
void FillWithNoise(ImageType& image) {
  Random random(1);
  for (int row = 0; row < image.GetStoredRowCount(); ++row) {
    for (int x = 0; x < width; ++x) {
      image.GetPixelBuffer().rows[row][x] = static_cast<std::uint8_t>(random.Next());
    }
  }
}

void TimeFilter(benchmark::State& state, const Member& member, unsigned windowSize) {
  const auto* filter =
      member.Get<kv_img::AverageFilterAlgorithmInterface<Grey8>>("AverageFilter", {GreyPixel::ClassID});
  Grey8 source(width, height);
  Grey8 destination(width, height);
  FillWithNoise(source);
  kv_std::SpinBarrier barrier(1);
  for (auto _ : state) filter->Apply(source, destination, ImageRect(source), windowSize, barrier, 0);
}

void TimeFind(benchmark::State& state, const Member& member, int half, int range) {
  const auto* find =
      member.Get<kv_img::FeatureFindAlgorithmInterface<Yuv422>>("FeatureFind", {PixelYUV422::ClassID});
  Yuv422 first(width, height);
  Yuv422 second(width, height);
  FillWithNoise(first);
  FillWithNoise(second);
  kv_std::SpinBarrier barrier(1);
  const int point[2] = {width / 2, height / 2};
  int result[2] = {0, 0};
  // A map asks for every score: nothing is given up early.
  kv_img::MatchScoreMap map;
  for (auto _ : state) {
    find->LocateFeature(first, second, point, point, result, half, half, range, range, &map, barrier, 0);
  }
}

void TimeParity(benchmark::State& state, const Member& member) {
  const auto* parity = member.Get<kv_img::ParityChangeAlgorithmInterface<Yuv422, Yuv422>>(
      "ParityChange", {PixelYUV422::ClassID, PixelYUV422::ClassID});
  Yuv422 source(width, height);
  Yuv422 destination(width, height);
  FillWithNoise(source);
  for (auto _ : state) parity->Apply(source, destination);
}

void TimePan(benchmark::State& state, const Member& member) {
  const auto* scanning = member.Get<kv_img::ScanningAlgorithmInterface<Yuv422, Yuv422>>(
      "Scanning", {PixelYUV422::ClassID, PixelYUV422::ClassID});
  Yuv422 source(width, height);
  Yuv422 destination(width, height);
  FillWithNoise(source);
  kv_std::SpinBarrier barrier(1);
  const ImageRect view(0, 0, width - 65, height - 1);
  for (auto _ : state) scanning->Apply(source, destination, ImageRect(source), view, 1, 30, 7, barrier, 0);
}

template <class PixelIn, class PixelOut>
void TimeCopy(benchmark::State& state, const Member& member) {
  using In = kv_img::Image<PixelIn>;
  using Out = kv_img::Image<PixelOut>;
  const auto* copy =
      member.Get<kv_img::CopyAlgorithmInterface<In, Out>>("Copy", {PixelIn::ClassID, PixelOut::ClassID});
  In source(width, height);
  Out destination(width, height);
  FillWithNoise(source);
  kv_std::SpinBarrier barrier(1);
  for (auto _ : state) copy->Apply(source, destination, barrier, 0);
}

template <class Work>
void Register(const Member& member, const std::string& operation, Work work) {
  benchmark::RegisterBenchmark((operation + "/" + member.Name()).c_str(), [&member,
                                                                           work](benchmark::State& state) {
    work(state, member);
  })->Unit(benchmark::kMicrosecond);
}

}  // namespace

int main(int argc, char** argv) {
  for (const Member& member : Members()) {
    for (const unsigned windowSize : {3U, 4U, 5U, 9U, 31U, 255U}) {
      Register(member, "AverageFilter/" + std::to_string(windowSize),
               [windowSize](auto& state, const Member& m) { TimeFilter(state, m, windowSize); });
    }
    for (const int size : {8, 16}) {
      Register(member, "FeatureFind/" + std::to_string(2 * size + 1),
               [size](auto& state, const Member& m) { TimeFind(state, m, size, 2 * size); });
    }
    Register(member, "ParityChange", TimeParity);
    Register(member, "Scanning", TimePan);
    Register(member, "Copy/YUV422/DIB24", TimeCopy<PixelYUV422, kv_img::PixelDIB24>);
    Register(member, "Copy/YUV422/DIB16", TimeCopy<PixelYUV422, kv_img::PixelDIB16>);
    Register(member, "Copy/DIB24/YUV422", TimeCopy<kv_img::PixelDIB24, PixelYUV422>);
    Register(member, "Copy/DIB32/YUV422", TimeCopy<kv_img::PixelDIB32, PixelYUV422>);
    Register(member, "Copy/YUV411P/YUV422", TimeCopy<kv_img::PixelYUV411P, PixelYUV422>);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
