#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/colours.h"

namespace kv_host {

/// What calls of one algorithm came to.
struct OperationTally {
  std::string algorithm;
  std::string member;  ///< The member that answered.
  std::int64_t calls = 0;
  double milliseconds = 0;  ///< All calls together, from the first thread's start to the last one's return.

  double MillisecondsPerCall() const { return calls == 0 ? 0 : milliseconds / static_cast<double>(calls); }
};

/// Which operations a command called and how it took colours, in the order of their first calls. One thread
/// at a time.
class OperationLog {
 public:
  void Add(const std::string& algorithm, const std::string& member, double milliseconds);
  const std::vector<OperationTally>& Tallies() const { return tallies_; }
  /// Each different one once.
  void Add(const Crossing& crossing);
  const std::vector<Crossing>& Crossings() const { return crossings_; }

 private:
  std::vector<OperationTally> tallies_;
  std::vector<Crossing> crossings_;
};

}  // namespace kv_host
