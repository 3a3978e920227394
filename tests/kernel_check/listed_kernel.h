#pragma once

#include <iterator>
#include <type_traits>
#include <utility>

#include "algorithms/simd/kernel.h"
#include "tests/kernel_check/kernel_case.h"
#include "tests/kernel_check/record_constants.h"

// What the check tool makes of a kernel type: records are drawn from its streams.

namespace kv_check {

/// The variants of a kernel in all sets, the reference first. `make` turns a function over its records into a
/// call.
template <class Kernel, class Make>
std::vector<Variant> AllSets(Make make) {
  using kv_img::WideLevel;
  std::vector<Variant> variants = {{"scalar", make(&Kernel::template Run<kv_img::Scalar>)}};
#if !defined(__aarch64__)
  if constexpr (!requires { Kernel::isWithoutMmx; }) {
    variants.push_back({"mmx", make(&Kernel::template Run<kv_img::Mmx>)});
  }
#endif
  const auto add = [&]<WideLevel level>() {
    variants.push_back({kv_img::NameOf(level), make(&Kernel::template Run<kv_img::Wide<level>>),
                        level <= kv_img::SupportedLevel()});
  };
  [&]<std::size_t... i>(std::index_sequence<i...>) {
    (add.template operator()<kv_img::wideLevels[i]>(), ...);
  }
  (std::make_index_sequence<std::size(kv_img::wideLevels)>());
  return variants;
}

template <class Args, class StreamType>
using PointerOf = std::remove_cvref_t<decltype(std::declval<Args&>().*StreamType::pointer)>;
template <class Args, class StreamType>
inline constexpr bool isInput = std::is_const_v<std::remove_pointer_t<PointerOf<Args, StreamType>>>;

/// The pointers of a call, in the order of the streams: what a kernel reads is an input, the rest are
/// outputs.
struct CallPointers {
  const std::uint8_t** input;
  std::uint8_t** output;

  explicit CallPointers(const Call& call) : input(call.inputs), output(call.outputs) {}
  template <class StreamType, class Args>
  void MoveInto(Args& args) {
    using Pointer = PointerOf<Args, StreamType>;
    if constexpr (isInput<Args, StreamType>) {
      args.*StreamType::pointer = reinterpret_cast<Pointer>(*input++);
    } else {
      args.*StreamType::pointer = reinterpret_cast<Pointer>(*output++);
    }
  }
  template <class StreamType, class Args>
  void TakeFrom(const Args& args) {
    if constexpr (isInput<Args, StreamType>) {
      *input++ = reinterpret_cast<const std::uint8_t*>(args.*StreamType::pointer);
    } else {
      *output++ = reinterpret_cast<std::uint8_t*>(args.*StreamType::pointer);
    }
  }
};

template <class Args, class... Streams>
void RunRecord(void (*kernel)(Args&) noexcept, Call& call, kv_img::StreamList<Streams...> /*streams*/) {
  Args args{};
  args.groups = call.groups;
  if constexpr (requires { DrawConstants(args, call.seed); }) {
    DrawConstants(args, call.seed);
  } else {
    static_assert(sizeof args == (1 + sizeof...(Streams)) * sizeof(void*),
                  "constants of the record are not drawn");
  }
  CallPointers before(call);
  (before.MoveInto<Streams>(args), ...);
  kernel(args);
  CallPointers after(call);
  (after.TakeFrom<Streams>(args), ...);
}

template <class Args, class... Streams>
void AddStreams(KernelCase& made, kv_img::StreamList<Streams...> /*streams*/) {
  ((isInput<Args, Streams> ? made.inputs : made.outputs)
       .push_back({.perGroup = Streams::perGroup,
                   .before = Streams::before,
                   .after = Streams::after,
                   .element = sizeof(std::remove_pointer_t<PointerOf<Args, Streams>>)}),
   ...);
}

/// The case of a kernel whose streams say all that a record needs.
template <class Kernel>
KernelCase CaseOf() {
  using Args = typename Kernel::Args;
  KernelCase made;
  made.name = Kernel::name;
  AddStreams<Args>(made, typename Kernel::Streams());
  made.variants = AllSets<Kernel>([](void (*kernel)(Args&) noexcept) {
    return [kernel](Call& call) { RunRecord(kernel, call, typename Kernel::Streams()); };
  });
  return made;
}

}  // namespace kv_check
