#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "frame/interfaces/average_filter.h"
#include "image/image_rect.h"
#include "tests/support/expect_error.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"

// A member binds to its program's allocation functions, so these count what it holds and can refuse it
// memory.
namespace {

/// Allocations that are not freed yet.
long held = 0;
/// Non-throwing allocations so far, and the one that fails; none when negative.
long asked = 0;
long failing = -1;

void* Allocate(std::size_t size) {
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory != nullptr) ++held;
  return memory;
}

void* AllocateOrThrow(std::size_t size) {
  void* memory = Allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* AllocateUnlessFailing(std::size_t size) {
  return asked++ == failing ? nullptr : Allocate(size);
}

void Free(void* memory) {
  if (memory == nullptr) return;
  --held;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
  return AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
  return AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return AllocateUnlessFailing(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return AllocateUnlessFailing(size);
}
void operator delete(void* memory) noexcept {
  Free(memory);
}
void operator delete[](void* memory) noexcept {
  Free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  Free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  Free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  Free(memory);
}
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
  Free(memory);
}

namespace {

using namespace kv_test;
using kv_img::AlgoMMXException;
using kv_img::ImageRect;
using Grey = kv_img::PixelNoColor<unsigned char>;
using Operation = kv_img::AverageFilterAlgorithmInterface<Grey8>;

struct RegionFailure {};

/// A rectangle that throws after a number of calls for its runs.
class ThrowingRegion final : public kv_img::RegionOfSupport {
 public:
  explicit ThrowingRegion(int calls) : calls_(calls) {}

  int GetRegionType() const override { return rect_.GetRegionType(); }
  unsigned GetWidth() const override { return rect_.GetWidth(); }
  unsigned GetHeight() const override { return rect_.GetHeight(); }
  int GetLeft(int row) const override {
    Count();
    return rect_.GetLeft(row);
  }
  int GetLeft() const override { return rect_.GetLeft(); }
  int GetRight(int row) const override {
    Count();
    return rect_.GetRight(row);
  }
  int GetRight() const override { return rect_.GetRight(); }
  int GetTop() const override { return rect_.GetTop(); }
  int GetBottom() const override { return rect_.GetBottom(); }
  bool IsRectangular() const override { return true; }
  bool IsInside(const ImageRect& rect) const override { return rect_.IsInside(rect); }
  int GetClassID() const override { return rect_.GetClassID(); }

 private:
  void Count() const {
    if (calls_-- == 0) throw RegionFailure();
  }
  ImageRect rect_{0, 0, 19, 4};
  mutable int calls_;
};

class AverageFilterMemory : public testing::TestWithParam<int> {
 protected:
  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const Operation* filter_ = member_.Get<Operation>("AverageFilter", {Grey::ClassID});
  kv_std::SpinBarrier barrier_{2};

  void SetUp() override { ASSERT_NE(filter_, nullptr); }
  void TearDown() override { failing = -1; }
};

TEST_P(AverageFilterMemory, EveryFailedAllocationIsRefusedAndReleasesTheOthers) {
  const Grey8 source(20, 5);
  Grey8 destination(20, 5);
  const ImageRect region(0, 0, 19, 4);
  asked = 0;
  filter_->Apply(source, destination, region, 5, barrier_, 0);
  const long buffers = asked;
  ASSERT_GT(buffers, 0);
  std::ranges::fill(destination.Row(0), 77);
  for (long buffer = 0; buffer < buffers; ++buffer) {
    for (const std::uint32_t thread : {0U, 1U}) {
      const long before = held;
      asked = 0;
      failing = buffer;
      ExpectError<AlgoMMXException>([&] { filter_->Apply(source, destination, region, 5, barrier_, thread); },
                                    3, L"AverageFilter" + member_.Suffix() + L"<ImageUChar>");
      EXPECT_EQ(held, before);
    }
  }
  EXPECT_TRUE(std::ranges::all_of(destination.Row(0), [](int byte) { return byte == 77; }));
}

TEST_P(AverageFilterMemory, SizesAndWindowAreCheckedBeforeMemory) {
  const Grey8 source(20, 5);
  Grey8 destination(20, 5);
  Grey8 other(20, 6);
  asked = 0;
  failing = 0;
  ExpectError<AlgoMMXException>(
      [&] { filter_->Apply(source, other, ImageRect(0, 0, 19, 4), 5, barrier_, 0); }, 1,
      L"AverageFilter" + member_.Suffix());
  ExpectError<AlgoMMXException>(
      [&] { filter_->Apply(source, destination, ImageRect(0, 0, 19, 4), 0, barrier_, 0); }, 4,
      L"AverageFilter" + member_.Suffix(), L"window size");
}

TEST_P(AverageFilterMemory, ExceptionOfTheRegionPassesUnchangedAndReleasesTheBuffers) {
  const Grey8 source(20, 5);
  Grey8 destination(20, 5);
  int thrown = 0;
  for (int calls = 0; calls == thrown; ++calls) {
    const ThrowingRegion region(calls);
    const long before = held;
    try {
      filter_->Apply(source, destination, region, 3, barrier_, 0);
    } catch (const RegionFailure&) {
      ++thrown;
    }
    ASSERT_EQ(held, before);
  }
  EXPECT_GT(thrown, 0);
}

TEST_P(AverageFilterMemory, NothingIsHeldAfterTheCall) {
  const Grey8 source(20, 5);
  Grey8 destination(20, 5);
  const long before = held;
  filter_->Apply(source, destination, ImageRect(0, 0, 19, 4), 3, barrier_, 0);
  EXPECT_EQ(held, before);
}

INSTANTIATE_TEST_SUITE_P(Members, AverageFilterMemory, EachMember(), MemberName);

}  // namespace
