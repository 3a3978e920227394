#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "host/conversion.h"
#include "host/family.h"
#include "host/formats/file_format.h"
#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "host/region_option.h"
#include "host/worker_pool.h"

namespace kv_host {

/// Exit statuses of the program.
enum ExitStatus : int {
  Done = 0,
  NothingFound = 1,  ///< something was sought and not found
  BadInput = 2,      ///< bad input or usage
  NoMember = 3       ///< no member of the family can do it
};

/// Options that every command with an engine takes.
struct EngineOptions {
  int threads = 0;
  std::string member;

  void AddTo(CLI::App& command);
};

/// An engine as these options ask for it.
class OwnedEngine {
 public:
  explicit OwnedEngine(const EngineOptions& options) : family_(options.member), pool_(options.threads) {}
  Engine Get() const { return {family_, pool_}; }

 private:
  Family family_;
  WorkerPool pool_;
};

/// The region that a command works in.
struct RegionOptions {
  RegionText text;

  /// `option` such as "--region"; the mask's is named after it: "--region-mask".
  void AddTo(CLI::App& command, const std::string& option, const std::string& what);
};

/// Options of files: their format, and the size of raw frames.
struct InputOptions {
  std::string size;
  std::string format;

  /// `mayBeRaw`: the command can be told the size of frames that have no header.
  void AddTo(CLI::App& command, bool mayBeRaw = true);
  ReadOptions Get() const;
};

/// Width and height out of "720x576". Throws UsageError naming the option.
struct Size {
  int width;
  int height;
};
Size ParseSize(const std::string& text, const std::string& option);

/// The format that `name` names. Throws UsageError with the names that there are.
FileFormat ParseFormat(const std::string& name, const std::string& option);

/// Byte order out of "uyvy" or "yuy2"; 0 for an empty text.
int ParseLayout(const std::string& name);

/// Each adds one command to the program. What a command answers is the exit status of its last call.
void AddMembersCommand(CLI::App& app, int& status);
void AddConvertCommand(CLI::App& app, int& status);
void AddCopyRoiCommand(CLI::App& app, int& status);
void AddDifferenceCommand(CLI::App& app, int& status);
void AddAverageCommand(CLI::App& app, int& status);
void AddFilterCommand(CLI::App& app, int& status);
void AddBlendCommand(CLI::App& app, int& status);
void AddAlphaCommands(CLI::App& app, int& status);
void AddParityCommand(CLI::App& app, int& status);
void AddPanCommand(CLI::App& app, int& status);
void AddFindCommand(CLI::App& app, int& status);

}  // namespace kv_host
