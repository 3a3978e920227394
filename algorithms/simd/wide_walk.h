#pragma once

#include <type_traits>
#include <utility>

#include "algorithms/simd/kernel.h"
#include "algorithms/simd/wide_registers.h"

namespace kv_img {
namespace {

/// Copies `count` bytes, at least `bytes`, in steps of `bytes`; the last step overlaps the one before it.
template <int bytes>
KV_INLINE void CopyInSteps(std::uint8_t* to, const std::uint8_t* from, std::int32_t count) {
  for (std::int32_t done = 0; done < count - bytes; done += bytes) std::memcpy(to + done, from + done, bytes);
  std::memcpy(to + count - bytes, from + count - bytes, bytes);
}
/// Copies up to `most` bytes, a few registers: faster than a call.
template <int most>
KV_INLINE void CopyFew(std::uint8_t* to, const std::uint8_t* from, std::int32_t count) {
  if constexpr (most >= 16) {
    if (count >= 16) return CopyInSteps<16>(to, from, count);
  }
  if constexpr (most >= 8) {
    if (count >= 8) return CopyInSteps<8>(to, from, count);
  }
  if constexpr (most >= 4) {
    if (count >= 4) return CopyInSteps<4>(to, from, count);
  }
  for (std::int32_t done = 0; done < count; ++done) to[done] = from[done];
}

/// Stores the bytes of a buffer from `first` on.
template <int bytes>
KV_INLINE void StoreFrom(std::uint8_t* to, const std::uint8_t* buffer, std::int32_t first) {
#if KV_WIDE_LEVEL >= 2 && !KV_NEON
  if constexpr (bytes % 64 == 0) {
    for (std::int32_t i = 0; i < bytes; i += 64) {
      if (first < i + 64) {
        const __mmask64 wanted = first <= i ? ~__mmask64{0} : ~__mmask64{0} << (first - i);
        _mm512_mask_storeu_epi8(to + i, wanted, _mm512_loadu_si512(buffer + i));
      }
    }
    return;
  }
  if constexpr (bytes == 32) {
    _mm256_mask_storeu_epi8(to, ~__mmask32{0} << first,
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(buffer)));
    return;
  }
#endif
  CopyFew<bytes>(to + first, buffer + first, bytes - first);
}

// What is left of a stream after its last whole step, `groups` groups of `most`, is worked on once more
// together with what is before it. What is written goes through a buffer, so that a stream that is read and
// written in place stays right. When there was no whole step, what is read goes through a buffer too.

/// A pointer into a stream that is read: `perGroup` bytes a group, `before` and `after` bytes around all of
/// them.
template <int perGroup, int before = 0, int after = 0, class Element = std::uint8_t>
struct Reading {
  static constexpr int elements = perGroup / static_cast<int>(sizeof(Element));
  const Element*& pointer;

  template <int most>
  struct Rest {
    alignas(64) std::uint8_t buffer[before + most * perGroup + after];
    const Element* begin;
    Rest(const Reading& in, std::int32_t groups, bool isAfterSteps) {
      if (isAfterSteps) {
        begin = in.pointer - (most - groups) * elements;
      } else {
        std::memset(buffer, 0, sizeof buffer);
        CopyFew<before + most * perGroup + after>(buffer,
                                                  reinterpret_cast<const std::uint8_t*>(in.pointer) - before,
                                                  before + groups * perGroup + after);
        begin = reinterpret_cast<const Element*>(buffer + before);
      }
    }
    Rest(const Rest&) = delete;
    const Element* Begin() const { return begin; }
    void Finish(const Reading& in, std::int32_t groups) const { in.pointer += groups * elements; }
  };

  /// A whole row: where it is, or, when it is shorter than a step, a copy that its last group fills.
  template <int most>
  struct Row {
    alignas(64) std::uint8_t buffer[most * perGroup];
    const Element* begin;
    Row(const Reading& in, std::int32_t groups) : begin(in.pointer) {
      if (groups >= most) return;
      CopyFew<most * perGroup>(buffer, reinterpret_cast<const std::uint8_t*>(begin), groups * perGroup);
      for (std::int32_t group = groups; group < most; ++group)
        std::memcpy(buffer + group * perGroup, buffer + (groups - 1) * perGroup, perGroup);
      begin = reinterpret_cast<const Element*>(buffer);
    }
    Row(const Row&) = delete;
    const Element* Begin() const { return begin; }
    void Finish(const Reading& in, std::int32_t groups) const { in.pointer += groups * elements; }
  };
};
/// A pointer into a stream that is written, and with `isRead` read first.
template <int perGroup, bool isRead = false, class Element = std::uint8_t>
struct Writing {
  static constexpr int elements = perGroup / static_cast<int>(sizeof(Element));
  Element*& pointer;

  template <int most>
  struct Rest {
    alignas(64) std::uint8_t buffer[most * perGroup];
    const std::int32_t skipped;
    Rest(const Writing& out, std::int32_t groups, bool isAfterSteps)
        : skipped(isAfterSteps ? (most - groups) * perGroup : 0) {
      if constexpr (isRead) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(out.pointer);
        if (isAfterSteps) {
          std::memcpy(buffer, bytes - skipped, sizeof buffer);
        } else {
          std::memset(buffer, 0, sizeof buffer);
          CopyFew<most * perGroup>(buffer, bytes, groups * perGroup);
        }
      }
    }
    Element* Begin() { return reinterpret_cast<Element*>(buffer); }
    void Finish(const Writing& out, std::int32_t groups) const {
      auto* const to = reinterpret_cast<std::uint8_t*>(out.pointer);
      if (skipped > 0) {
        StoreFrom<most * perGroup>(to - skipped, buffer, skipped);
      } else {
        CopyFew<most * perGroup>(to, buffer, groups * perGroup);
      }
      out.pointer += groups * elements;
    }
  };

  template <int most>
  struct Row {
    alignas(64) std::uint8_t buffer[most * perGroup];
    Element* begin;
    Row(const Writing& out, std::int32_t groups)
        : begin(groups >= most ? out.pointer : reinterpret_cast<Element*>(buffer)) {}
    Row(const Row&) = delete;
    Element* Begin() const { return begin; }
    void Finish(const Writing& out, std::int32_t groups) const {
      if (groups < most)
        CopyFew<most * perGroup>(reinterpret_cast<std::uint8_t*>(out.pointer), buffer, groups * perGroup);
      out.pointer += groups * elements;
    }
  };
};

/// Calls `step` with the pointers of `groupsPerStep` groups at a time, and for what is left over with those
/// of rests, so that a step never touches a byte beyond the groups. Advances the pointers.
template <int groupsPerStep, class Step, class... Places>
KV_INLINE void WalkPlaces(std::int32_t groups, Step step, Places... places) {
  if (groups <= 0) return;
  const bool hasSteps = groups >= groupsPerStep;
  [&](auto*... pointers) {
    for (; groups >= groupsPerStep; groups -= groupsPerStep) {
      step(pointers...);
      ((pointers += groupsPerStep * Places::elements), ...);
    }
    ((places.pointer = pointers), ...);
  }(places.pointer...);
  if (groups == 0) return;
  [&](auto&&... rests) {
    step(rests.Begin()...);
    (rests.Finish(places, groups), ...);
  }(typename Places::template Rest<groupsPerStep>(places, groups, hasSteps)...);
}

/// Which ends of a row the groups of a step reach.
struct RowEnds {
  bool isFirst;
  bool isLast;
};

/// Calls `step` with the ends and the pointers of `groupsPerStep` groups at a time, of groups that are a whole
/// row. The last step overlaps the one before it, so the streams must not overlap each other. A step never
/// touches a byte beyond the row. Advances the pointers.
template <int groupsPerStep, class Step, class... Places>
KV_INLINE void WalkRowPlaces(std::int32_t groups, Step step, Places... places) {
  if (groups <= 0) return;
  [&](auto&&... rows) {
    [&](std::int32_t last, auto*... pointers) {
      for (std::int32_t group = 0;; group += groupsPerStep) {
        const bool isLast = group >= last;
        if (isLast) group = last;
        step(RowEnds{group == 0, isLast}, pointers + group * Places::elements...);
        if (isLast) return;
      }
    }(groups < groupsPerStep ? 0 : groups - groupsPerStep, rows.Begin()...);
    (rows.Finish(places, groups), ...);
  }(typename Places::template Row<groupsPerStep>(places, groups)...);
}

template <auto pointer, class Args>
using ElementOf = std::remove_cv_t<
    std::remove_pointer_t<std::remove_reference_t<decltype(std::declval<Args&>().*pointer)>>>;

template <auto pointer, int perGroup, int before, int after, class Args>
KV_INLINE auto PlaceOf(Args& args, In<pointer, perGroup, before, after> /*stream*/) {
  return Reading<perGroup, before, after, ElementOf<pointer, Args>>{args.*pointer};
}
template <auto pointer, int perGroup, class Args>
KV_INLINE auto PlaceOf(Args& args, Out<pointer, perGroup> /*stream*/) {
  return Writing<perGroup, false, ElementOf<pointer, Args>>{args.*pointer};
}
template <auto pointer, int perGroup, class Args>
KV_INLINE auto PlaceOf(Args& args, InOut<pointer, perGroup> /*stream*/) {
  return Writing<perGroup, true, ElementOf<pointer, Args>>{args.*pointer};
}

template <int groupsPerStep, class Args, class Step, class... Streams>
KV_INLINE void WalkStreams(Args& args, Step step, StreamList<Streams...> /*streams*/) {
  WalkPlaces<groupsPerStep>(args.groups, step, PlaceOf(args, Streams())...);
}

/// Calls `step` with pointers into the streams of a record, in their order.
template <class Streams, int groupsPerStep, class Args, class Step>
KV_INLINE void Walk(Args& args, Step step) {
  WalkStreams<groupsPerStep>(args, step, Streams());
}

template <int groupsPerStep, class Args, class Step, class... Streams>
KV_INLINE void WalkRowOfStreams(Args& args, Step step, StreamList<Streams...> /*streams*/) {
  WalkRowPlaces<groupsPerStep>(args.groups, step, PlaceOf(args, Streams())...);
}

/// Calls `step` with the ends of a row and pointers into the streams of a record, in their order.
template <class Streams, int groupsPerStep, class Args, class Step>
KV_INLINE void WalkRow(Args& args, Step step) {
  WalkRowOfStreams<groupsPerStep>(args, step, Streams());
}

}  // namespace
}  // namespace kv_img
