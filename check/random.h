#pragma once

#include <cstdint>
#include <initializer_list>
#include <random>
#include <span>

namespace kv_check {

/// Repeatable random values: the same seed gives the same values on every compiler.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}
  /// Values taken from bytes: a choice among up to 256 takes one byte. After the last byte, as seed 0.
  /// The bytes must outlive this object.
  explicit Random(std::span<const std::uint8_t> choices) : engine_(0), choices_(choices) {}

  std::uint64_t Next() { return choices_.empty() ? engine_() : Chosen(~std::uint64_t{0}); }
  /// A value from `low` to `high`, both included.
  int Between(int low, int high) {
    const std::uint64_t span = static_cast<std::uint64_t>(std::int64_t{high} - low);
    return low + static_cast<int>((choices_.empty() ? engine_() : Chosen(span)) % (span + 1));
  }
  bool OneIn(int n) { return Between(1, n) == 1; }
  double Unit() { return static_cast<double>(Next() >> 11) * 0x1p-53; }
  template <class T>
  const T& Pick(std::span<const T> values) {
    return values[static_cast<std::size_t>(Between(0, static_cast<int>(values.size()) - 1))];
  }
  template <class T>
  T Pick(std::initializer_list<T> values) {
    return values.begin()[Between(0, static_cast<int>(values.size()) - 1)];
  }
  /// Random bytes, or now and then an extreme pattern: all 0, all 255, alternating, or few distinct values.
  void Fill(std::span<std::uint8_t> bytes);

 private:
  /// A value made of the number of bytes that `highest` takes.
  std::uint64_t Chosen(std::uint64_t highest);
  /// Eight bytes of every value.
  void FillFromEngine(std::span<std::uint8_t> bytes);

  std::mt19937_64 engine_;
  std::span<const std::uint8_t> choices_;
};

}  // namespace kv_check
