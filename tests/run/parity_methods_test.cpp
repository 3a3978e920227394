#include "run/parity_methods.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace kv_run {
namespace {

constexpr int guard = 24;
constexpr std::uint8_t guardByte = 0xA5;

/// A plane with guard bytes round its rows and after each of them.
struct Guarded {
  int rowBytes;
  int height;
  std::vector<std::uint8_t> bytes;

  Guarded(int width, int rows)
      : rowBytes(width),
        height(rows),
        bytes(static_cast<std::size_t>((width + guard) * rows + guard), guardByte) {}
  int Stride() const { return rowBytes + guard; }
  std::uint8_t& At(int y, int x) { return bytes[static_cast<std::size_t>(guard + y * Stride() + x)]; }
  PlaneRows<std::uint8_t> Rows() { return {bytes.data() + guard, Stride()}; }
  PlaneRows<const std::uint8_t> ConstRows() const { return {bytes.data() + guard, Stride()}; }
  void ExpectGuards() {
    for (int i = 0; i < guard; ++i) ASSERT_EQ(bytes[static_cast<std::size_t>(i)], guardByte);
    for (int y = 0; y < height; ++y) {
      for (int x = rowBytes; x < Stride(); ++x) ASSERT_EQ(At(y, x), guardByte) << y << ',' << x;
    }
  }
};

Guarded Noise(int width, int height) {
  Guarded plane(width, height);
  std::mt19937 random(7);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) plane.At(y, x) = static_cast<std::uint8_t>(random());
  }
  return plane;
}

/// Calls `method(from, to, first, last)` on the rows of each of `bands` threads.
template <class Method>
Guarded InBands(const Guarded& from, int bands, Method method) {
  Guarded to(from.rowBytes, from.height);
  for (int band = 0; band < bands; ++band) {
    method(from.ConstRows(), to.Rows(), from.height * band / bands, from.height * (band + 1) / bands - 1);
  }
  to.ExpectGuards();
  return to;
}

TEST(ParityMethods, LinesMoveByOneAndTheEdgeStays) {
  for (const int height : {1, 2, 3, 8}) {
    for (const int bands : {1, 2, 5}) {
      for (const LineShift shift : {LineShift::Down, LineShift::Up}) {
        Guarded from = Noise(13, height);
        Guarded to = InBands(from, bands, [&](auto in, auto out, int first, int last) {
          ShiftLines(in, out, 13, height, first, last, shift);
        });
        for (int y = 0; y < height; ++y) {
          int row = shift == LineShift::Down ? y - 1 : y + 1;
          if (row < 0) row = 0;
          if (row == height) row = height - 1;
          for (int x = 0; x < 13; ++x)
            ASSERT_EQ(to.At(y, x), from.At(row, x)) << height << ": " << y << ',' << x;
        }
      }
    }
  }
}

TEST(ParityMethods, LinesAreMadeFromTheTwoBesideThem) {
  for (const int height : {1, 2, 3, 8}) {
    for (const int bands : {1, 2, 5}) {
      Guarded from = Noise(13, height);
      Guarded to = InBands(from, bands, [&](auto in, auto out, int first, int last) {
        InterpolateFields(in, out, 13, height, first, last);
      });
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < 13; ++x) {
          int expected = from.At(y, x);
          if (height > 1 && y == 0) expected = from.At(1, x);
          if (height > 1 && y == height - 1) expected = from.At(y - 1, x);
          if (y > 0 && y < height - 1) expected = (from.At(y - 1, x) + from.At(y + 1, x) + 1) / 2;
          ASSERT_EQ(to.At(y, x), expected) << height << ": " << y << ',' << x;
        }
      }
    }
  }
}

TEST(ParityMethods, HalvesAreRoundedUp) {
  const std::uint8_t from[] = {3, 0, 6};
  std::uint8_t to[3] = {};
  InterpolateFields({from, 1}, {to, 1}, 1, 3, 0, 2);
  EXPECT_EQ(to[1], 5);
}

TEST(ParityMethods, StridesMayBeNegative) {
  const std::uint8_t from[] = {1, 2, 3, 4};
  std::uint8_t to[4] = {};
  ShiftLines({from + 3, -1}, {to, 1}, 1, 4, 0, 3, LineShift::Down);
  EXPECT_EQ(std::vector<std::uint8_t>(to, to + 4), (std::vector<std::uint8_t>{4, 4, 3, 2}));
}

}  // namespace
}  // namespace kv_run
