// All 2^24 triples of each matrix and range against double precision, as flat pixel pairs.

#include <array>
#include <cmath>
#include <iostream>
#include <thread>

#include "tests/color/color_fixture.h"

namespace {

using kv_img::Image;
using kv_img::PixelDIB24;
using kv_img::PixelYUV422;
using namespace kv_test;

using ToRgb = Pair<PixelYUV422, PixelDIB24>;
using ToYuv = Pair<PixelDIB24, PixelYUV422>;
using ToOtherYuv = Pair<PixelYUV422, PixelYUV422>;

constexpr YuvColors allColors[] = {
    {ColorMatrix::Bt601, ColorRange::Limited},  {ColorMatrix::Bt601, ColorRange::Full},
    {ColorMatrix::Bt709, ColorRange::Limited},  {ColorMatrix::Bt709, ColorRange::Full},
    {ColorMatrix::Bt2020, ColorRange::Limited}, {ColorMatrix::Bt2020, ColorRange::Full}};

std::string NameOf(const YuvColors& colors) {
  static const char* const matrices[] = {"601", "709", "2020"};
  return std::string(matrices[static_cast<int>(colors.matrix)]) +
         (colors.range == ColorRange::Limited ? " limited" : " full");
}

/// How many results are how far off, in tenths from -1.5 on.
using Histogram = std::array<long, 30>;

/// How results of one component compare with real numbers.
struct Tally {
  Histogram errors{};
  long count = 0;
  long nearest = 0;
  int worst = 0;

  void Add(double exact, int result) {
    const double clamped = std::clamp(exact, 0.0, 255.0);
    // An exact tie may go either way.
    const double distance = std::abs(clamped - result);
    ++count;
    const double tenths = std::floor((result - clamped + 1.5) * 10);
    ++errors[static_cast<std::size_t>(std::clamp(tenths, 0.0, 29.0))];
    if (distance <= 0.5 + 1e-9) {
      ++nearest;
    } else {
      worst = std::max(worst, static_cast<int>(std::ceil(distance - 0.5 - 1e-9)));
    }
  }
  void Add(const Tally& other) {
    count += other.count;
    nearest += other.nearest;
    for (std::size_t i = 0; i < errors.size(); ++i) errors[i] += other.errors[i];
    worst = std::max(worst, other.worst);
  }
};
using Tallies = std::array<Tally, 3>;

/// Planes of 256 x 256 pairs for each value of a first component, shared out to threads.
template <class Plane>
Tallies OverAllTriples(Plane plane) {
  const unsigned workers = std::max(1U, std::thread::hardware_concurrency());
  std::vector<Tallies> tallies(workers);
  std::vector<std::thread> threads;
  for (unsigned worker = 0; worker < workers; ++worker) {
    threads.emplace_back([&, worker] {
      for (unsigned first = worker; first < 256; first += workers)
        plane(static_cast<int>(first), tallies[worker]);
    });
  }
  for (std::thread& thread : threads) thread.join();
  Tallies sum;
  for (const Tallies& some : tallies) {
    for (std::size_t i = 0; i < 3; ++i) sum[i].Add(some[i]);
  }
  return sum;
}

/// For script/colour_charts.
void Print(const std::string& direction, const Histogram& errors) {
  std::cout << "errors " << direction << ":";
  for (const long count : errors) std::cout << ' ' << count;
  std::cout << '\n';
}

void ExpectAccurate(const std::string& direction, const Tallies& tallies, Histogram& all) {
  static const char* const names[] = {"first", "second", "third"};
  for (std::size_t i = 0; i < 3; ++i) {
    const double share =
        100.0 * static_cast<double>(tallies[i].nearest) / static_cast<double>(tallies[i].count);
    std::cout << direction << ", " << names[i] << " component: " << tallies[i].count << " results, " << share
              << " % nearest, at most " << tallies[i].worst << " off\n";
    for (std::size_t bin = 0; bin < all.size(); ++bin) all[bin] += tallies[i].errors[bin];
    EXPECT_LE(tallies[i].worst, 1) << direction;
    EXPECT_GE(share, 99.5) << direction;
    EXPECT_EQ(tallies[i].count, 1L << 24);
  }
}

template <class Conversion, class In, class Out>
void Convert(const In& source, Out& destination, const ColorConversionParameters& parameters) {
  kv_std::SpinBarrier barrier(1);
  Conversion::Of(*ConvertingMembers().back())->Apply(source, destination, parameters, barrier, 0);
}

/// Fills row b with pairs (a, b, c), c = 0 to 255; a is the luma or blue.
void FillFrame(Image<PixelYUV422>& frame, int a) {
  for (int b = 0; b < 256; ++b) {
    for (std::size_t c = 0; c < 256; ++c) {
      std::uint8_t* pair = frame.Row(b).data() + 4 * c;
      pair[0] = pair[2] = static_cast<std::uint8_t>(a);
      pair[1] = static_cast<std::uint8_t>(b);
      pair[3] = static_cast<std::uint8_t>(c);
    }
  }
}
void FillBitmap(Image<PixelDIB24>& bitmap, int a) {
  for (int b = 0; b < 256; ++b) {
    for (std::size_t x = 0; x < 512; ++x) {
      std::uint8_t* pixel = bitmap.Row(b).data() + 3 * x;
      pixel[0] = static_cast<std::uint8_t>(a);
      pixel[1] = static_cast<std::uint8_t>(b);
      pixel[2] = static_cast<std::uint8_t>(x / 2);
    }
  }
}

TEST(ColorAccuracy, ToRgb) {
  Histogram all{};
  for (const YuvColors& colors : allColors) {
    ExpectAccurate(NameOf(colors) + " to RGB", OverAllTriples([&](int y, Tallies& tallies) {
                     Image<PixelYUV422> frame(512, 256);
                     Image<PixelDIB24> bitmap(512, 256);
                     FillFrame(frame, y);
                     Convert<ToRgb>(frame, bitmap, {.yuv = colors, .resample = ChromaResampling::Nearest});
                     for (int cb = 0; cb < 256; ++cb) {
                       for (int cr = 0; cr < 256; ++cr) {
                         const auto exact = kv_model::color::DecodeExactly(colors, y, cb, cr);
                         const std::uint8_t* pixel = bitmap.Row(cb).data() + 6 * cr;
                         tallies[0].Add(exact.a, pixel[2]);
                         tallies[1].Add(exact.b, pixel[1]);
                         tallies[2].Add(exact.c, pixel[0]);
                       }
                     }
                   }),
                   all);
  }
  Print("to RGB", all);
}

TEST(ColorAccuracy, ToYuv) {
  Histogram all{};
  for (const YuvColors& colors : allColors) {
    ExpectAccurate(NameOf(colors) + " from RGB", OverAllTriples([&](int blue, Tallies& tallies) {
                     Image<PixelDIB24> bitmap(512, 256);
                     Image<PixelYUV422> frame(512, 256);
                     FillBitmap(bitmap, blue);
                     Convert<ToYuv>(bitmap, frame, {.yuv = colors, .resample = ChromaResampling::Nearest});
                     for (int green = 0; green < 256; ++green) {
                       for (int red = 0; red < 256; ++red) {
                         const auto exact = kv_model::color::EncodeExactly(colors, red, green, blue);
                         const std::uint8_t* pair = frame.Row(green).data() + 4 * red;
                         tallies[0].Add(exact.a, pair[0]);
                         tallies[1].Add(exact.b, pair[1]);
                         tallies[2].Add(exact.c, pair[3]);
                       }
                     }
                   }),
                   all);
  }
  Print("to YUV", all);
}

TEST(ColorAccuracy, BetweenYuv) {
  Histogram all{};
  for (const YuvColors& from : allColors) {
    for (const YuvColors& to : allColors) {
      if (from == to) continue;
      ExpectAccurate(NameOf(from) + " to " + NameOf(to), OverAllTriples([&](int y, Tallies& tallies) {
                       Image<PixelYUV422> frame(512, 256);
                       Image<PixelYUV422> other(512, 256);
                       FillFrame(frame, y);
                       Convert<ToOtherYuv>(
                           frame, other,
                           {.yuv = from, .destination = to, .resample = ChromaResampling::Nearest});
                       for (int cb = 0; cb < 256; ++cb) {
                         for (int cr = 0; cr < 256; ++cr) {
                           const auto exact = kv_model::color::RecodeExactly(from, to, y, cb, cr);
                           const std::uint8_t* pair = other.Row(cb).data() + 4 * cr;
                           tallies[0].Add(exact.a, pair[0]);
                           tallies[1].Add(exact.b, pair[1]);
                           tallies[2].Add(exact.c, pair[3]);
                         }
                       }
                     }),
                     all);
    }
  }
  Print("between YUV", all);
}

TEST(ColorAccuracy, EveryFlatColourComesBackWithinTwo) {
  for (const YuvColors& colors : allColors) {
    std::array<int, 256> worst{};
    OverAllTriples([&](int blue, Tallies& /*tallies*/) {
      Image<PixelDIB24> bitmap(512, 256);
      Image<PixelYUV422> frame(512, 256);
      Image<PixelDIB24> back(512, 256);
      FillBitmap(bitmap, blue);
      Convert<ToYuv>(bitmap, frame, {.yuv = colors, .resample = ChromaResampling::Nearest});
      Convert<ToRgb>(frame, back, {.yuv = colors, .resample = ChromaResampling::Nearest});
      for (int row = 0; row < 256; ++row) {
        for (std::size_t byte = 0; byte < std::size_t{3} * 512; ++byte) {
          worst[static_cast<std::size_t>(blue)] = std::max(
              worst[static_cast<std::size_t>(blue)], std::abs(bitmap.Row(row)[byte] - back.Row(row)[byte]));
        }
      }
    });
    const int most = *std::ranges::max_element(worst);
    std::cout << NameOf(colors) << ", there and back: at most " << most << " off\n";
    EXPECT_LE(most, 2) << NameOf(colors);
  }
}

}  // namespace
