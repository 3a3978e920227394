#include "host/formats/frame_names.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "host/formats/file_name.h"
#include "host/formats/format_error.h"

namespace kv_host {
namespace {

/// Length of the `%d`, `%06d` or `%012d` at `at`; 0 when there is none. `%20d` is none: names from the web
/// hold `%20` for a blank.
std::size_t PlaceLength(const std::string& name, std::size_t at) {
  std::size_t end = at + 1;
  if (end < name.size() && name[end] == '0') {
    while (end < name.size() && end - at <= 3 && std::isdigit(static_cast<unsigned char>(name[end])) != 0)
      ++end;
  }
  return end < name.size() && name[end] == 'd' ? end + 1 - at : 0;
}

/// The next place for a number; npos when there is none.
std::size_t FindPlace(const std::string& name, std::size_t from) {
  std::size_t at = name.find('%', from);
  while (at != std::string::npos && PlaceLength(name, at) == 0) at = name.find('%', at + 1);
  return at;
}

}  // namespace

FrameNames::FrameNames(const std::string& name, bool mayBePattern) {
  const std::size_t place = mayBePattern ? FindPlace(name, 0) : std::string::npos;
  if (place == std::string::npos) {
    const std::filesystem::path path = PathOf(name);
    before_ = Utf8Name(path.parent_path() / path.stem()) + "-";
    after_ = Utf8Name(path.extension());
    return;
  }
  const std::size_t length = PlaceLength(name, place);
  isPattern_ = true;
  before_ = name.substr(0, place);
  after_ = name.substr(place + length);
  digits_ = length > 2 ? std::stoi(name.substr(place + 1, length - 2)) : 1;
  if (FindPlace(after_, 0) != std::string::npos) {
    throw FormatError(name, "has two places for a number; write one, such as frame-%06d.png");
  }
}

std::string FrameNames::Of(std::int64_t number, int digits) const {
  std::string text = std::to_string(number);
  const auto wanted = static_cast<std::size_t>(isPattern_ ? digits_ : digits);
  text.insert(0, wanted - std::min(wanted, text.size()), '0');
  return before_ + text + after_;
}

std::optional<std::int64_t> FrameNames::NumberOf(const std::string& name) const {
  const std::size_t around = before_.size() + after_.size();
  if (name.size() <= around || !name.starts_with(before_) || !name.ends_with(after_)) return std::nullopt;
  const char* const first = name.data() + before_.size();
  const char* const last = name.data() + name.size() - after_.size();
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(first, last, number);
  // Other spellings of a number are other names: frame-7.png beside frame-%02d.png.
  if (error != std::errc() || end != last || number < 0 || Of(number, 1) != name) return std::nullopt;
  return number;
}

}  // namespace kv_host
