#pragma once

#include <string>

namespace kv_fuzz {

/// Ends the program, for the fuzzer to keep the input, when `isTrue` is false.
void Require(bool isTrue, const std::string& what);

}  // namespace kv_fuzz
