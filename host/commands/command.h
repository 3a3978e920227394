#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/clip_set.h"
#include "host/conversion.h"
#include "host/formats/file_format.h"
#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"
#include "host/region_option.h"
#include "host/session.h"

namespace kv_host {

/// Options that every command with an engine takes.
struct EngineOptions {
  std::string member;
  Session* session = nullptr;
  ColourOptions colours;

  /// `rangeOption`: the name of the range of 4:2:2.
  void AddTo(CLI::App& command, Session& session, const std::string& rangeOption = "--range");
  /// Without --threads and the options of colours, for commands that work on no picture.
  void AddWithoutThreadsTo(CLI::App& command, Session& session);

 private:
  void AddColoursTo(CLI::App& command, const std::string& rangeOption);
};

/// An engine as these options ask for it.
class OwnedEngine {
 public:
  explicit OwnedEngine(const EngineOptions& options)
      : options_(options), family_(options.member), pool_(options.session->threads) {}
  Engine Get() const { return {family_, pool_, &options_.session->log, options_.colours}; }

  /// Throws UsageError when options of colours were given and nothing took them.
  void RequireUseOfColours() const;

  /// Gives the files that were written their names, which the session then lists.
  void Finish(PictureWriter& writer) const;

 private:
  const EngineOptions& options_;
  Family family_;
  kv_run::WorkerPool pool_;
};

/// The region that a command works in.
struct RegionOptions {
  RegionText text;

  /// `option` such as "--region"; the mask's is named after it: "--region-mask".
  void AddTo(CLI::App& command, const std::string& option, const std::string& what);
};

/// --json, which every command takes.
void AddReportOption(CLI::App& command, Session& session);

/// Options of files: their format, and the size of raw frames.
struct InputOptions {
  std::string size;
  std::string sizeOption = "--size";
  std::string format;
  std::string frames;
  std::string rate;
  std::optional<Interlace> fields;
  Dither dither = Dither::None;
  AvOptions av;
  bool endsWithShortest = false;
  Session* session = nullptr;

  /// `option` takes the size of frames that have no header.
  void AddTo(CLI::App& command, Session& session, const std::string& option = "--size");
  /// Those of files that the module reads.
  void AddAvTo(CLI::App& command);
  /// --frames too, for commands that work on every frame.
  void AddWithFramesTo(CLI::App& command, Session& session);
  /// --shortest too, for commands that work on several clips.
  void AddClipsTo(CLI::App& command, Session& session);
  ReadOptions Get() const;
  ClipSet::Options GetClips() const { return {Get(), endsWithShortest}; }

  /// Throws UsageError when --size or --fields is given and none of the inputs is raw.
  void RequireUse(const std::vector<const PictureReader*>& inputs) const;
};

/// The file that a command writes frames to.
struct OutputOptions {
  std::string name;
  std::string format;
  std::string codec;
  bool overwrite = false;
  Session* session = nullptr;

  /// `option`: "OUT", or another name.
  CLI::Option* AddTo(CLI::App& command, Session& session, const std::string& what,
                     const std::string& option = "OUT");
  /// The options alone, for commands whose file is one of several arguments.
  void AddFormatsTo(CLI::App& command, Session& session);
  /// A writer of these frames.
  PictureWriter Open(const ClipPart& clip) const;
  PictureWriter Open(const PictureReader& frames) const { return Open({frames.Range(), frames.Length()}); }
};

/// A rate out of "25" or "30000:1001". Throws UsageError.
Ratio ParseRate(const std::string& text);

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

/// All commands, in the order of the help. The session is what a call comes to.
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
void AddKeyCommand(CLI::App& app, Session& session);
void AddParityCommand(CLI::App& app, Session& session);
void AddPanCommand(CLI::App& app, Session& session);
void AddFindCommand(CLI::App& app, Session& session);
void AddTrackCommand(CLI::App& app, Session& session);
void AddClipCommand(CLI::App& app, Session& session);
void AddJoinCommand(CLI::App& app, Session& session);
void AddDemoCommand(CLI::App& app, Session& session);
void AddInfoCommand(CLI::App& app, Session& session);
void AddSelfTestCommand(CLI::App& app, Session& session);

}  // namespace kv_host
