#pragma once

#include <filesystem>

namespace kv_host {

/// Lists a file that has to go when the program is interrupted. The path stays where it is until it is
/// finished. Beyond 16 files at a time the others stay behind.
void AddUnfinishedFile(const std::filesystem::path& file) noexcept;
/// Takes it off the list.
void DropUnfinishedFile(const std::filesystem::path& file) noexcept;

/// From now on an interrupt (Ctrl-C) or a request to end removes the listed files before the program ends by
/// it.
void RemoveUnfinishedFilesWhenInterrupted();

}  // namespace kv_host
