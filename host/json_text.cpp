#include "host/json_text.h"

#include <charconv>
#include <cmath>

namespace kv_host {
namespace {

/// Bytes of the UTF-8 character that begins at `at`; 0 when none does.
std::size_t CharacterLength(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U;
  };
  const unsigned lead = byte(0);
  if (lead < 0x80) return 1;
  // What the second byte may be: neither longer than needed, nor half of a pair, nor beyond U+10FFFF.
  unsigned low = 0x80;
  unsigned high = 0xBF;
  if (lead == 0xE0) low = 0xA0;
  if (lead == 0xED) high = 0x9F;
  if (lead == 0xF0) low = 0x90;
  if (lead == 0xF4) high = 0x8F;
  const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
  if (length == 0 || byte(1) < low || byte(1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
  }
  return length;
}

}  // namespace

std::string JsonText::Of(std::string_view text) {
  std::string quoted = "\"";
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = CharacterLength(text, at);
    const auto character = static_cast<unsigned char>(text[at]);
    if (length == 0) {
      quoted += "\uFFFD";
    } else if (character == '"' || character == '\\') {
      quoted += {'\\', text[at]};
    } else if (character < 0x20) {
      constexpr const char* digits = "0123456789abcdef";
      quoted += "\\u00";
      quoted += {digits[character / 16], digits[character % 16]};
    } else {
      quoted += text.substr(at, length);
    }
    at += length == 0 ? 1 : length;
  }
  return quoted + '"';
}

std::string JsonText::Of(double value) {
  if (!std::isfinite(value)) return "null";
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value);
  return {digits, end.ptr};
}

void JsonText::Append(const std::string& item) {
  items_ += items_.empty() ? "\n  " : ",\n  ";
  for (const char c : item) {
    items_ += c;
    if (c == '\n') items_ += "  ";
  }
}

std::string JsonText::Text() const {
  return open_ + (items_.empty() ? "" : items_ + '\n') + close_;
}

std::string JsonText::Line() const {
  // Texts hold no line ends: those are escaped.
  std::string line;
  bool isIndent = false;
  for (const char c : Text()) {
    if (c == '\n' && line.back() == ',') line += ' ';
    isIndent = c == '\n' || (isIndent && c == ' ');
    if (!isIndent) line += c;
  }
  return line;
}

}  // namespace kv_host
