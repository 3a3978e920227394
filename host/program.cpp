#include "host/program.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "frame/platform/platform.h"
#include "host/av/av_module.h"
#include "host/av/worker.h"
#include "host/commands/command.h"
#include "host/errors.h"
#include "host/family.h"
#include "host/formats/format_error.h"
#include "host/formats/unfinished_files.h"
#include "host/platform/platform.h"
#include "host/session.h"
#include "host/text_stream.h"
#include "image/errors/kv_exception.h"
#include "image/library_address.h"

namespace kv_host {
namespace {

constexpr const char* seeHelp = " (kv --help shows what there is)";

/// As reports are when there is no memory to make them.
constexpr const char* outOfMemoryReport =
    R"({"version":1,"command":null,"status":2,"error":{"code":"outOfMemory","message":"out of memory",)"
    R"("file":null,"offset":null},"files":[],"operations":[],"colours":[],"inputs":[],"warnings":[],"result":null})"
    "\n";

/// Before the options are parsed, which may fail. What is left in the arguments is --json, a flag.
void NoteReport(std::vector<std::string>& arguments, Session& session) {
  const auto end = std::ranges::find(arguments, "--");
  const auto lines = std::find(arguments.begin(), end, "--json=lines");
  if (lines != end) {
    session.lines = true;
    *lines = "--json";
  }
  session.json = std::find(arguments.begin(), end, "--json") != end;
}

/// Runs the command line; throws what commands throw.
void RunArguments(std::vector<std::string> arguments, Session& session) {
  CLI::App app("Pictures and video in packed YUV 4:2:2, through the best plug-in that can do it.", "kv");
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("kv ") + KV_VERSION);
  app.footer(
      "kv COMMAND --help shows a command's options and an example.\n"
      "Exit status: 0 done, 1 not found or not equal, 2 bad input or usage or output that cannot be written, "
      "3 no member can do it.");
  AddAllCommands(app, session);
  if (!arguments.empty() && !arguments[0].starts_with('-')) {
    const auto commands =
        app.get_subcommands([&](const CLI::App* command) { return command->get_name() == arguments[0]; });
    if (commands.empty()) throw UsageError(arguments[0] + ": no such command" + seeHelp);
    session.command = arguments[0];
  }
  try {
    // It takes them from the back.
    std::ranges::reverse(arguments);
    app.parse(std::move(arguments));
  } catch (const CLI::Success& success) {
    TextStream text;
    app.exit(success, text, text);
    session.answer = text.str();
    session.json = false;
  }
}

void Run(std::vector<std::string> arguments, Session& session) {
  try {
    RunArguments(std::move(arguments), session);
    if (const auto& damage = session.av.damage) {
      session.failure = {BadInput, "format", damage->what(), damage->File(), damage->Offset()};
    }
  } catch (const CLI::ParseError& error) {
    session.failure = {BadInput, "usage", std::string(error.what()) + seeHelp};
  } catch (const UsageError& error) {
    session.failure = {BadInput, "usage", error.what()};
  } catch (const NoMemberError& error) {
    session.failure = {NoMember, "noMember", error.what()};
  } catch (const FormatError& error) {
    session.failure = {BadInput, "format", error.what(), error.File(), error.Offset()};
  } catch (const FileError& error) {
    session.failure = {BadInput, "file", error.what(), error.File()};
  } catch (const kv_std::KVException& error) {
    session.failure = {BadInput, "operation", Narrow(error.Message())};
  } catch (const std::bad_alloc&) {
    session.failure = {BadInput, "outOfMemory", "out of memory"};
  } catch (const std::exception& error) {
    session.failure = {BadInput, "internal", error.what()};
  }
}

/// Where the module for other files may be: with the members, beside the program or as they are installed.
std::vector<std::filesystem::path> AvModules() {
  static const char anchor = 0;
  std::vector<std::filesystem::path> modules;
  for (const std::filesystem::path& folder :
       {kv_platform::FolderOf(&anchor), kv_platform::FolderOf(kv_img::AddressInImageLibrary()) / "kv_algo"}) {
    if (folder.is_absolute()) modules.push_back(folder / "kv_av.so");
  }
  return modules;
}

}  // namespace

int RunProgram(int argc, char** argv) {
  if (const int status = RunAvWorker(argc, argv); status >= 0) return status;
  PrepareProcess();
  RemoveUnfinishedFilesWhenInterrupted();
  Session session;
  try {
    EnableAv(AvModules());
    std::vector<std::string> arguments = Arguments(argc, argv);
    NoteReport(arguments, session);
    Run(std::move(arguments), session);
    return session.Print();
  } catch (const std::bad_alloc&) {
    if (session.json) std::fputs(outOfMemoryReport, session.picturesOnStandardOutput ? stderr : stdout);
    return Complain("out of memory", BadInput);
  }
}

}  // namespace kv_host
