#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kv_host {

/// A request that a member may answer: an algorithm's name and pixel classes.
struct Combination {
  const char* algorithm;
  std::vector<const char*> classNames;  ///< as people write them: "yuv422"
  std::vector<int> ids;

  /// "Copy:yuv422:dib24"
  std::string Text() const;
};

/// Every algorithm with every choice of pixel classes.
std::vector<Combination> AllCombinations();

/// A combination out of its text; letter case of pixel classes does not matter. Throws UsageError that names
/// what is wrong.
Combination ParseCombination(const std::string& text, const std::string& option);

}  // namespace kv_host
