#include "host/conversion.h"

#include <gtest/gtest.h>

#include <utility>

#include "frame/interfaces/copy.h"
#include "frame/interfaces/scanning.h"
#include "host/errors.h"
#include "host/formats/packing.h"
#include "host/raster_image.h"
#include "tests/support/family.h"
#include "tests/support/random.h"

namespace {

using namespace kv_host;

const RasterKind kinds[] = {RasterKind::Yuv422, RasterKind::Yuva422, RasterKind::Yuv422Planar,
                            RasterKind::Dib15,  RasterKind::Dib16,   RasterKind::Dib24,
                            RasterKind::Dib32,  RasterKind::Grey8};

Raster RandomRaster(kv_test::Random& random, RasterKind kind, int width, int height) {
  const bool isPacked = kind == RasterKind::Yuv422 || kind == RasterKind::Yuva422;
  Raster raster = MakeRaster(kind, width, height, isPacked ? LayoutChromaFirst : 0);
  for (Plane& plane : raster.planes) random.Fill(plane.bytes);
  return raster;
}

TEST(RasterImage, WidensByRepeatingAndCropsBack) {
  kv_test::Random random(11);
  for (const RasterKind kind : kinds) {
    for (int width = 1; width <= 20; ++width) {
      const Raster raster = RandomRaster(random, kind, width, 3);
      WithPixelClass(kind, [&]<class PixelClass>() {
        const auto image = ToImage<PixelClass>(raster);
        EXPECT_EQ(image->GetWidth() % 8, 0U);
        EXPECT_LT(image->GetWidth(), static_cast<unsigned>(width + 8));
        const Raster back = ToRaster(*image, raster);
        EXPECT_EQ(back.planes, raster.planes) << NameOf(kind) << " " << width;
      });
    }
  }
}

TEST(RasterImage, RepeatsTheLastPixelOrPair) {
  Raster dib = MakeRaster(RasterKind::Dib24, 2, 1);
  dib.planes[0].bytes = {1, 2, 3, 4, 5, 6};
  const auto image = ToImage<kv_img::PixelDIB24>(dib);
  const auto row = image->Row(0);
  EXPECT_EQ(std::vector<std::uint8_t>(row.begin(), row.begin() + 12),
            (std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6, 4, 5, 6, 4, 5, 6}));
}

TEST(Conversion, BytesOrdersAreExchangedExactly) {
  const Family family;
  const kv_run::WorkerPool pool(3);
  kv_test::Random random(12);
  for (int width = 1; width <= 40; ++width) {
    const Raster planar = RandomRaster(random, RasterKind::Yuv422Planar, width, 7);
    for (const int layout : {LayoutChromaFirst, LayoutLumaFirst}) {
      const Raster packed = Convert(planar, RasterKind::Yuv422, layout, {family, pool});
      EXPECT_EQ(packed.layout, layout);
      EXPECT_EQ(Unpack(packed).planes, planar.planes) << width;
    }
  }
}

TEST(Conversion, EveryKindReachesEveryOther) {
  const Family family;
  const kv_run::WorkerPool pool(2);
  kv_test::Random random(13);
  for (const RasterKind from : kinds) {
    for (const RasterKind to : kinds) {
      for (const int width : {1, 7, 16}) {
        Raster source = RandomRaster(random, from, width, 3);
        source.time = 1.5;
        const Raster result = Convert(source, to, 0, {family, pool});
        EXPECT_EQ(result.time, 1.5);
        EXPECT_EQ(result.kind, to);
        EXPECT_EQ(result.width, width);
      }
    }
  }
}

TEST(Conversion, WhatIsOfItsKindAlreadyIsNotCopied) {
  const Family family;
  const kv_run::WorkerPool pool(1);
  kv_test::Random random(15);
  for (const RasterKind kind : kinds) {
    Raster source = RandomRaster(random, kind, 16, 3);
    const Raster same = source;
    const std::uint8_t* bytes = source.planes[0].bytes.data();
    const Raster result = Convert(std::move(source), kind, same.layout, {family, pool});
    EXPECT_EQ(result, same);
    EXPECT_EQ(result.planes[0].bytes.data(), bytes);
  }
  Raster source = RandomRaster(random, RasterKind::Yuv422, 16, 3);
  const int other = source.layout == LayoutLumaFirst ? LayoutChromaFirst : LayoutLumaFirst;
  EXPECT_EQ(Convert(std::move(source), RasterKind::Yuv422, other, {family, pool}).layout, other);
}

TEST(Conversion, ThreadsMakeNoDifference) {
  const Family family;
  kv_test::Random random(14);
  const Raster source = RandomRaster(random, RasterKind::Yuv422, 37, 11);
  for (const RasterKind to : kinds) {
    const Raster one = Convert(source, to, 0, {family, kv_run::WorkerPool(1)});
    for (const int threads : {2, 3, 16})
      EXPECT_EQ(Convert(source, to, 0, {family, kv_run::WorkerPool(threads)}), one);
  }
}

TEST(Family, AnUnknownMemberIsNamed) {
  try {
    const Family family("kv_algoX");
    FAIL();
  } catch (const NoMemberError& error) {
    EXPECT_NE(std::string(error.what()).find("kv_algoX"), std::string::npos);
    EXPECT_NE(std::string(error.what()).find(kv_test::commonMember), std::string::npos);
  }
}

TEST(Family, WhatNobodyOffersIsNamed) {
  using Bitmap = kv_img::Image<kv_img::PixelDIB24>;
  using Scanning = kv_img::ScanningAlgorithmInterface<Bitmap, Bitmap>;
  const int id = kv_img::PixelDIB24::ClassID;
  try {
    Family(kv_test::commonMember).Require<Scanning>("Scanning", {id, id});
    FAIL();
  } catch (const NoMemberError& error) {
    EXPECT_EQ(error.what(), std::string("no member of the family offers Scanning for these pictures (only ") +
                                kv_test::commonMember + " was asked)");
  }
}

TEST(Family, OneMemberAloneCanBeAsked) {
  using Pixel = kv_img::PixelNoColor<unsigned char>;
  using Copy = kv_img::CopyAlgorithmInterface<kv_img::Image<Pixel>, kv_img::Image<Pixel>>;
  const auto ask = [](const char* member) {
    static_cast<void>(Family(member).Require<Copy>("Copy", {Pixel::ClassID, Pixel::ClassID}));
  };
  EXPECT_NO_THROW(ask("kv_algoC"));
  EXPECT_THROW(ask(kv_test::commonMember), NoMemberError);
}

}  // namespace
