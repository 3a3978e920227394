#pragma once

#include <cstring>

#include "frame/algorithm_list.h"
#include "frame/interfaces/algorithm_interface.h"

namespace kv_plugin {

/// Returns the object of the first row of `Algorithm` that `pixelClassIds` match, or null. Defined for each
/// algorithm in a source file of its own, in plugin/rows/.
template <class Algorithm>
kv_img::AlgorithmInterface* Find(const int* pixelClassIds);

/// What a member answers: the first equal name decides, then the number of classes, then the first row whose
/// classes all match. Null when there is none. Identifiers are read only after the count was found right.
template <class... Algorithms>
kv_img::AlgorithmInterface* Dispatch(kv_img::TypeList<Algorithms...> /*list*/, const char* name,
                                     const int* pixelClassIds, int count) {
  kv_img::AlgorithmInterface* found = nullptr;
  const auto decides = [&]<class Algorithm>(Algorithm /*algorithm*/) {
    if (std::strcmp(name, Algorithm::name) != 0) return false;
    if (count == Algorithm::classCount) found = Find<Algorithm>(pixelClassIds);
    return true;
  };
  static_cast<void>((decides(Algorithms{}) || ...));
  return found;
}

}  // namespace kv_plugin
