#include "plugin/member.h"

namespace {

KV_MEMBER_CLASSES(SSE2);

struct Rows : kv_plugin::CommonRows<Classes> {
  static constexpr auto averageFilter = kv_plugin::FilterRows<Classes>();
};

}  // namespace

kv_img::AlgorithmInterface* _LoadAlgorithm(const char* name, const int* pixelClassIds, int count) {
  return kv_plugin::Dispatch(kv_plugin::table<Rows>, name, pixelClassIds, count);
}

// Bit 26: SSE2. What lies beyond it is asked of the processor before it is used.
std::uint32_t getCPUFeature() {
  return 0x4000000;
}

std::uint32_t getLibraryPriority() {
  return 5;
}
