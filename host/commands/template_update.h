#pragma once

#include <string>
#include <vector>

#include "run/tracker.h"

namespace kv_host {

/// The rule that --update gives: never, always, a number of frames, or on-score and a score. Throws UsageError.
kv_run::TemplateUpdate ParseTemplateUpdate(const std::vector<std::string>& words);

}  // namespace kv_host
