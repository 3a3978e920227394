#include "plugin/kv_algoC/portable_rows.h"
#include "plugin/member.h"

namespace {

KV_MEMBER_CLASSES(C);

struct Rows : kv_plugin::CommonRows<Classes> {
  static constexpr auto copy =
      kv_plugin::Join(kv_plugin::CommonRows<Classes>::copy, kv_plugin::portable_rows::copy);
  static constexpr auto averageFilter = kv_plugin::FilterRows<Classes>();
};

}  // namespace

kv_img::AlgorithmInterface* _LoadAlgorithm(const char* name, const int* pixelClassIds, int count) {
  return kv_plugin::Dispatch(kv_plugin::table<Rows>, name, pixelClassIds, count);
}

// Bit 0: a floating-point unit, which every x86-64 processor has.
std::uint32_t getCPUFeature() {
  return 0x1;
}

std::uint32_t getLibraryPriority() {
  return 1;
}
