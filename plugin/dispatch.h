#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

#include "frame/interfaces/algorithm_interface.h"
#include "image/image.h"

namespace kv_plugin {

/// One combination of pixel classes that a member implements.
struct Row {
  // Identifiers are read from the image library at the moment of the call; the second is null for one image.
  // Functions, for on Windows the address of another library's variable is no constant.
  std::int32_t (*sourceClass)();
  std::int32_t (*destinationClass)();
  kv_img::AlgorithmInterface* (*instance)();
};

/// The combinations of one algorithm name.
struct Algorithm {
  const char* name;
  int count;
  std::span<const Row> rows;
};

/// The one process-wide object of an implementation class, made on first request and never destroyed.
template <class Implementation>
kv_img::AlgorithmInterface* Instance() {
  static_assert(std::is_trivially_destructible_v<Implementation> && sizeof(Implementation) == sizeof(void*),
                "an implementation is its table of operations alone");
  static Implementation object;
  return &object;
}

template <class PixelClass>
std::int32_t ClassIdOf() {
  return PixelClass::ClassID;
}

template <class PixelClass, class Implementation>
constexpr Row For() {
  return {&ClassIdOf<PixelClass>, nullptr, &Instance<Implementation>};
}

template <class PixelIn, class PixelOut, class Implementation>
constexpr Row For() {
  return {&ClassIdOf<PixelIn>, &ClassIdOf<PixelOut>, &Instance<Implementation>};
}

/// What a member answers: the first equal name decides, then the number of classes, then the first row whose
/// classes all match. Null when there is none. Identifiers are read only after the count was found right.
inline kv_img::AlgorithmInterface* Dispatch(std::span<const Algorithm> table, const char* name,
                                            const int* pixelClassIds, int count) {
  for (const Algorithm& algorithm : table) {
    if (std::strcmp(name, algorithm.name) != 0) continue;
    if (count != algorithm.count) return nullptr;
    for (const Row& row : algorithm.rows) {
      if (pixelClassIds[0] != row.sourceClass()) continue;
      if (row.destinationClass != nullptr && pixelClassIds[1] != row.destinationClass()) continue;
      return row.instance();
    }
    return nullptr;
  }
  return nullptr;
}

}  // namespace kv_plugin
