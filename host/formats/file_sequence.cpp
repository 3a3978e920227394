#include "host/formats/file_sequence.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "host/formats/file_name.h"
#include "host/formats/format_error.h"
#include "host/formats/frame_names.h"

namespace kv_host {
namespace fs = std::filesystem;
namespace {

/// Whether a name is what a pattern of `*`, any text, and `?`, one byte, describes.
bool Matches(std::string_view pattern, std::string_view name) {
  if (pattern.empty()) return name.empty();
  if (pattern.front() == '*') {
    while (pattern.starts_with('*')) pattern.remove_prefix(1);
    for (std::size_t i = 0; i <= name.size(); ++i) {
      if (Matches(pattern, name.substr(i))) return true;
    }
    return false;
  }
  return !name.empty() && (pattern.front() == '?' || pattern.front() == name.front()) &&
         Matches(pattern.substr(1), name.substr(1));
}

std::vector<std::string> NamesIn(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder.empty() ? fs::path(".") : folder, error), end;
       !error && entry != end; entry.increment(error)) {
    names.push_back(Utf8Name(entry->path().filename()));
  }
  std::ranges::sort(names);
  return names;
}

std::vector<std::string> NumberedFiles(const std::string& name, const fs::path& folder,
                                       const FrameNames& pattern) {
  std::map<std::int64_t, std::string> numbered;
  for (const std::string& file : NamesIn(folder)) {
    if (const auto number = pattern.NumberOf(file)) numbered.emplace(*number, file);
  }
  std::vector<std::string> files;
  for (const auto& [number, file] : numbered) {
    const std::int64_t expected = numbered.begin()->first + static_cast<std::int64_t>(files.size());
    if (number != expected) {
      throw FormatError(name, Utf8Name(folder / PathOf(pattern.Of(expected, 1))) +
                                  " is missing in the sequence, which goes on to " +
                                  numbered.rbegin()->second);
    }
    files.push_back(Utf8Name(folder / PathOf(file)));
  }
  return files;
}

std::vector<std::string> MatchingFiles(const fs::path& folder, const std::string& pattern) {
  std::vector<std::string> files;
  for (const std::string& file : NamesIn(folder)) {
    // As shells do, which leave hidden files out.
    const bool isHidden = file.starts_with('.') && !pattern.starts_with('.');
    if (!isHidden && Matches(pattern, file)) files.push_back(Utf8Name(folder / PathOf(file)));
  }
  return files;
}

}  // namespace

std::vector<std::string> FilesOf(const std::string& name) {
  const fs::path path = PathOf(name);
  std::error_code error;
  if (name == "-" || fs::exists(path, error)) return {name};
  const std::string file = Utf8Name(path.filename());
  std::vector<std::string> files;
  if (file.find_first_of("*?") != std::string::npos) {
    files = MatchingFiles(path.parent_path(), file);
  } else {
    const FrameNames pattern(file);
    if (!pattern.IsPattern()) return {name};
    files = NumberedFiles(name, path.parent_path(), pattern);
  }
  if (files.empty()) throw FileError(name, "cannot be opened: no file has such a name");
  return files;
}

}  // namespace kv_host
