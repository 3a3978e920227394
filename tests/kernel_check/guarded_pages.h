#pragma once

#include <cstddef>
#include <cstdint>

namespace kv_check {

/// Memory between two protected pages: what reads or writes outside it crashes there.
class GuardedPages {
 public:
  explicit GuardedPages(std::size_t bytes);
  GuardedPages(const GuardedPages&) = delete;
  GuardedPages& operator=(const GuardedPages&) = delete;
  ~GuardedPages();

  /// One past the last byte; the forbidden page starts here.
  std::uint8_t* End() const { return end_; }
  /// The first byte; the forbidden page before ends here.
  std::uint8_t* Begin() const { return begin_; }

 private:
  std::size_t page_;
  std::size_t mapped_;
  std::uint8_t* begin_;
  std::uint8_t* end_;
};

}  // namespace kv_check
