#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>

#include "frame/platform/platform.h"
#include "host/commands/command.h"
#include "host/errors.h"
#include "host/formats/byte_sink.h"
#include "host/formats/format_error.h"
#include "host/gallery/page.h"
#include "host/gallery/tour.h"
#include "host/progress.h"

namespace kv_host {
namespace {

namespace fs = std::filesystem;

/// The pictures that come with the program, in the folder share/kv_algo beside its own.
std::vector<std::string> OwnPictures() {
  static const char inProgram = 0;
  const fs::path folder = kv_platform::FolderOf(&inProgram).parent_path() / "share" / "kv_algo";
  std::vector<std::string> pictures;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.path().extension() == ".y4m") pictures.push_back(entry.path().string());
  }
  std::ranges::sort(pictures);
  if (pictures.empty()) {
    throw UsageError("no picture lies in " + folder.string() +
                     "; name some, as in kv demo photo.png -o gallery");
  }
  return pictures;
}

CommandResult RunInProcess(const std::vector<std::string>& arguments, const std::string& algorithm) {
  CLI::App app("", "kv");
  Session session;
  AddAllCommands(app, session);
  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
  app.parse(reversed);
  CommandResult result{.answer = session.answer, .member = {}};
  while (result.answer.ends_with('\n')) result.answer.pop_back();
  const auto& tallies = session.log.Tallies();
  const auto tally = std::ranges::find(tallies, algorithm, &OperationTally::algorithm);
  if (tally != tallies.end()) {
    result.member = tally->member;
    result.milliseconds = tally->MillisecondsPerCall();
  }
  return result;
}

/// The problem with the picture's name before it, unless it has that already.
std::string Named(const std::string& picture, const std::string& problem) {
  return problem.starts_with(picture) ? problem : picture + ": " + problem;
}

void Tell(const std::string& problem) {
  std::fprintf(stderr, "kv: %s\n", problem.c_str());
}

struct DemoOptions {
  std::vector<std::string> pictures;
  std::string output;
  int threads = 0;

  void Run(Session& session) const {
    const auto shown = pictures.empty() ? OwnPictures() : pictures;
    const kv_run::WorkerPool pool(threads);
    std::error_code error;
    fs::create_directories(output, error);
    if (!fs::is_directory(output)) throw UsageError("--output: " + output + " cannot be made a folder");
    std::vector<Room> rooms;
    std::vector<std::string> problems;
    {
      Progress progress("pictures", static_cast<std::int64_t>(shown.size()));
      for (std::size_t i = 0; i < shown.size(); ++i) {
        const std::string prefix = shown.size() == 1 ? "" : std::to_string(i + 1) + "-";
        try {
          rooms.push_back(MakeTour(shown[i], {output, prefix, pool.ThreadCount(), RunInProcess}));
        } catch (const FileError& problem) {
          problems.push_back(Named(shown[i], problem.what()));
        } catch (const UsageError& problem) {
          problems.push_back(Named(shown[i], problem.what()));
        } catch (const std::bad_alloc&) {
          problems.push_back(shown[i] + ": out of memory");
        }
        progress.Advance();
      }
    }
    // The last problem becomes the program's failure, the others are reported now.
    for (std::size_t i = 0; i + 1 < problems.size(); ++i) Tell(problems[i]);
    if (rooms.empty()) throw UsageError(problems.back());
    const int count = pool.ThreadCount();
    ByteSink page((fs::path(output) / "index.html").string());
    page.Write(GalleryPage(rooms,
                           "Times are of the operation alone, without files, on " + std::to_string(count) +
                               (count == 1 ? " thread" : " threads") + ", the best of three runs.",
                           problems));
    page.Commit();
    session.files.push_back(page.Name());
    session.answer = "open " + page.Name() + "\n";
    if (!problems.empty()) session.failure = {BadInput, "file", problems.back()};
  }
};

}  // namespace

void AddDemoCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<DemoOptions>();
  CLI::App* command = app.add_subcommand("demo", "Write a gallery: every algorithm on your pictures");
  command->add_option("PICTURES", options->pictures,
                      "pictures to show (default: the one that comes with kv)");
  command->add_option("-o,--output", options->output, "folder to write index.html and its pictures into")
      ->required()
      ->type_name("DIR");
  command
      ->add_option("--threads", options->threads,
                   "threads to work on (default: what the machine runs at once)")
      ->check(CLI::Range(1, 1024))
      ->type_name("N");
  AddReportOption(*command, session);
  command->footer("Example: kv demo photo.png -o gallery");
  command->callback([options, &session] { options->Run(session); });
}

}  // namespace kv_host
