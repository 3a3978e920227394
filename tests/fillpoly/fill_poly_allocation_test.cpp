#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <vector>

#include "algorithms/fillpoly/fill_poly.h"
#include "image/run_region.h"

namespace {

long allocations = 0;
long releases = 0;

}  // namespace

// Every allocation of this program is counted.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  ++allocations;
  return std::malloc(size == 0 ? 1 : size);
}
void* operator new(std::size_t size) {
  void* memory = operator new(size, std::nothrow);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  if (memory != nullptr) ++releases;
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

namespace {

using kv_img::ImageRect;
using kv_img::PixelDIB24;
using kv_img::PixelDIB32;
using Dib24 = kv_img::Image<PixelDIB24>;

const PixelDIB32 opaque(10, 20, 30, 255);
const ImageRect everything(0, 0, 16, 12);

struct Count {
  long allocated;
  long released;
};

template <class Operation>
Count CountDuring(const std::vector<kv_math::Vector2>& vertices, const kv_img::Pixel& colour,
                  const kv_img::RegionOfSupport& region) {
  Dib24 image(17, 13);
  const Operation fill;
  const Count before{allocations, releases};
  fill.Apply(image, vertices, colour, 0, 0, region);
  return {allocations - before.allocated, releases - before.released};
}

template <class Operation>
class FillPolyAllocation : public testing::Test {
 protected:
  const std::vector<kv_math::Vector2> pentagon_ = {{2, 2}, {12.5, 3}, {14, 9.25}, {7, 12}, {1, 8}};

  void ExpectNone(const kv_img::Pixel& colour, const kv_img::RegionOfSupport& region) {
    EXPECT_EQ(CountDuring<Operation>(pentagon_, colour, region).allocated, 0);
  }
};

using Operations = testing::Types<kv_img::FillPolyC<Dib24>, kv_img::FillPolyMMX<Dib24>>;
TYPED_TEST_SUITE(FillPolyAllocation, Operations);

TYPED_TEST(FillPolyAllocation, AlphaZeroReturnsBeforeAny) {
  this->ExpectNone(PixelDIB32(10, 20, 30, 0), everything);
}

TYPED_TEST(FillPolyAllocation, RegionThatIsNoImageRectReturnsBeforeAny) {
  this->ExpectNone(opaque, kv_img::RunRegion(everything));
}

TYPED_TEST(FillPolyAllocation, RegionOutsideReturnsBeforeAny) {
  this->ExpectNone(opaque, ImageRect(17, 0, 30, 12));
  this->ExpectNone(opaque, ImageRect(0, 13, 16, 20));
  this->ExpectNone(opaque, ImageRect(-9, -9, -1, -1));
  this->ExpectNone(opaque, ImageRect());
  this->ExpectNone(opaque, ImageRect(9, 9, 3, 3));
}

TEST(FillPolyRowBuffers, HoldTwoColumnsMoreThanTheImageAndTwoCrossingsForEach) {
  const kv_img::fillpoly::RowBuffers buffers(17);
  EXPECT_EQ(buffers.coverage.size(), 19U);
  EXPECT_EQ(buffers.crossings.size(), 38U);
}

TYPED_TEST(FillPolyAllocation, AnythingElsePreparesAndReleases) {
  for (const PixelDIB32& colour : {opaque, PixelDIB32(10, 20, 30, 1)}) {
    for (const ImageRect& region : {everything, ImageRect(16, 12, 99, 99)}) {
      const Count count = CountDuring<TypeParam>(this->pentagon_, colour, region);
      EXPECT_GT(count.allocated, 0);
#if !defined(_WIN32)  // There kv_Math's own allocations are counted only when this program releases them.
      EXPECT_EQ(count.allocated, count.released);
#endif
    }
  }
  EXPECT_GT(CountDuring<TypeParam>(this->pentagon_, PixelDIB24(10, 20, 30), everything).allocated, 0);
}

}  // namespace
