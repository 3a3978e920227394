#include "host/program.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "host/commands/command.h"
#include "host/errors.h"
#include "host/formats/format_error.h"
#include "host/formats/unfinished_files.h"
#include "host/platform/platform.h"
#include "image/errors/kv_exception.h"

namespace kv_host {
namespace {

int Complain(std::string_view problem, int status) {
  std::fprintf(stderr, "kv: %.*s\n", static_cast<int>(problem.size()), problem.data());
  return status;
}

int Run(std::vector<std::string> arguments) {
  CLI::App app("Pictures and video in packed YUV 4:2:2, through the best plug-in that can do it.", "kv");
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("kv ") + KV_VERSION);
  app.footer(
      "kv COMMAND --help shows a command's options and an example.\n"
      "Exit status: 0 done, 1 nothing found where something was sought, 2 bad input or usage, 3 no member "
      "can do it.");
  Session session;
  AddAllCommands(app, session);
  const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
  if (!arguments.empty() && !arguments[0].starts_with('-') &&
      std::ranges::none_of(commands,
                           [&](const CLI::App* command) { return command->get_name() == arguments[0]; })) {
    return Complain(arguments[0] + ": no such command (kv --help shows what there is)", BadInput);
  }
  try {
    // It takes them from the back.
    std::ranges::reverse(arguments);
    app.parse(std::move(arguments));
    return session.status;
  } catch (const CLI::Success& success) {
    return app.exit(success);
  } catch (const CLI::ParseError& error) {
    return Complain(std::string(error.what()) + " (kv --help shows what there is)", BadInput);
  } catch (const NoMemberError& error) {
    return Complain(error.what(), NoMember);
  } catch (const kv_std::KVException& error) {
    return Complain(Narrow(error.Message()), BadInput);
  } catch (const std::bad_alloc&) {
    return Complain("out of memory", BadInput);
  } catch (const std::exception& error) {
    return Complain(error.what(), BadInput);
  }
}

}  // namespace

int RunProgram(int argc, char** argv) {
  PrepareProcess();
  RemoveUnfinishedFilesWhenInterrupted();
  try {
    return Run(Arguments(argc, argv));
  } catch (const std::bad_alloc&) {
    return Complain("out of memory", BadInput);
  }
}

}  // namespace kv_host
