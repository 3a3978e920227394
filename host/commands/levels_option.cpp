#include "host/commands/levels_option.h"

#include <string>

#include "host/errors.h"

namespace kv_host {

void LevelsOptions::AddTo(CLI::App& command) {
  const auto byDefault = [](int level) { return " (default: " + std::to_string(level) + ")"; };
  command
      .add_option("--low", levels.low,
                  "this level of the mask and those below become 0" + byDefault(levels.low))
      ->check(CLI::Range(0, 254))
      ->type_name("LEVEL");
  command
      .add_option("--high", levels.high,
                  "this level of the mask and those above become 255" + byDefault(levels.high))
      ->check(CLI::Range(1, 255))
      ->type_name("LEVEL");
  command
      .add_option("--gamma", levels.gamma,
                  "0.1 to 10: above 1 the levels in between become brighter (default: 1)")
      ->check(CLI::Range(kv_run::leastGamma, kv_run::mostGamma))
      ->type_name("G");
  command.add_flag("--invert", isTurned, "exchange 0 and 255 of the mask");
}

kv_run::MaskLevels LevelsOptions::Get() const {
  if (levels.low >= levels.high) {
    throw UsageError("--low: " + std::to_string(levels.low) + " is not below --high, which is " +
                     std::to_string(levels.high));
  }
  kv_run::MaskLevels given = levels;
  given.isInverted = levels.isInverted != isTurned;
  return given;
}

}  // namespace kv_host
