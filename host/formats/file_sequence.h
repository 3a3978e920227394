#pragma once

#include <string>
#include <vector>

namespace kv_host {

/// The files that the name of an input means: one, or those of a sequence as PictureReader describes it. Throws
/// FormatError for a sequence with a gap, FileError for one without any file.
std::vector<std::string> FilesOf(const std::string& name);

}  // namespace kv_host
