#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kv_host {

/// What calls of one algorithm came to.
struct OperationTally {
  std::string algorithm;
  std::string member;  ///< The member that answered.
  std::int64_t calls = 0;
  double milliseconds = 0;  ///< All calls together, from the first thread's start to the last one's return.

  double MillisecondsPerCall() const { return calls == 0 ? 0 : milliseconds / static_cast<double>(calls); }
};

/// Which operations a command called, in the order of their first calls. One thread at a time.
class OperationLog {
 public:
  void Add(const std::string& algorithm, const std::string& member, double milliseconds);
  const std::vector<OperationTally>& Tallies() const { return tallies_; }

 private:
  std::vector<OperationTally> tallies_;
};

}  // namespace kv_host
