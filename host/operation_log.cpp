#include "host/operation_log.h"

#include <algorithm>

namespace kv_host {

void OperationLog::Add(const std::string& algorithm, const std::string& member, double milliseconds) {
  auto tally = std::ranges::find(tallies_, algorithm, &OperationTally::algorithm);
  if (tally == tallies_.end()) tally = tallies_.insert(tally, {.algorithm = algorithm, .member = member});
  ++tally->calls;
  tally->milliseconds += milliseconds;
}

void OperationLog::Add(const Crossing& crossing) {
  if (std::ranges::find(crossings_, crossing) == crossings_.end()) crossings_.push_back(crossing);
}

}  // namespace kv_host
