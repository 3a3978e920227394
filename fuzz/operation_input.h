#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace kv_fuzz {

/// Makes of the bytes a call of `algorithm` (pixel classes, images, regions, parameters) and compares all
/// bytes, values and exceptions of every member with the plain model.
void CompareMembers(const std::string& algorithm, std::span<const std::uint8_t> input);

}  // namespace kv_fuzz
