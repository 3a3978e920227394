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

  std::uint64_t Next() { return engine_(); }
  /// A value from `low` to `high`, both included.
  int Between(int low, int high) {
    return low + static_cast<int>(engine_() % (static_cast<std::uint64_t>(std::int64_t{high} - low) + 1));
  }
  bool OneIn(int n) { return Between(1, n) == 1; }
  double Unit() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }
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
  std::mt19937_64 engine_;
};

}  // namespace kv_check
