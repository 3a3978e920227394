// A member of the family outside the project: "AbsoluteDifference" of 4:2:2 frames, one pixel at a time. Its
// file has one of the names that the algorithm manager knows, and is where the manager looks.

#include <cstdlib>
#include <cstring>

#include "frame/interfaces/absolute_difference.h"
#include "frame/row_band.h"
#include "image/errors/exceptions.h"
#include "image/image.h"
#include "image/image_rect.h"
#include "plugin/exports.h"

using namespace kv_img;

namespace {

using Frame = Image<PixelYUV422>;
using Mask = Image<PixelNoColor<unsigned char>>;

class AbsoluteDifferenceSSE final : public AbsoluteDifferenceAlgorithmInterface<Frame, Mask> {
 public:
  Mask& Apply(const Frame& first, const Frame& second, Mask& destination, const RegionOfSupport& region,
              kv_std::SpinBarrier& barrier, std::uint32_t threadIndex) const override {
    const auto differs = [&](const IImage& image) {
      return image.GetWidth() != first.GetWidth() || image.GetHeight() != first.GetHeight();
    };
    if (differs(second) || differs(destination)) throw AlgoMMXException(1, L"AbsoluteDifferenceSSE");
    if (first.GetPixelLayout() != second.GetPixelLayout()) {
      throw AlgoMMXException(6, L"AbsoluteDifferenceSSE<ImageYUV422>");
    }
    const std::size_t luma = first.GetPixelLayout() == 4097 ? 1 : 0;
    const RowBand band = BandOf(region, barrier, threadIndex);
    for (int y = band.first; y <= band.last; ++y) {
      for (int x = region.GetLeft(y); x <= region.GetRight(y); ++x) {
        const std::size_t at = 2 * static_cast<std::size_t>(x) + luma;
        destination.Row(y)[static_cast<std::size_t>(x)] =
            static_cast<std::uint8_t>(std::abs(first.Row(y)[at] - second.Row(y)[at]));
      }
    }
    return destination;
  }
};

}  // namespace

AlgorithmInterface* _LoadAlgorithm(const char* name, const int* pixelClassIds, int count) {
  static AbsoluteDifferenceSSE object;
  const bool isIt = std::strcmp(name, "AbsoluteDifference") == 0 && count == 2 &&
                    pixelClassIds[0] == PixelYUV422::ClassID &&
                    pixelClassIds[1] == PixelNoColor<unsigned char>::ClassID;
  return isIt ? &object : nullptr;
}

// Bit 25: SSE.
std::uint32_t getCPUFeature() {
  return 0x2000000;
}

// Above every member of the project, so that it is tried first.
std::uint32_t getLibraryPriority() {
  return 9;
}
