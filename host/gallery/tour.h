#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "host/gallery/exhibit.h"

namespace kv_host {

/// What a command that was run in this process came to.
struct CommandResult {
  std::string answer;
  std::string member;       ///< That answered the algorithm asked for.
  double milliseconds = 0;  ///< For one call of it.
};

/// Runs a command line of the program, without its name, and reports on one algorithm that it calls.
using RunCommand =
    std::function<CommandResult(const std::vector<std::string>& arguments, const std::string& algorithm)>;

/// Where a tour is made.
struct Studio {
  std::filesystem::path folder;  ///< That takes the files.
  std::string prefix;            ///< Of the files' names.
  int threads = 1;
  RunCommand run;
};

/// Leads one picture through every algorithm and writes what goes in and what comes out into the folder.
/// Throws UsageError for a picture below 96x96, and what the commands throw.
Room MakeTour(const std::string& picture, const Studio& studio);

}  // namespace kv_host
