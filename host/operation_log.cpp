#include "host/operation_log.h"

#include <algorithm>

namespace kv_host {

void OperationLog::Add(const std::string& algorithm, const std::string& member, double milliseconds) {
  auto tally = std::ranges::find(tallies_, algorithm, &OperationTally::algorithm);
  if (tally == tallies_.end()) tally = tallies_.insert(tally, {.algorithm = algorithm, .member = member});
  ++tally->calls;
  tally->milliseconds += milliseconds;
}

}  // namespace kv_host
