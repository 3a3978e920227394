#include <gtest/gtest.h>

#include <vector>

#include "algorithms/box_filter/kernels/box_filter.h"

namespace {

using namespace kv_img::box_filter;

/// The first mean of one group whose first window has this sum, spread over columns as evenly as it goes.
int MeanOfFirstWindow(void (*kernel)(WindowMeans::Args&) noexcept, std::uint32_t windowSize,
                      std::uint32_t sum) {
  const std::size_t pairs = (windowSize + 8) / 2;
  std::vector<std::uint16_t> columns(2 * (pairs + 2 * spareSums),
                                     static_cast<std::uint16_t>(sum / windowSize));
  std::uint16_t* halves[2] = {columns.data() + spareSums, columns.data() + pairs + 3 * spareSums};
  for (std::uint32_t column = 0; column < sum % windowSize; ++column) ++halves[column % 2][column / 2];
  std::uint8_t means[8] = {};
  WindowMeans::Args args{1, halves[0], halves[1], means, windowSize};
  kernel(args);
  return means[0];
}

/// A quotient that does not fall as the sum rises is exact everywhere when it is exact on both sides of each
/// of its steps.
void ExpectExactAtEveryStep(void (*kernel)(WindowMeans::Args&) noexcept) {
  for (std::uint32_t windowSize = 1; windowSize <= maxWindowSize; ++windowSize) {
    const std::uint32_t area = windowSize * windowSize;
    for (std::uint32_t mean = 0; mean <= 255; ++mean) {
      ASSERT_EQ(MeanOfFirstWindow(kernel, windowSize, mean * area), static_cast<int>(mean))
          << "window " << windowSize;
      if (mean == 255) break;
      ASSERT_EQ(MeanOfFirstWindow(kernel, windowSize, mean * area + area - 1), static_cast<int>(mean))
          << "window " << windowSize;
    }
  }
}

TEST(WindowMeans, ScalarIsExactForEveryWindow) {
  ExpectExactAtEveryStep(WindowMeans::Run<kv_img::Scalar>);
}

#if !defined(__aarch64__)
TEST(WindowMeans, MmxIsExactForEveryWindow) {
  ExpectExactAtEveryStep(WindowMeans::Run<kv_img::Mmx>);
}
#endif

}  // namespace
