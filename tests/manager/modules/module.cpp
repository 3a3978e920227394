// A small family member for tests of the algorithm manager. Compile definitions say what it exports:
//   KV_TEST_PRIORITY  getLibraryPriority, which answers this
//   KV_TEST_FEATURE   getCPUFeature, which answers this
//   KV_TEST_ANSWERS   _LoadAlgorithm; 1: answers "AverageFilter", 0: answers null to everything
//   KV_TEST_THROWS    1: getLibraryPriority throws, 2: getCPUFeature, 3: _LoadAlgorithm
#include <cstring>
#include <stdexcept>

#include "frame/interfaces/average_filter.h"
#include "image/image.h"
#include "plugin/exports.h"

#if !defined(KV_TEST_THROWS)
#define KV_TEST_THROWS 0
#endif

#if defined(KV_TEST_PRIORITY)
std::uint32_t getLibraryPriority() {
  if (KV_TEST_THROWS == 1) throw std::runtime_error("no priority today");
  return KV_TEST_PRIORITY;
}
#endif

#if defined(KV_TEST_FEATURE)
std::uint32_t getCPUFeature() {
  if (KV_TEST_THROWS == 2) throw 7;
  return KV_TEST_FEATURE;
}
#endif

#if defined(KV_TEST_ANSWERS)
namespace {

using Grey = kv_img::Image<kv_img::PixelNoColor<unsigned char>>;

/// "Smooths" by writing its arguments, and the module's priority, into the first row.
class Filter final : public kv_img::AverageFilterAlgorithmInterface<Grey> {
 public:
  Grey& Apply(const Grey& source, Grey& destination, const kv_img::RegionOfSupport& region,
              std::uint32_t windowSize, kv_std::SpinBarrier& barrier,
              std::uint32_t threadIndex) const override {
    const auto row = destination.Row(0);
    row[0] = KV_TEST_PRIORITY;
    row[1] = source.Row(0)[0];
    row[2] = static_cast<std::uint8_t>(region.GetBottom());
    row[3] = static_cast<std::uint8_t>(windowSize);
    row[4] = static_cast<std::uint8_t>(barrier.GetThreadCount());
    row[5] = static_cast<std::uint8_t>(threadIndex);
    return destination;
  }
};

int timesAsked = 0;

}  // namespace

kv_img::AlgorithmInterface* _LoadAlgorithm(const char* name, const int* /*pixelClassIds*/, int /*count*/) {
  static Filter filter;
  ++timesAsked;
  if (KV_TEST_THROWS == 3) throw std::runtime_error("no answer today");
  return KV_TEST_ANSWERS != 0 && std::strcmp(name, "AverageFilter") == 0 ? &filter : nullptr;
}

/// How often the module was asked since it was loaded.
extern "C" KV_PLUGIN_EXPORT int kvTestTimesAsked() {
  return timesAsked;
}
#endif
