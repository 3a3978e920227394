#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kv_host {

/// An object or an array as JSON text. Unlike a tree of values it can be destroyed when memory is short.
class JsonText {
 public:
  static JsonText Object() { return JsonText('{', '}'); }
  static JsonText Array() { return JsonText('[', ']'); }

  /// Adds a member to an object.
  template <class Value>
  JsonText& Add(std::string_view key, const Value& value) {
    Append(Of(key) + ": " + Of(value));
    return *this;
  }
  /// Adds an element to an array.
  template <class Value>
  JsonText& Add(const Value& value) {
    Append(Of(value));
    return *this;
  }

  /// The text on several lines, without a line end after the last.
  std::string Text() const;

  /// The same on one line.
  std::string Line() const;

  /// Text in quotes; bytes that are no UTF-8 become U+FFFD.
  static std::string Of(std::string_view text);
  static std::string Of(const char* text) { return Of(std::string_view(text)); }
  static std::string Of(const std::string& text) { return Of(std::string_view(text)); }
  static std::string Of(bool value) { return value ? "true" : "false"; }
  /// The shortest number that reads back as the same; null for what is no number.
  static std::string Of(double value);
  static std::string Of(std::integral auto value) { return std::to_string(value); }
  static std::string Of(const JsonText& value) { return value.Text(); }
  template <class Value>
  static std::string Of(const std::optional<Value>& value) {
    return value ? Of(*value) : "null";
  }
  template <class Value>
  static std::string Of(const std::vector<Value>& values) {
    JsonText array = Array();
    for (const Value& value : values) array.Add(value);
    return array.Text();
  }

 private:
  JsonText(char open, char close) : open_(open), close_(close) {}
  void Append(const std::string& item);

  char open_;
  char close_;
  std::string items_;
};

}  // namespace kv_host
