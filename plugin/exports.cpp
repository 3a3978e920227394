#include "plugin/exports.h"

#include "frame/spin_barrier.h"
#include "plugin/dispatch.h"
#include "plugin/members.h"

namespace {

using Member = kv_plugin::members::KV_MEMBER;

// Stands ready while the member is loaded.
[[maybe_unused]] const kv_std::SpinBarrier idleBarrier(1);

}  // namespace

kv_img::AlgorithmInterface* _LoadAlgorithm(const char* name, const int* pixelClassIds, int count) {
  return kv_plugin::Dispatch(kv_img::algorithms::All{}, name, pixelClassIds, count);
}

std::uint32_t getCPUFeature() {
  return Member::feature;
}

std::uint32_t getLibraryPriority() {
  return Member::priority;
}
