#pragma once

#include <cstdint>

#include "algorithms/simd/wide_level.h"

// A kernel is a struct: its record `Args` with a group count and the pointers, its `name`, the `Streams` that
// its pointers are, and `Run<Set>`, specialised once per set, each in a file of its own. Its comment is the
// contract.
//
// Every kernel advances its pointers past the data it consumed, leaves the SIMD state clean and keeps no
// state; it reads and writes what its streams say and no other byte. algorithms/kernel_list.h lists them all.

namespace kv_img {

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
