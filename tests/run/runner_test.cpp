// Through the runner every operation gives the same bytes at every number of threads, also where its rule
// works on the band of a thread.

#include "run/runner.h"

#include <gtest/gtest.h>

#include <atomic>

#include "frame/interfaces/absolute_difference.h"
#include "frame/interfaces/average.h"
#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/blend_boost.h"
#include "tests/support/test_image.h"

namespace {

using namespace kv_img;
using kv_run::Load;
using kv_run::WorkerPool;

/// Divides the smallest call.
kv_run::PoolOptions Eager(int threads) {
  return {.threads = threads, .executor = {}, .grain = std::chrono::nanoseconds(0)};
}
using kv_test::Options;
using kv_test::Placement;
using kv_test::Random;
using kv_test::TestImage;
using PixelLayout::chromaFirst;
using PixelLayout::lumaFirst;

using Packed = Image<PixelYUV422>;
using GreyPixel = PixelNoColor<unsigned char>;
using Grey = Image<GreyPixel>;

/// Parities of the first row's field, and step of a pan.
struct Fields {
  int source;
  int destination;
  std::uint32_t step;
};
constexpr Fields allFields[] = {{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 1, 1}};
constexpr int mostThreads = 8;

template <class PixelClass>
ImageOptions OptionsOf(int parity, std::int32_t layout = lumaFirst, std::uint8_t storageFlag = 0) {
  ImageOptions options = Options(layout, parity);
  constexpr bool isPacked =
      std::is_same_v<PixelClass, PixelYUV422> || std::is_same_v<PixelClass, PixelYUVA422>;
  if (!isPacked) options.layout.reset();
  options.storageFlag = storageFlag;
  return options;
}

/// Calls `call(pool, destination)` on copies of `before`, with one thread and with up to eight: every byte
/// must be that of the one thread.
template <class PixelClass, class Call>
void ExpectSameBytes(const TestImage<PixelClass>& before, const std::string& what, const Call& call) {
  TestImage<PixelClass> one(before);
  call(WorkerPool(Eager(1)), *one);
  for (int threads = 2; threads <= mostThreads; ++threads) {
    TestImage<PixelClass> many(before);
    call(WorkerPool(Eager(threads)), *many);
    EXPECT_EQ(many.DifferenceFrom(one), "") << what << " at " << threads << " threads";
  }
}

std::string Text(const char* name, const Fields& fields, int height) {
  return std::string(name) + " of " + std::to_string(height) + " rows, parities " +
         std::to_string(fields.source) + std::to_string(fields.destination) + ", step " +
         std::to_string(fields.step);
}

template <class In, class Out>
void ExpectCopiesAlike() {
  Random random(21);
  const auto& copy = Load<CopyAlgorithmInterface<Image<In>, Image<Out>>>("Copy", {In::ClassID, Out::ClassID});
  for (const Fields& fields : allFields) {
    for (const int height : {1, 2, 5, 6, 17}) {
      const TestImage<In> source(random, 24, height, {}, OptionsOf<In>(fields.source));
      const TestImage<Out> before(random, 24, height, {}, OptionsOf<Out>(fields.destination, lumaFirst, 1));
      ExpectSameBytes(before, Text("Copy", fields, height),
                      [&](const WorkerPool& pool, Image<Out>& to) { kv_run::Run(pool, copy, *source, to); });
    }
  }
}

TEST(RunnerThreads, CopiesFollowNoBands) {
  ExpectCopiesAlike<PixelYUV422, PixelYUV422>();
  ExpectCopiesAlike<PixelYUV422, PixelDIB24>();
  ExpectCopiesAlike<PixelYUV422, PixelDIB16>();
  ExpectCopiesAlike<PixelYUV422, PixelDIB15>();
  ExpectCopiesAlike<PixelDIB24, PixelYUV422>();
  ExpectCopiesAlike<PixelDIB32, PixelYUV422>();
  ExpectCopiesAlike<PixelDIB32, PixelYUVA422>();
  ExpectCopiesAlike<PixelYUV411P, PixelYUV422>();
  ExpectCopiesAlike<PixelYUV422, PixelDIB32>();
  ExpectCopiesAlike<PixelYUVA422, PixelYUVA422>();
}

TEST(RunnerThreads, BlocksAreCopiedToTheLastByte) {
  const auto& copy =
      Load<CopyAlgorithmInterface<Packed, Packed>>("Copy", {PixelYUV422::ClassID, PixelYUV422::ClassID});
  Random random(22);
  for (const int width : {1, 3, 18, 35}) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(2 * width * 5));
    random.Fill(bytes);
    const Packed source(width, 5, WrappedRows::Strided(bytes.data(), 2 * width));
    for (int threads = 1; threads <= mostThreads; ++threads) {
      std::vector<std::uint8_t> copied(bytes.size(), 77);
      Packed to(width, 5, WrappedRows::Strided(copied.data(), 2 * width));
      kv_run::Run(WorkerPool(Eager(threads)), copy, source, to);
      EXPECT_EQ(copied, bytes) << width << " columns, " << threads << " threads";
    }
  }
}

TEST(RunnerThreads, BlocksOfUnequalLengthAreCopiedAsOneThreadDoes) {
  const auto& copy =
      Load<CopyAlgorithmInterface<Packed, Packed>>("Copy", {PixelYUV422::ClassID, PixelYUV422::ClassID});
  ImageOptions roomy;
  roomy.rowSlack = 200;
  roomy.storageFlag = 0;
  Packed source(16, 6, roomy);
  Random random(23);
  for (int row = 0; row < 6; ++row) random.Fill(source.Row(row));
  const ImageOptions tight = OptionsOf<PixelYUV422>(0);
  Packed one(16, 6, tight);
  ASSERT_NE(source.GetPixelBuffer().totalBytes, one.GetPixelBuffer().totalBytes);
  kv_run::Run(WorkerPool(Eager(1)), copy, source, one);
  for (int threads = 2; threads <= mostThreads; ++threads) {
    Packed many(16, 6, tight);
    kv_run::Run(WorkerPool(Eager(threads)), copy, source, many);
    for (int row = 0; row < 6; ++row) EXPECT_TRUE(std::ranges::equal(many.Row(row), one.Row(row))) << threads;
  }
}

template <class In>
void ExpectRegionCopiesAlike() {
  Random random(24);
  const auto& copy =
      Load<CopyROIAlgorithmInterface<Image<In>, Packed>>("CopyROI", {In::ClassID, PixelYUV422::ClassID});
  for (const Fields& fields : allFields) {
    for (const int height : {1, 6, 17}) {
      // Planar rows are converted eight pixels at a time, past the run.
      Placement room;
      room.slack = 64;
      const TestImage<In> source(random, 24, height, room, OptionsOf<In>(fields.source));
      const TestImage<PixelYUV422> before(random, 24, height, room,
                                          OptionsOf<PixelYUV422>(fields.destination, chromaFirst));
      for (const ImageRect& rect :
           {ImageRect(0, 0, 23, height - 1), ImageRect(2, height / 3, 13, height - 1)}) {
        ExpectSameBytes(before, Text("CopyROI", fields, height), [&](const WorkerPool& pool, Packed& to) {
          kv_run::Run(pool, copy, *source, to, rect, rect);
        });
      }
    }
  }
}

TEST(RunnerThreads, RegionCopiesFollowNoBands) {
  ExpectRegionCopiesAlike<PixelYUV422>();
  ExpectRegionCopiesAlike<PixelYUV411P>();
}

TEST(RunnerThreads, RegionBlocksEndWithTheRegion) {
  const auto& copy = Load<CopyROIAlgorithmInterface<Packed, Packed>>(
      "CopyROI", {PixelYUV422::ClassID, PixelYUV422::ClassID});
  Random random(25);
  Packed source(24, 9);
  for (int row = 0; row < 9; ++row) random.Fill(source.Row(row));
  for (int threads = 1; threads <= mostThreads; ++threads) {
    Packed to(24, 9);
    kv_run::Run(WorkerPool(Eager(threads)), copy, source, to, ImageRect(0, 1, 23, 4), ImageRect(0, 3, 23, 6));
    for (int row = 0; row < 9; ++row) {
      const bool isInside = row >= 3 && row <= 6;
      const std::vector<std::uint8_t> zeros(48);
      const auto wanted = isInside ? source.Row(row - 2).first(48) : std::span<const std::uint8_t>(zeros);
      EXPECT_TRUE(std::ranges::equal(to.Row(row).first(48), wanted)) << row << " at " << threads;
    }
  }
}

TEST(RunnerThreads, PansFollowNoBands) {
  const auto& pan = Load<ScanningAlgorithmInterface<Packed, Packed>>(
      "Scanning", {PixelYUV422::ClassID, PixelYUV422::ClassID});
  Random random(26);
  for (const Fields& fields : allFields) {
    for (const int height : {2, 6, 17}) {
      const TestImage<PixelYUV422> source(random, 40, height + 4, {}, OptionsOf<PixelYUV422>(fields.source));
      const TestImage<PixelYUV422> before(random, 40, height + 4, {},
                                          OptionsOf<PixelYUV422>(fields.destination));
      const ImageRect view(3, 1, 27, height);
      for (const std::uint8_t mode : {0x01, 0x02, 0x04, 0x08, 0x00}) {
        // Without a pan and half a line nothing is done.
        if (mode == 0 && fields.destination == static_cast<int>(fields.step & 1U)) continue;
        const bool isHorizontal = mode < 4 && mode != 0;
        const ImageRect path = isHorizontal ? ImageRect(0, 1, 39, height) : ImageRect(3, 0, 27, height + 3);
        ExpectSameBytes(before, Text("Scanning", fields, height), [&](const WorkerPool& pool, Packed& to) {
          kv_run::Run(pool, pan, *source, to, path, view, mode, 3, fields.step);
        });
      }
    }
  }
}

TEST(RunnerThreads, MasksFollowNoBands) {
  const auto& colour =
      Load<AlphaLayerColorBasedAlgorithmInterface<Packed>>("AlphaLayerColorBased", {PixelYUV422::ClassID});
  const auto& probability =
      Load<AlphaLayerProbMaskAlgorithmInterface<Grey>>("AlphaLayerProbMask", {GreyPixel::ClassID});
  Random random(27);
  for (const Fields& fields : {allFields[0], allFields[2]}) {
    const auto packed = OptionsOf<PixelYUV422>(fields.source);
    const auto grey = OptionsOf<GreyPixel>(fields.destination);
    const TestImage<PixelYUV422> a(random, 30, 13, {}, packed);
    const TestImage<PixelYUV422> b(random, 30, 13, {}, packed);
    const TestImage<GreyPixel> p(random, 30, 13, {}, grey);
    const TestImage<GreyPixel> q(random, 30, 13, {}, grey);
    const TestImage<GreyPixel> before(random, 30, 13, {}, grey);
    const ImageRect where(1, 1, 27, 12);
    for (const bool hasIntermediate : {true, false}) {
      const auto raw = [&] { return hasIntermediate ? std::make_shared<Grey>(30, 13) : nullptr; };
      ExpectSameBytes(before, "AlphaLayerColorBased", [&](const WorkerPool& pool, Grey& to) {
        kv_run::Run(pool, colour, *a, *b, to, where, 5U, raw());
      });
      ExpectSameBytes(before, "AlphaLayerProbMask", [&](const WorkerPool& pool, Grey& to) {
        kv_run::Run(pool, probability, *p, *q, to, where, 5U, raw());
      });
      ExpectSameBytes(before, "AlphaLayerProbMask with a gain", [&](const WorkerPool& pool, Grey& to) {
        kv_run::Run(pool, probability, *p, *q, to, where, 3U, 5U, raw());
      });
    }
  }
}

TEST(RunnerThreads, OperationsOnPixelsFollowNoBands) {
  const auto& difference = Load<AbsoluteDifferenceAlgorithmInterface<Packed, Grey>>(
      "AbsoluteDifference", {PixelYUV422::ClassID, GreyPixel::ClassID});
  const auto& average = Load<AverageAlgorithmInterface<Grey>>("Average", {GreyPixel::ClassID});
  const auto& filter = Load<AverageFilterAlgorithmInterface<Grey>>("AverageFilter", {GreyPixel::ClassID});
  const auto& blend = Load<BlendBoostAlgorithmInterface<Packed>>("BlendBoost", {PixelYUV422::ClassID});
  Random random(28);
  for (const Fields& fields : allFields) {
    const TestImage<PixelYUV422> a(random, 36, 14, {}, OptionsOf<PixelYUV422>(fields.source));
    const TestImage<PixelYUV422> b(random, 36, 14, {}, OptionsOf<PixelYUV422>(fields.destination));
    const TestImage<GreyPixel> p(random, 36, 14, {}, OptionsOf<GreyPixel>(fields.source));
    const TestImage<GreyPixel> q(random, 36, 14, {}, OptionsOf<GreyPixel>(fields.destination));
    const ImageRect where(3, 1, 33, 12);
    ExpectSameBytes(q, "AbsoluteDifference", [&](const WorkerPool& pool, Grey& to) {
      kv_run::Run(pool, difference, *a, *b, to, where);
    });
    const ImageRect left(3, 1, 20, 9);
    const ImageRect right(11, 4, 33, 12);
    ExpectSameBytes(q, "Average", [&](const WorkerPool& pool, Grey& to) {
      kv_run::Run(pool, average, *p, *p, to, left, right, where);
    });
    for (const unsigned window : {1U, 2U, 5U, 31U}) {
      ExpectSameBytes(q, "AverageFilter", [&](const WorkerPool& pool, Grey& to) {
        kv_run::Run(pool, filter, *p, to, where, window);
      });
    }
    const RunRegion runs(ImageRect(2, 1, 33, 12));
    ExpectSameBytes(b, "BlendBoost", [&](const WorkerPool& pool, Packed& to) {
      kv_run::Run(pool, blend, *a, *a, *p, to, runs);
    });
  }
}

/// Counts the bands that a call gets.
template <class In, class Out>
class CountingCopy final : public CopyAlgorithmInterface<In, Out> {
 public:
  Out& Apply(const In& /*source*/, Out& destination, kv_std::SpinBarrier& barrier,
             std::uint32_t /*threadIndex*/) const override {
    bands = barrier.GetThreadCount();
    ++calls;
    return destination;
  }
  mutable std::atomic<int> bands = 0;
  mutable std::atomic<int> calls = 0;
};

TEST(RunnerThreads, AllThreadsWorkWhereTheBytesDoNotFollowThem) {
  const Packed even(8, 8, OptionsOf<PixelYUV422>(0));
  const Packed odd(8, 8, OptionsOf<PixelYUV422>(1));
  Image<PixelDIB24> bitmap(8, 8);
  const CountingCopy<Packed, Image<PixelDIB24>> copy;
  kv_run::Run(WorkerPool(Eager(5)), copy, even, bitmap);
  EXPECT_EQ(copy.bands, 5);
  EXPECT_EQ(copy.calls, 5);
  kv_run::Run(WorkerPool(Eager(5)), copy, odd, bitmap);
  EXPECT_EQ(copy.bands, 1);
  EXPECT_EQ(copy.calls, 6);

  const CountingCopy<Packed, Packed> same;
  Packed to(8, 8, OptionsOf<PixelYUV422>(0));
  ASSERT_EQ(to.GetPixelBuffer().totalBytes % 4, 0U);
  kv_run::Run(WorkerPool(Eager(4)), same, even, to);
  EXPECT_EQ(same.bands, 4) << "a block that four threads divide";
  Packed apart(8, 8, OptionsOf<PixelYUV422>(0, lumaFirst, 1));
  kv_run::Run(WorkerPool(Eager(5)), same, even, apart);
  EXPECT_EQ(same.bands, 5) << "row by row";
}

}  // namespace
