#pragma once

#include <type_traits>

#include "plugin/dispatch.h"
#include "plugin/members.h"

// The rows of one algorithm in the member that is compiled.

/// `KV_OFFER(Algorithm)` implements the rows of an algorithm by the member's class of its name;
/// `KV_OFFER(Algorithm, Other)` those rows that only some members offer by `Other`.
#define KV_OFFER(algorithm, ...)                                                               \
  template <>                                                                                  \
  struct kv_plugin::ImplementationsOf<kv_img::algorithms::algorithm>                           \
      : Implementations<KV_CLASS(kv_img::algorithm, KV_MEMBER) __VA_OPT__(, ) __VA_ARGS__> {}; \
  template kv_img::AlgorithmInterface* kv_plugin::Find<kv_img::algorithms::algorithm>(         \
      const int* pixelClassIds)
#define KV_CLASS(algorithm, member) KV_PASTE(algorithm, member)
#define KV_PASTE(algorithm, member) algorithm##member

namespace kv_plugin {

template <template <class...> class Common, template <class...> class More = Common>
struct Implementations {
  template <class... Images>
  using OfRows = Common<Images...>;
  template <class... Images>
  using OfMoreRows = More<Images...>;
};
template <class Algorithm>
struct ImplementationsOf;

/// The one process-wide object of an implementation class, made on first request and never destroyed.
template <class Implementation>
kv_img::AlgorithmInterface* Instance() {
  static_assert(std::is_trivially_destructible_v<Implementation> && sizeof(Implementation) == sizeof(void*),
                "an implementation is its table of operations alone");
  static Implementation object;
  return &object;
}

/// The images of a row: of a pixel class, or itself.
template <class Class>
struct ImageOfClass {
  using Type = kv_img::Image<Class>;
};
template <class PixelClass>
struct ImageOfClass<kv_img::Image<PixelClass>> {
  using Type = kv_img::Image<PixelClass>;
};

/// Identifiers are read from the image library at the moment of the call.
template <template <class...> class Implementation, class... Rows>
kv_img::AlgorithmInterface* FirstOf(kv_img::TypeList<Rows...> /*rows*/, const int* pixelClassIds) {
  kv_img::AlgorithmInterface* found = nullptr;
  [[maybe_unused]] const auto matches = [&]<class... Classes>(kv_img::PixelClasses<Classes...> /*row*/) {
    const int* id = pixelClassIds;
    if (!((*id++ == Classes::ClassID) && ...)) return false;
    found = Instance<Implementation<typename ImageOfClass<Classes>::Type...>>();
    return true;
  };
  static_cast<void>((matches(Rows{}) || ...));
  return found;
}

template <class Algorithm>
kv_img::AlgorithmInterface* Find(const int* pixelClassIds) {
  using Classes = ImplementationsOf<Algorithm>;
  auto* found = FirstOf<Classes::template OfRows>(typename Algorithm::Rows{}, pixelClassIds);
  if constexpr (members::KV_MEMBER::offersMore<Algorithm>) {
    if (found == nullptr)
      found = FirstOf<Classes::template OfMoreRows>(typename Algorithm::MoreRows{}, pixelClassIds);
  }
  return found;
}

}  // namespace kv_plugin
