#include "tests/host/json_schema.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace kv_test {
namespace {

using nlohmann::json;

class Validator {
 public:
  explicit Validator(const json& root) : root_(root) {}

  std::string Problem(const json& value, const json& schema, const std::string& where) const {
    for (const auto& [keyword, rule] : schema.items()) {
      const std::string problem = ProblemOf(keyword, rule, value, schema, where);
      if (!problem.empty()) return problem;
    }
    return {};
  }

 private:
  static bool IsOfType(const json& value, const std::string& type) {
    if (type == "null") return value.is_null();
    if (type == "boolean") return value.is_boolean();
    if (type == "integer") return value.is_number_integer();
    if (type == "number") return value.is_number();
    if (type == "string") return value.is_string();
    if (type == "array") return value.is_array();
    if (type == "object") return value.is_object();
    throw std::runtime_error("unknown type " + type);
  }

  std::string ProblemOf(const std::string& keyword, const json& rule, const json& value, const json& schema,
                        const std::string& where) const {
    const auto unless = [&](bool holds) {
      return holds ? "" : where + " breaks " + keyword + ": " + value.dump();
    };
    if (keyword == "$schema" || keyword == "title" || keyword == "$defs") return {};
    if (keyword == "$ref")
      return Problem(value, root_.at(json::json_pointer(rule.get<std::string>().substr(1))), where);
    if (keyword == "const") return unless(value == rule);
    if (keyword == "enum") return unless(std::ranges::find(rule, value) != rule.end());
    if (keyword == "type") {
      const auto types =
          rule.is_array() ? rule.get<std::vector<std::string>>() : std::vector{rule.get<std::string>()};
      return unless(
          std::ranges::any_of(types, [&](const std::string& type) { return IsOfType(value, type); }));
    }
    if (keyword == "anyOf") {
      return unless(
          std::ranges::any_of(rule, [&](const json& one) { return Problem(value, one, where).empty(); }));
    }
    if (keyword == "minItems") return unless(value.size() >= rule.get<std::size_t>());
    if (keyword == "maxItems") return unless(value.size() <= rule.get<std::size_t>());
    if (keyword == "items") {
      for (std::size_t i = 0; value.is_array() && i < value.size(); ++i) {
        const std::string problem = Problem(value[i], rule, where + "/" + std::to_string(i));
        if (!problem.empty()) return problem;
      }
      return {};
    }
    if (keyword == "required") {
      return unless(
          std::ranges::all_of(rule, [&](const json& key) { return value.contains(key.get<std::string>()); }));
    }
    if (keyword == "additionalProperties" && rule == false) {
      for (const auto& [key, unused] : value.items()) {
        if (!schema["properties"].contains(key)) return where + " has the unknown key " + key;
      }
      return {};
    }
    if (keyword == "properties") {
      for (const auto& [key, one] : rule.items()) {
        if (!value.is_object() || !value.contains(key)) continue;
        const std::string problem = Problem(value[key], one, where + "/" + key);
        if (!problem.empty()) return problem;
      }
      return {};
    }
    throw std::runtime_error("unknown keyword " + keyword);
  }

  const json& root_;
};

}  // namespace

std::string SchemaProblem(const nlohmann::json& document, const nlohmann::json& schema) {
  return Validator(schema).Problem(document, schema, "report");
}

}  // namespace kv_test
