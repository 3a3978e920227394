#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "algorithms/packed422/order.h"
#include "algorithms/simd/wide_level.h"

namespace kv_check {

/// One stream of bytes that a kernel reads or writes. A call of g groups touches exactly
/// [pointer - before, pointer + fixed + g * perGroup + after).
struct Stream {
  std::size_t perGroup = 0;
  /// Bytes that do not depend on the groups, such as a result.
  std::size_t fixed = 0;
  /// Bytes before the pointer and after the groups that are touched too, such as the neighbours of a filter.
  /// None are touched when there is no group.
  std::size_t before = 0;
  std::size_t after = 0;
  /// Bytes of an element: the pointer is a multiple of it.
  std::size_t element = 1;
  /// Changes random bytes, from begin to end, into ones that the kernel allows. None: it allows all.
  std::function<void(std::uint8_t* begin, std::uint8_t* end)> limit = {};
};

/// What one call works on. Constants of the record (weights, masks) are drawn from `seed`, the same for
/// every set.
struct Call {
  std::int32_t groups;
  std::uint64_t seed;
  const std::uint8_t** inputs;
  std::uint8_t** outputs;
};

/// A kernel of one set.
struct Variant {
  std::string set;
  /// Builds the record, calls the kernel and stores the advanced pointers back into the call.
  std::function<void(Call&)> run;
  /// Whether this processor has the instructions that the kernel needs.
  bool runsHere = true;
};

/// A kernel in all its sets, the first being the reference.
struct KernelCase {
  std::string name;
  std::vector<Stream> inputs;
  std::vector<Stream> outputs;
  std::vector<Variant> variants;
  /// Groups that the widest set takes in one step.
  int widestStep = 8;
};

/// Every kernel of the family with its sets: what the check tool and the benchmark walk.
const std::vector<KernelCase>& AllKernels();

/// Both byte orders.
constexpr kv_img::PackedOrder OrderFromBit(std::uint64_t bit) {
  return bit != 0 ? kv_img::PackedOrder::LumaFirst : kv_img::PackedOrder::ChromaFirst;
}

}  // namespace kv_check
