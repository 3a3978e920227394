#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace kv_test {

/// Where and why a document breaks a JSON Schema; empty when it does not. Throws std::runtime_error for a
/// keyword that it does not know.
std::string SchemaProblem(const nlohmann::json& document, const nlohmann::json& schema);

}  // namespace kv_test
