#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/av/av_log.h"
#include "host/json_text.h"
#include "host/operation_log.h"

namespace kv_host {

/// Exit statuses of the program.
enum ExitStatus : int {
  Done = 0,
  NothingFound = 1,  ///< something was sought and not found, or compared and not equal
  BadInput = 2,      ///< bad input or usage, or an output that cannot be written
  NoMember = 3       ///< no member of the family can do it
};

/// Why a command did not end with Done.
struct Failure {
  ExitStatus status = BadInput;
  const char* code = "internal";  ///< One of those that docs/json.md lists.
  std::string message;
  std::string file = {};  ///< That is at fault; empty where no one is.
  std::optional<std::uint64_t> offset = {};
};

/// One run of a command: what it answers and what came of it.
class Session {
 public:
  std::string command;   ///< Its name; empty before it is known.
  bool json = false;     ///< A person asked for the report.
  bool lines = false;    ///< With `json`: in one line, after a line for each frame as it is done.
  bool verbose = false;  ///< A person asked how colours were converted.
  bool picturesOnStandardOutput = false;
  int threads = 0;  ///< That a person asked for; 0: what the machine runs at once.
  OperationLog log;
  AvLog av;
  std::vector<std::string> files;  ///< Written, under their final names.
  std::string answer;              ///< What the command says on standard output without --json.
  std::optional<JsonText> result;  ///< The same with --json; none where files are all.
  std::optional<JsonText> record;  ///< Of the frame that is worked on; the command adds what it has to say.
  std::optional<Failure> failure;

  int Status() const { return failure ? failure->status : Done; }

  /// Operations, files, result and failure as one JSON document.
  std::string Report() const;
  /// Notes what of the files that were read is not in those that were written.
  void NoteLosses();
  /// Makes the report of a success beforehand, so that it cannot fail for want of memory once files have
  /// their names.
  void PrepareReport();
  /// Prints a line and flushes it, where the report goes. Throws FileError.
  void PrintLine(const std::string& line) const;
  /// Prints the failure's line, and the answer or the report; answers the exit status.
  int Print();

 private:
  void PrintCrossings() const;
  void PrintWarnings() const;
  void PrintOutput();

  std::string prepared_;
};

/// Prints the line of a failure and answers its exit status. Allocates nothing.
int Complain(const std::string& message, int status);

}  // namespace kv_host
