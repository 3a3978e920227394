#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kv_host {

/// Names of files that hold one frame each, made from the name that a person gives: its `%06d` (or `%d`)
/// becomes the number, else `-` and the number go before the extension.
class FrameNames {
 public:
  /// `mayBePattern` false: a `%06d` in the name is a part of it. Throws FormatError for two of them.
  explicit FrameNames(const std::string& name, bool mayBePattern = true);

  /// Whether the name has a place for the number.
  bool IsPattern() const { return isPattern_; }
  /// The name of a frame: out.png, 7, 4 → out-0007.png. `digits`, of which there are at least that many,
  /// counts where the name does not state its own.
  std::string Of(std::int64_t number, int digits) const;
  /// The number of the frame that has this name by a pattern; empty when none has.
  std::optional<std::int64_t> NumberOf(const std::string& name) const;

 private:
  std::string before_;
  std::string after_;
  int digits_ = 0;
  bool isPattern_ = false;
};

}  // namespace kv_host
