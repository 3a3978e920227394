#include "host/formats/format_error.h"

#include <algorithm>
#include <system_error>

namespace kv_host {
namespace {

std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  return text;
}

}  // namespace

FileError::FileError(const std::string& name, const std::string& problem)
    : std::runtime_error(OneLine(name + ": " + problem)), file_(name) {}

FormatError::FormatError(const std::string& name, const std::string& problem) : FileError(name, problem) {}

FormatError::FormatError(const std::string& name, std::uint64_t offset, const std::string& problem)
    : FileError(name, "byte " + std::to_string(offset) + ": " + problem), offset_(offset) {}

std::string SystemText(int error) {
  return std::generic_category().message(error);
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t LongestShown = 40;
  std::string shown(text.substr(0, LongestShown));
  std::replace_if(
      shown.begin(), shown.end(), [](unsigned char c) { return c < 0x20 || c >= 0x7F; }, '?');
  return "'" + shown + (text.size() > LongestShown ? "…'" : "'");
}

}  // namespace kv_host
