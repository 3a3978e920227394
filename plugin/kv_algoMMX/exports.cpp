#include "plugin/exports.h"

#include "algorithms/copy/copy.h"
#include "algorithms/copy/yuv422_to_yuv422.h"
#include "frame/spin_barrier.h"
#include "plugin/dispatch.h"

namespace {

using namespace kv_img;
using kv_plugin::For;
using kv_plugin::Row;

// Stands ready while the member is loaded.
[[maybe_unused]] const kv_std::SpinBarrier idleBarrier(1);

template <class In, class Out>
constexpr Row copyRow = For<In, Out, CopyMMX<Image<In>, Image<Out>>>();

constexpr Row copyRows[] = {
    copyRow<PixelYUV422, PixelYUV422>,
};

constexpr kv_plugin::Algorithm table[] = {
    {"Copy", 2, copyRows},
};

}  // namespace

kv_img::AlgorithmInterface* _LoadAlgorithm(const char* name, const int* pixelClassIds, int count) {
  return kv_plugin::Dispatch(table, name, pixelClassIds, count);
}

std::uint32_t getCPUFeature() {
  return 0x800000;
}

std::uint32_t getLibraryPriority() {
  return 3;
}
