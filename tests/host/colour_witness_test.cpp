// kv convert beside double precision, on whole grids of colours, and beside ffmpeg's two scalers.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "check/models/color_formula.h"
#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "tests/host/program.h"
#include "tests/support/random.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_host;
using kv_img::ChromaPosition;
using kv_model::color::DecodeExactly;
using kv_model::color::EncodeExactly;
using kv_model::color::Triple;
using kv_model::color::YuvColors;

struct Meaning {
  YuvColors colors;
  std::string options;
  const char* ffmpegMatrix;
  const char* zscaleMatrix;
  const char* ffmpegRange;
};

std::vector<Meaning> Meanings() {
  std::vector<Meaning> all;
  const char* names[] = {"601", "709", "2020"};
  const char* ffmpeg[] = {"bt601", "bt709", "bt2020"};
  const char* zscale[] = {"170m", "709", "2020_ncl"};
  for (int matrix = 0; matrix < 3; ++matrix) {
    for (int range = 0; range < 2; ++range) {
      all.push_back(
          {{static_cast<kv_img::ColorMatrix>(matrix), static_cast<kv_img::ColorRange>(range)},
           std::string(" --matrix ") + names[matrix] + " --range " + (range == 0 ? "limited" : "full"),
           ffmpeg[matrix],
           zscale[matrix],
           range == 0 ? "limited" : "full"});
    }
  }
  return all;
}

/// How far results are from the formula's.
struct Distance {
  long count = 0;
  long nearest = 0;
  double furthest = 0;

  void Add(int is, double exact) {
    const double clamped = std::clamp(exact, 0.0, 255.0);
    ++count;
    // A tie may go either way.
    if (std::abs(is - clamped) <= 0.5 + 1e-9) ++nearest;
    furthest = std::max(furthest, std::abs(is - std::round(clamped)));
  }
  void Expect(const std::string& what) const {
    EXPECT_LE(furthest, 1) << what;
    EXPECT_GE(static_cast<double>(nearest), 0.995 * static_cast<double>(count)) << what;
  }
};

class ColourWitness : public testing::Test {
 protected:
  void Done(const std::string& arguments) const {
    const kv_test::Outcome outcome = kv_test::RunKv(temp_.Path(), arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  void Ffmpeg(const std::string& arguments) const {
    const kv_test::Outcome outcome =
        kv_test::RunShell(temp_.Path(), "ffmpeg -nostdin -loglevel error -y " + arguments);
    ASSERT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
  }
  Raster Read(const std::string& name) const { return *PictureReader((temp_.Path() / name).string()).Next(); }
  void Write(const std::string& name, const Raster& raster) const {
    PictureWriter writer((temp_.Path() / name).string());
    writer.Write(raster);
    writer.Commit();
  }
  static Raster Noise(RasterKind kind, int width, int height) {
    kv_test::Random random(static_cast<std::uint32_t>(width * 7 + height));
    Raster noise = MakeRaster(kind, width, height);
    for (Plane& plane : noise.planes) random.Fill(plane.bytes);
    return noise;
  }
  /// Chroma at pixel x, with its fraction.
  static double ChromaAt(const Raster& video, std::size_t plane, int row, int x, ChromaPosition position) {
    const auto samples = video.planes[plane].Row(row);
    const int own = x / 2;
    const auto at = [&](int pair) {
      const int within = std::clamp(pair, 0, static_cast<int>(samples.size()) - 1);
      return static_cast<double>(samples[static_cast<std::size_t>(within)]);
    };
    if (position == ChromaPosition::Left) return x % 2 == 0 ? at(own) : (at(own) + at(own + 1)) / 2;
    return (3 * at(own) + at(x % 2 == 0 ? own - 1 : own + 1)) / 4;
  }

  const kv_test::TempFolder temp_;
};

TEST_F(ColourWitness, EveryLumaWithAThirdOfAllChroma) {
  // Cb changes from row to row, Cr and luma along it.
  constexpr int values = 86;
  Raster grid = MakeRaster(RasterKind::Yuv422Planar, 512 * 8, values * 11);
  for (int row = 0; row < grid.height; ++row) {
    for (std::size_t pair = 0; pair < 256 * 8; ++pair) {
      const std::size_t cr = static_cast<std::size_t>(row / values) * 8 + pair / 256;
      grid.planes[0].Row(row)[2 * pair] = grid.planes[0].Row(row)[2 * pair + 1] =
          static_cast<std::uint8_t>(pair % 256);
      grid.planes[1].Row(row)[pair] = static_cast<std::uint8_t>(row % values * 3);
      grid.planes[2].Row(row)[pair] = static_cast<std::uint8_t>(std::min<std::size_t>(cr * 3, 255));
    }
  }
  Write("grid.y4m", grid);
  for (const Meaning& meaning : Meanings()) {
    Done("convert grid.y4m out.ppm --resample nearest" + meaning.options);
    const Raster rgb = Read("out.ppm");
    Distance distance;
    for (int row = 0; row < grid.height; ++row) {
      for (std::size_t pair = 0; pair < 256 * 8; ++pair) {
        const Triple exact = DecodeExactly(meaning.colors, grid.planes[0].Row(row)[2 * pair],
                                           grid.planes[1].Row(row)[pair], grid.planes[2].Row(row)[pair]);
        const auto* pixel = &rgb.planes[0].Row(row)[6 * pair];
        distance.Add(pixel[2], exact.a);
        distance.Add(pixel[1], exact.b);
        distance.Add(pixel[0], exact.c);
        ASSERT_TRUE(std::equal(pixel, pixel + 3, pixel + 3));
      }
    }
    distance.Expect("to RGB" + meaning.options);
  }
}

TEST_F(ColourWitness, EveryGreenWithAThirdOfAllRedsAndBlues) {
  constexpr int values = 86;
  Raster grid = MakeRaster(RasterKind::Dib24, 512 * 8, values * 11);
  for (int row = 0; row < grid.height; ++row) {
    for (std::size_t x = 0; x < 512 * 8; ++x) {
      auto* pixel = &grid.planes[0].Row(row)[3 * x];
      const std::size_t red = static_cast<std::size_t>(row / values) * 8 + x / 512;
      pixel[0] = static_cast<std::uint8_t>(row % values * 3);
      pixel[1] = static_cast<std::uint8_t>(x / 2 % 256);
      pixel[2] = static_cast<std::uint8_t>(std::min<std::size_t>(red * 3, 255));
    }
  }
  Write("grid.ppm", grid);
  for (const Meaning& meaning : Meanings()) {
    Done("convert grid.ppm out.y4m --resample nearest" + meaning.options);
    const Raster yuv = Read("out.y4m");
    Distance distance;
    for (int row = 0; row < grid.height; ++row) {
      for (std::size_t pair = 0; pair < 256 * 8; ++pair) {
        const auto* pixel = &grid.planes[0].Row(row)[6 * pair];
        const Triple exact = EncodeExactly(meaning.colors, pixel[2], pixel[1], pixel[0]);
        distance.Add(yuv.planes[0].Row(row)[2 * pair], exact.a);
        distance.Add(yuv.planes[0].Row(row)[2 * pair + 1], exact.a);
        distance.Add(yuv.planes[1].Row(row)[pair], exact.b);
        distance.Add(yuv.planes[2].Row(row)[pair], exact.c);
      }
    }
    distance.Expect("to YUV" + meaning.options);
  }
}

TEST_F(ColourWitness, LinearChromaOfBothPositionsAtEveryWidth) {
  for (const ChromaPosition position : {ChromaPosition::Left, ChromaPosition::Centre}) {
    const std::string place = position == ChromaPosition::Left ? " --chroma left" : " --chroma centre";
    Distance toRgb;
    Distance toYuv;
    for (const int width : {1, 2, 3, 4, 5, 15, 16, 17, 31, 64, 65, 129, 131, 255}) {
      const Meaning meaning = Meanings()[static_cast<std::size_t>(width % 6)];
      const Raster video = Noise(RasterKind::Yuv422Planar, width, 97);
      Write("in.y4m", video);
      Done("convert in.y4m out.ppm" + place + meaning.options);
      const Raster rgb = Read("out.ppm");
      const Raster colour = Noise(RasterKind::Dib24, width, 97);
      Write("in.ppm", colour);
      Done("convert in.ppm out.y4m" + place + meaning.options);
      const Raster yuv = Read("out.y4m");
      for (int row = 0; row < 97; ++row) {
        for (int x = 0; x < width; ++x) {
          const auto at = static_cast<std::size_t>(x);
          const Triple exact =
              DecodeExactly(meaning.colors, video.planes[0].Row(row)[at],
                            ChromaAt(video, 1, row, x, position), ChromaAt(video, 2, row, x, position));
          toRgb.Add(rgb.planes[0].Row(row)[3 * at + 2], exact.a);
          toRgb.Add(rgb.planes[0].Row(row)[3 * at + 1], exact.b);
          toRgb.Add(rgb.planes[0].Row(row)[3 * at], exact.c);
          const auto yuvOf = [&](int pixel) {
            const auto* bgr =
                &colour.planes[0].Row(row)[3 * static_cast<std::size_t>(std::clamp(pixel, 0, width - 1))];
            return EncodeExactly(meaning.colors, bgr[2], bgr[1], bgr[0]);
          };
          toYuv.Add(yuv.planes[0].Row(row)[at], yuvOf(x).a);
          if (x % 2 != 0) continue;
          const bool isLeft = position == ChromaPosition::Left;
          const double weights[] = {isLeft ? 0.25 : 0, 0.5, isLeft ? 0.25 : 0.5};
          double cb = 0;
          double cr = 0;
          for (int tap = 0; tap < 3; ++tap) {
            cb += weights[tap] * yuvOf(x + tap - 1).b;
            cr += weights[tap] * yuvOf(x + tap - 1).c;
          }
          toYuv.Add(yuv.planes[1].Row(row)[at / 2], cb);
          toYuv.Add(yuv.planes[2].Row(row)[at / 2], cr);
        }
      }
    }
    toRgb.Expect("to RGB" + place);
    toYuv.Expect("to YUV" + place);
  }
}

TEST_F(ColourWitness, FlatColoursComeBackWithinTwo) {
  // A colour a row, so that filters find no edges; odd, so that there is a lone pixel.
  kv_test::Random random(0xC0FFEE);
  Raster colours = MakeRaster(RasterKind::Dib24, 5, 20000);
  for (int row = 0; row < colours.height; ++row) {
    const std::uint32_t any = row < 2 ? (row == 0 ? 0 : 0xFFFFFF) : static_cast<std::uint32_t>(random.Next());
    for (std::size_t i = 0; i < 15; ++i) {
      colours.planes[0].Row(row)[i] = static_cast<std::uint8_t>(any >> 8 * (i % 3));
    }
  }
  Write("in.bmp", colours);
  for (const Meaning& meaning : Meanings()) {
    for (const char* place : {" --chroma left", " --chroma centre", " --resample nearest"}) {
      Done("convert in.bmp mid.uyvy" + meaning.options + place);
      Done("convert mid.uyvy out.bmp --size 5x20000" + meaning.options + place);
      const Raster out = Read("out.bmp");
      const int most = meaning.colors.range == kv_img::ColorRange::Limited ? 2 : 1;
      for (std::size_t i = 0; i < out.planes[0].bytes.size(); ++i) {
        ASSERT_LE(std::abs(out.planes[0].bytes[i] - colours.planes[0].bytes[i]), i < 30 ? 0 : most)
            << meaning.options << place << " byte " << i;
      }
    }
  }
}

TEST_F(ColourWitness, BlackAndWhiteSurviveTenRoundTrips) {
  Raster picture = MakeRaster(RasterKind::Dib24, 9, 2);
  std::ranges::fill(picture.planes[0].Row(1), std::uint8_t{255});
  for (const Meaning& meaning : Meanings()) {
    Write("in.ppm", picture);
    for (int round = 0; round < 10; ++round) {
      Done("convert in.ppm mid.y4m" + meaning.options);
      Done("convert mid.y4m in.ppm" + meaning.options);
    }
    EXPECT_EQ(Read("in.ppm").planes, picture.planes) << meaning.options;
  }
}

int MostApart(const Raster& a, const Raster& b) {
  int most = 0;
  for (std::size_t plane = 0; plane < a.planes.size(); ++plane) {
    for (std::size_t i = 0; i < a.planes[plane].bytes.size(); ++i)
      most = std::max(most, std::abs(a.planes[plane].bytes[i] - b.planes[plane].bytes[i]));
  }
  return most;
}

TEST_F(ColourWitness, BothScalersOfFfmpegAgreeWithinTwo) {
  KV_NEEDS_SHELL();
  Raster video = Noise(RasterKind::Yuv422Planar, 142, 61);
  // Pairs of one colour: which of two pixels chroma is taken from is a choice.
  Raster colour = Noise(RasterKind::Dib24, 142, 61);
  for (std::size_t i = 0; i < colour.planes[0].bytes.size(); i += 6) {
    std::copy_n(&colour.planes[0].bytes[i], 3, &colour.planes[0].bytes[i + 3]);
  }
  Write("in.ppm", colour);
  for (const Meaning& meaning : Meanings()) {
    const bool isFull = meaning.colors.range == kv_img::ColorRange::Full;
    video.range = isFull ? ColourRange::Full : ColourRange::Limited;
    Write("in.y4m", video);
    const std::string range = meaning.ffmpegRange;
    const std::string nearest = " --resample nearest --chroma centre" + meaning.options;
    Done("convert in.y4m kv.ppm" + nearest);
    const Raster ours = Read("kv.ppm");
    const std::string swscale = ":flags=accurate_rnd+full_chroma_int+full_chroma_inp+neighbor";
    Ffmpeg("-i in.y4m -vf scale=in_color_matrix=" + std::string(meaning.ffmpegMatrix) + ":in_range=" + range +
           ":out_range=full" + swscale + ",format=gbrp -pix_fmt rgb24 sws.ppm");
    EXPECT_LE(MostApart(ours, Read("sws.ppm")), 2) << "swscale" << meaning.options;
    Ffmpeg(
        "-i in.y4m -vf zscale=matrixin=" + std::string(meaning.zscaleMatrix) + ":rangein=" + range +
        ":range=full:matrix=gbr:filter=point:chromalin=center:dither=none,format=gbrp -pix_fmt rgb24 z.ppm");
    EXPECT_LE(MostApart(ours, Read("z.ppm")), 2) << "zscale" << meaning.options;

    Done("convert in.ppm kv.y4m" + nearest);
    const Raster video422 = Read("kv.y4m");
    Ffmpeg("-i in.ppm -vf scale=in_range=full:out_color_matrix=" + std::string(meaning.ffmpegMatrix) +
           ":out_range=" + range + swscale + ",format=yuv422p sws.y4m");
    EXPECT_LE(MostApart(video422, Read("sws.y4m")), 2) << "swscale" << meaning.options;
    Ffmpeg("-i in.ppm -vf format=gbrp,zscale=matrixin=gbr:rangein=full:matrix=" +
           std::string(meaning.zscaleMatrix) + ":range=" + range +
           ":filter=point:chromal=center:dither=none,format=yuv422p z.y4m");
    EXPECT_LE(MostApart(video422, Read("z.y4m")), 2) << "zscale" << meaning.options;
  }
}

}  // namespace
