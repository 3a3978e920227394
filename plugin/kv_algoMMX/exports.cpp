#include "plugin/member.h"

namespace {

KV_MEMBER_CLASSES(MMX);

}  // namespace

kv_img::AlgorithmInterface* _LoadAlgorithm(const char* name, const int* pixelClassIds, int count) {
  return kv_plugin::Dispatch(kv_plugin::table<kv_plugin::CommonRows<Classes>>, name, pixelClassIds, count);
}

// Bit 23: MMX.
std::uint32_t getCPUFeature() {
  return 0x800000;
}

std::uint32_t getLibraryPriority() {
  return 3;
}
