#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/av/door.h"

namespace kv_host {

/// From now on the module, the first of these files that is there, reads files that kv does not know and writes
/// containers. Not called, both are refused: only a program that RunAvWorker can make a child of itself may.
void EnableAv(std::vector<std::filesystem::path> modules);
bool IsAvEnabled();

/// The module's file, if there is one.
std::optional<std::string> AvModule();

/// Its door; null, and `problem`, where it cannot be loaded. It stays loaded.
const KvAvDoor* LoadAvDoor(const std::string& module, std::string& problem);

}  // namespace kv_host
