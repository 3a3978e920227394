// What a call costs more through the C interface than on the C++ interfaces: nanoseconds a call, and a row and frame.
// Medians of calls in turns, on frames of eight columns, where there is little else. Run as: door_bench

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

#include "capi/kv/kv.h"
#include "frame/algorithm_manager.h"
#include "frame/interfaces/absolute_difference.h"
#include "frame/interfaces/average.h"
#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/blend_boost.h"
#include "frame/interfaces/color_conversion.h"
#include "frame/interfaces/copy.h"
#include "image/image_rect.h"
#include "image/run_region.h"
#include "run/runner.h"

namespace {

using kv_img::Image;
using Packed = Image<kv_img::PixelYUV422>;
using Grey = Image<kv_img::PixelNoColor<unsigned char>>;
using Bitmap = Image<kv_img::PixelDIB24>;

constexpr int doorColumns = 8;
constexpr int tall = 1080;

template <class ImageType>
constexpr int formatOf = KV_FORMAT_YUY2;
template <>
constexpr int formatOf<Grey> = KV_FORMAT_GRAY8;
template <>
constexpr int formatOf<Bitmap> = KV_FORMAT_BGR24;

template <class ImageType>
kv_frame ViewOf(ImageType& image) {
  kv_frame view;
  kv_frame_init(&view);
  view.format = formatOf<ImageType>;
  view.width = static_cast<std::int32_t>(image.GetWidth());
  view.height = static_cast<std::int32_t>(image.GetHeight());
  view.planes[0] = image.GetPixelBuffer().rows[0];
  view.strides[0] = view.height > 1 ? image.GetPixelBuffer().rows[1] - image.GetPixelBuffer().rows[0] : 64;
  return view;
}

struct Ways {
  std::function<void()> direct;
  std::function<void()> door;
};

double NanosecondsOf(const std::function<void()>& call, int calls) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < calls; ++i) call();
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - begin;
  return taken.count() / calls;
}

struct Cost {
  double direct;
  double more;
};

Cost Measure(const Ways& ways, int calls) {
  constexpr int rounds = 101;
  std::vector<double> direct;
  std::vector<double> door;
  for (int round = 0; round <= rounds; ++round) {
    const double one = NanosecondsOf(ways.direct, calls);
    const double other = NanosecondsOf(ways.door, calls);
    if (round == 0) continue;  // loads members
    direct.push_back(one);
    door.push_back(other);
  }
  const auto median = [](std::vector<double>& times) {
    std::ranges::nth_element(times, times.begin() + rounds / 2);
    return times[rounds / 2];
  };
  const double usual = median(direct);
  return {usual, median(door) - usual};
}

/// `make(height)` gives the two ways to do the same with `frames` frames.
void Report(const char* name, int frames, const std::function<Ways(int)>& make) {
  const Cost call = Measure(make(1), 200);
  const Cost rows = Measure(make(tall), 20);
  std::printf(
      "%-22s one row: %7.0f ns and %5.0f more; %d rows: %8.0f ns and %6.0f more, %5.2f a row and frame\n",
      name, call.direct, call.more, tall, rows.direct, rows.more, (rows.more - call.more) / (tall * frames));
}

/// The bench ends with what went wrong.
void Require(kv_status status) {
  if (status == KV_OK) return;
  std::fprintf(stderr, "%s\n", kv_last_error());
  std::exit(1);
}

template <class ImageType>
std::shared_ptr<ImageType> Make(int height) {
  return std::make_shared<ImageType>(doorColumns, height);
}

}  // namespace

int main() {
  kv_context* context = nullptr;
  Require(kv_context_new(nullptr, &context));
  kv_std::SpinBarrier barrier(1);
  using NoColor = kv_img::PixelNoColor<unsigned char>;
  const int yuv = kv_img::PixelYUV422::ClassID;
  const int grey = NoColor::ClassID;
  const int bitmap = kv_img::PixelDIB24::ClassID;

  const auto& copy = kv_run::Load<kv_img::CopyAlgorithmInterface<Packed, Bitmap>>("Copy", {yuv, bitmap});
  Report("kv_copy", 2, [&](int height) -> Ways {
    auto from = Make<Packed>(height);
    auto to = Make<Bitmap>(height);
    kv_frame a = ViewOf(*from);
    kv_frame b = ViewOf(*to);
    return {[=, &copy, &barrier] { copy.Apply(*from, *to, barrier, 0); },
            [=]() mutable { Require(kv_copy(context, &a, &b, nullptr)); }};
  });
  const auto& convert = kv_run::Load<kv_img::ColorConversionAlgorithmInterface<Packed, Bitmap>>(
      "ColorConversion", {yuv, bitmap});
  Report("kv_convert", 2, [&](int height) -> Ways {
    auto from = Make<Packed>(height);
    auto to = Make<Bitmap>(height);
    kv_frame a = ViewOf(*from);
    kv_frame b = ViewOf(*to);
    return {[=, &convert, &barrier] { convert.Apply(*from, *to, {}, barrier, 0); },
            [=]() mutable { Require(kv_convert(context, &a, &b, nullptr, nullptr)); }};
  });
  const auto& difference = kv_run::Load<kv_img::AbsoluteDifferenceAlgorithmInterface<Packed, Grey>>(
      "AbsoluteDifference", {yuv, grey});
  Report("kv_difference", 3, [&](int height) -> Ways {
    auto from = Make<Packed>(height);
    auto other = Make<Packed>(height);
    auto to = Make<Grey>(height);
    kv_frame a = ViewOf(*from);
    kv_frame b = ViewOf(*other);
    kv_frame c = ViewOf(*to);
    const kv_img::ImageRect all(0, 0, doorColumns - 1, height - 1);
    return {[=, &difference, &barrier] { difference.Apply(*from, *other, *to, all, barrier, 0); },
            [=]() mutable { Require(kv_difference(context, &a, &b, &c, nullptr, nullptr)); }};
  });
  const auto& filter = kv_run::Load<kv_img::AverageFilterAlgorithmInterface<Grey>>("AverageFilter", {grey});
  Report("kv_box_filter", 2, [&](int height) -> Ways {
    auto from = Make<Grey>(height);
    auto to = Make<Grey>(height);
    kv_frame a = ViewOf(*from);
    kv_frame b = ViewOf(*to);
    const kv_img::ImageRect all(0, 0, doorColumns - 1, height - 1);
    return {[=, &filter, &barrier] { filter.Apply(*from, *to, all, 3, barrier, 0); },
            [=]() mutable { Require(kv_box_filter(context, &a, &b, nullptr, 3, nullptr)); }};
  });
  const auto& blend = kv_run::Load<kv_img::BlendBoostAlgorithmInterface<Packed>>("BlendBoost", {yuv});
  Report("kv_blend", 4, [&](int height) -> Ways {
    auto foreground = Make<Packed>(height);
    auto background = Make<Packed>(height);
    auto mask = Make<Grey>(height);
    auto to = Make<Packed>(height);
    kv_frame a = ViewOf(*foreground);
    kv_frame b = ViewOf(*background);
    kv_frame c = ViewOf(*mask);
    kv_frame d = ViewOf(*to);
    const kv_img::RunRegion all(kv_img::ImageRect(0, 0, doorColumns - 1, height - 1));
    return {[=, &blend, &barrier] { blend.Apply(*foreground, *background, *mask, *to, all, barrier, 0); },
            [=]() mutable { Require(kv_blend(context, &a, &b, &c, &d, nullptr, nullptr)); }};
  });
  kv_region* small = nullptr;
  Require(kv_region_rectangle(0, 0, doorColumns, 1, &small));
  Report("kv_box_filter, a row", 2, [&](int height) -> Ways {
    auto from = Make<Grey>(height);
    auto to = Make<Grey>(height);
    kv_frame a = ViewOf(*from);
    kv_frame b = ViewOf(*to);
    const kv_img::ImageRect one(0, 0, doorColumns - 1, 0);
    return {[=, &filter, &barrier] { filter.Apply(*from, *to, one, 3, barrier, 0); },
            [=]() mutable { Require(kv_box_filter(context, &a, &b, small, 3, nullptr)); }};
  });
  kv_region_free(small);
  kv_context_free(context);
}
