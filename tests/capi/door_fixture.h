#pragma once

#include <initializer_list>

#include "frame/algorithm_manager.h"
#include "frame/spin_barrier.h"
#include "tests/capi/guarded_frame.h"

namespace kv_test {

inline constexpr int packedFormats[] = {KV_FORMAT_UYVY, KV_FORMAT_YUY2};

template <class InterfaceClass>
struct AskedFor {
  using Interface = InterfaceClass;
};

/// The family's own operation, from the member that the door asks, too.
template <class Interface>
const Interface& Operation(const char* name, std::initializer_list<int> ids) {
  kv_img::ImplementationData<AskedFor<Interface>> data;
  kv_img::AlgorithmManager::GetInstance()->LoadImplementation(name, ids.begin(), static_cast<int>(ids.size()),
                                                              data);
  return *data.current;
}

/// Widths 1 to 130, rows at the end and at the start of their pages, top-down and bottom-up.
template <class Work>
void ForEachWidth(Work work) {
  for (int width = 1; width <= 130; ++width) {
    work(width, Placement::EndOfPage, width % 2 == 0);
    work(width, Placement::StartOfPage, width % 4 < 2);
  }
}

}  // namespace kv_test
