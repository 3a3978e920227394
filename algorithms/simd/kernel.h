#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

// A kernel is one type:
//
//   struct SwapBytes {
//     struct Args { std::int32_t groups; const std::uint8_t* source; std::uint8_t* destination; };
//     static constexpr const char* name = "copy/SwapBytes";
//     using Streams = StreamList<In<&Args::source, 8>, Out<&Args::destination, 8>>;
//     template <class Set>
//     static void Run(Args& args) noexcept;
//   };
//
// Its comment is the contract. Run is specialised once per set, each in a file of its own. A kernel advances
// its pointers past the data it consumed, leaves the SIMD state clean, keeps no state and touches no other
// bytes than its streams say. The check tool and the benchmark read the streams too. algorithms/kernel_list.h
// lists the kernels.

namespace kv_img {

// The sets.
/// Plain C++, the reference.
struct Scalar;
/// 64-bit words.
struct Mmx;
/// The registers of one level.
template <WideLevel>
struct Wide;

/// A stream of bytes of a record. A call of g groups touches [pointer - before, pointer + g * perGroup +
/// after), and nothing at all when there is no group. The pointer is advanced by g * perGroup bytes.
template <auto memberPointer, int bytesPerGroup, int bytesBefore, int bytesAfter>
struct StreamOf {
  static constexpr auto pointer = memberPointer;
  static constexpr int perGroup = bytesPerGroup;
  static constexpr int before = bytesBefore;
  static constexpr int after = bytesAfter;
};

/// A stream that is read.
template <auto pointer, int perGroup, int before = 0, int after = 0>
struct In : StreamOf<pointer, perGroup, before, after> {};
/// A stream that is written.
template <auto pointer, int perGroup>
struct Out : StreamOf<pointer, perGroup, 0, 0> {};
/// A stream that is changed in place.
template <auto pointer, int perGroup>
struct InOut : StreamOf<pointer, perGroup, 0, 0> {};

template <class... Streams>
struct StreamList {};

}  // namespace kv_img
