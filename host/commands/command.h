#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/conversion.h"
#include "host/formats/file_format.h"
#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "host/region_option.h"

namespace kv_host {

/// Exit statuses of the program.
enum ExitStatus : int {
  Done = 0,
  NothingFound = 1,  ///< something was sought and not found, or compared and not equal
  BadInput = 2,      ///< bad input or usage
  NoMember = 3       ///< no member of the family can do it
};

/// One run of a command, for those who want to know what came of it.
struct Session {
  int status = Done;
  OperationLog log;
  std::vector<std::string> files;  ///< Written, under their final names.
  std::string answer;              ///< What the command says on standard output.
  bool isQuiet = false;            ///< The answer is kept for whoever runs the command, and not printed.

  void Answer(const std::string& text);
};

/// Options that every command with an engine takes.
struct EngineOptions {
  int threads = 0;
  std::string member;
  bool json = false;
  Session* session = nullptr;

  /// `result` names what the command answers with --json.
  void AddTo(CLI::App& command, Session& session, const std::string& result = "report as JSON");
};

/// An engine as these options ask for it.
class OwnedEngine {
 public:
  explicit OwnedEngine(const EngineOptions& options)
      : options_(options), family_(options.member), pool_(options.threads) {}
  Engine Get() const { return {family_, pool_, &options_.session->log}; }

  /// Commits what was written and reports when --json asks for it; answers the exit status. The
  /// report goes to standard output, or to standard error when the pictures go there.
  int Finish(PictureWriter& writer) const;

 private:
  const EngineOptions& options_;
  Family family_;
  WorkerPool pool_;
};

/// Operations, frames and files of a session, as people's programs read them.
nlohmann::ordered_json ReportOf(const Session& session);

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
  std::string frames;

  /// `mayBeRaw`: the command can be told the size of frames that have no header.
  void AddTo(CLI::App& command, bool mayBeRaw = true);
  /// --frames too, for commands that work on every frame.
  void AddWithFramesTo(CLI::App& command);
  ReadOptions Get() const;
};

/// A range out of "100:25". Throws UsageError naming the option.
FrameRange ParseFrameRange(const std::string& text, const std::string& option);

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

/// All commands, in the order of the help. The session tells what a call came to.
void AddAllCommands(CLI::App& app, Session& session);

// Each adds one command to the program.
void AddMembersCommand(CLI::App& app, Session& session);
void AddConvertCommand(CLI::App& app, Session& session);
void AddCopyRoiCommand(CLI::App& app, Session& session);
void AddDifferenceCommand(CLI::App& app, Session& session);
void AddAverageCommand(CLI::App& app, Session& session);
void AddFilterCommand(CLI::App& app, Session& session);
void AddBlendCommand(CLI::App& app, Session& session);
void AddAlphaCommands(CLI::App& app, Session& session);
void AddParityCommand(CLI::App& app, Session& session);
void AddPanCommand(CLI::App& app, Session& session);
void AddFindCommand(CLI::App& app, Session& session);
void AddClipCommand(CLI::App& app, Session& session);
void AddJoinCommand(CLI::App& app, Session& session);
void AddDemoCommand(CLI::App& app, Session& session);
void AddSelfTestCommand(CLI::App& app, Session& session);

}  // namespace kv_host
