#pragma once

#include <CLI/CLI.hpp>

#include "run/mask_levels.h"

namespace kv_host {

/// Options that spread the levels of a mask.
struct LevelsOptions {
  kv_run::MaskLevels levels;
  bool isTurned = false;

  /// The defaults are those that `levels` has; --invert turns them round.
  void AddTo(CLI::App& command);
  /// Throws UsageError unless low is below high.
  kv_run::MaskLevels Get() const;
};

}  // namespace kv_host
