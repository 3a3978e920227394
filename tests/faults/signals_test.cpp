// Signals end every command that writes, at random moments: each final name holds the old file, the new one
// or none, and nothing unfinished is left.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <stdexcept>
#include <thread>

#include "tests/host/program.h"
#include "tests/support/random.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace kv_test;
namespace fs = std::filesystem;
using std::chrono::microseconds;

/// How often each command is ended.
int Rounds() {
  const char* rounds = std::getenv("KV_SIGNAL_ROUNDS");
  return rounds == nullptr ? 8 : std::atoi(rounds);
}

struct Command {
  const char* name;
  std::vector<std::string> arguments;
};

void PrintTo(const Command& command, std::ostream* stream) {
  *stream << command.name;
}

class Signals : public testing::TestWithParam<Command> {
 protected:
  void SetUp() override {
    std::string video = "YUV4MPEG2 W160 H128 F25:1 It C422\n";
    std::string frame(160 * 128 * 2, '\0');
    for (std::size_t i = 0; i < frame.size(); ++i)
      frame[i] = static_cast<char>(16 + i * 37 % 211 + i / 1600 % 9);
    for (int i = 0; i < 12; ++i) video += "FRAME\n" + frame;
    WriteFile(temp_.Path() / "v.y4m", video);
    WriteFile(temp_.Path() / "f.y4m", video.substr(0, 34 + 6 + frame.size()));
    WriteFile(temp_.Path() / "g.pgm", "P5 160 128 255\n" + frame.substr(0, frame.size() / 2));
    inputs_ = Files();
  }

  /// Content of every file but the inputs, by name.
  std::map<std::string, std::string> Files() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(temp_.Path())) {
      const std::string name = entry.path().lexically_relative(temp_.Path()).string();
      if (entry.is_regular_file() && !inputs_.contains(name)) files[name] = ReadFile(entry.path());
    }
    return files;
  }

  pid_t Start() const {
    const fs::path program = fs::read_symlink("/proc/self/exe").parent_path() / "kv";
    std::vector<std::string> arguments = GetParam().arguments;
    std::vector<char*> argv = {const_cast<char*>("kv")};
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const pid_t child = fork();
    // Nothing may be sent to process -1, which is every one.
    if (child < 0) throw std::runtime_error("no process can be started");
    if (child != 0) return child;
    fs::current_path(temp_.Path());
    if (std::freopen("/dev/null", "w", stdout) == nullptr) _exit(98);
    execv(program.c_str(), argv.data());
    _exit(99);
  }

  static int WaitFor(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return status;
  }

  const TempFolder temp_;
  std::map<std::string, std::string> inputs_;
};

/// Pages of the gallery tell times, which differ.
bool IsWhole(const std::string& name, const std::string& content, const std::string& fresh) {
  return name.ends_with(".html") ? content.ends_with("</html>\n") : content == fresh;
}

TEST_P(Signals, LeaveWholeFilesOnly) {
  microseconds whole = std::chrono::hours(1);
  for (int run = 0; run < 3; ++run) {
    for (const auto& [name, content] : Files()) fs::remove(temp_.Path() / name);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(WaitFor(Start()), 0);
    whole =
        std::min(whole, std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - start));
  }
  const auto fresh = Files();
  ASSERT_FALSE(fresh.empty());

  Random random(0x4105);
  constexpr int signals[] = {SIGHUP, SIGINT, SIGTERM, SIGPIPE};
  int ended = 0;
  for (int round = 0; round < Rounds(); ++round) {
    const bool hasOldFiles = round % 2 == 0;
    for (const auto& [name, content] : fresh) {
      if (hasOldFiles) {
        WriteFile(temp_.Path() / name, "the old file");
      } else {
        fs::remove(temp_.Path() / name);
      }
    }
    const int signal = signals[random.Between(0, static_cast<int>(std::size(signals)) - 1)];
    const auto wait = static_cast<long>(random.Unit() * static_cast<double>(whole.count()));
    SCOPED_TRACE(testing::Message() << "signal " << signal << " after " << wait << " us");
    const pid_t child = Start();
    std::this_thread::sleep_for(microseconds(wait));
    kill(child, signal);
    const int status = WaitFor(child);
    if (WIFSIGNALED(status)) {
      ++ended;
      ASSERT_EQ(WTERMSIG(status), signal);
    } else {
      ASSERT_EQ(status, 0);
    }
    for (const auto& [name, content] : Files()) {
      ASSERT_TRUE(fresh.contains(name)) << name << " is left";
      if (hasOldFiles && content == "the old file") continue;
      ASSERT_TRUE(IsWhole(name, content, fresh.at(name))) << name << " has " << content.size() << " bytes";
    }
  }
  EXPECT_GT(ended, Rounds() / 20) << "hardly any run was ended by its signal";
}

const Command commands[] = {
    {"convert", {"convert", "v.y4m", "o.uyvy"}},
    {"convert_numbered", {"convert", "v.y4m", "o.bmp", "--overwrite"}},
    {"convert_png", {"convert", "f.y4m", "o.png"}},
    {"copy_roi", {"copy-roi", "f.y4m", "f.y4m", "--from", "0,0,64,64", "--to", "80,32", "-o", "o.bmp"}},
    {"diff", {"diff", "v.y4m", "v.y4m", "o.y4m"}},
    {"average", {"average", "v.y4m", "g.pgm", "o.pgm", "--overwrite"}},
    {"filter", {"filter", "v.y4m", "o-%03d.png", "--window", "9", "--overwrite"}},
    {"blend", {"blend", "v.y4m", "f.y4m", "g.pgm", "o.y4m"}},
    {"alpha_color", {"alpha-color", "v.y4m", "f.y4m", "o.pgm", "--window", "5", "--overwrite"}},
    {"alpha_prob", {"alpha-prob", "g.pgm", "g.pgm", "o.pgm", "--window", "5"}},
    {"parity", {"parity", "v.y4m", "o.y4m"}},
    {"pan", {"pan", "f.y4m", "o.y4m", "--size", "80x64", "--frames", "40", "--direction", "right"}},
    {"find",
     {"find", "f.y4m", "f.y4m", "--at", "80,64", "--half", "8x8", "--range", "20x20", "--map", "o.csv",
      "--annotate", "o.png"}},
    {"clip",
     {"clip", "--polygon", "2,1 14,1 6,4 14,7 2,7", "--size", "16x8", "--region", "8,0,4,8", "--svg",
      "o.svg"}},
    {"join", {"join", "v.y4m", "v.y4m", "-o", "o.y4m"}},
    {"demo", {"demo", "f.y4m", "-o", "gallery", "--threads", "2"}},
};

INSTANTIATE_TEST_SUITE_P(Commands, Signals, testing::ValuesIn(commands),
                         [](const auto& info) { return std::string(info.param.name); });

class Signal : public testing::Test {
 protected:
  Outcome Shell(const std::string& command) const { return RunShell(temp_.Path(), command); }
  const TempFolder temp_;
};

TEST_F(Signal, OfMoreThanAHundredUnfinishedFilesNoneIsLeft) {
  // The pipe stays open: the program waits for a frame that never comes, with a file for each it has seen.
  std::string video = "YUV4MPEG2 W2 H2 F25:1 C422\n";
  for (int i = 0; i < 200; ++i) video += "FRAME\n12345678";
  WriteFile(temp_.Path() / "v.y4m", video);
  const Outcome outcome = Shell(
      "mkfifo p; \"$KV\" convert p out.bmp --from-format y4m & exec 3>p; cat v.y4m >&3; "
      "while [ $(ls -A | grep -c 'part$') -lt 200 ]; do sleep 0.01; done; kill -HUP $!; wait $!; echo $?; "
      "ls -A | grep -c 'part$'");
  EXPECT_EQ(outcome.out, "129\n0\n") << outcome.err;
}

TEST_F(Signal, ThatTheParentIgnoresIsIgnored) {
  WriteFile(temp_.Path() / "g.pgm", "P5 2 2 255\n1234");
  const Outcome outcome = Shell(
      "trap '' HUP; mkfifo p; \"$KV\" convert p out.bmp & exec 3>p; kill -HUP $!; cat g.pgm >&3; "
      "exec 3>&-; wait $!; echo $?");
  EXPECT_EQ(outcome.out, "0\n") << outcome.err;
  EXPECT_TRUE(fs::exists(temp_.Path() / "out.bmp"));
}

TEST_F(Signal, ClosedPipesEndEveryAnswerSilently) {
  WriteFile(temp_.Path() / "g.pgm", "P5 2 2 255\n1234");
  for (const char* arguments :
       {"members", "members --json", "--help", "--version", "convert --help",
        "members --for Copy:yuv422:dib24", "clip --polygon '2,1 14,1 6,4' --size 16x8 --region 8,0,4,8",
        "convert g.pgm o.bmp --json"}) {
    // The reader is gone before the program starts.
    const Outcome outcome = Shell(std::string("{ sleep 0.1; \"$KV\" ") + arguments +
                                  " 2>message; echo $? >status; } | true; cat status message");
    EXPECT_EQ(outcome.out, "141\n") << arguments;
  }
  // Also where the parent ignores the signal.
  EXPECT_EQ(Shell("trap '' PIPE; { sleep 0.1; \"$KV\" members 2>message; echo $? >status; } | true; "
                  "cat status message")
                .out,
            "141\n");
}

TEST_F(Signal, OutputThatCannotBeWrittenIsAnError) {
  for (const char* arguments :
       {"members", "members --all", "members --json", "members --for Copy:yuv422:dib24", "--help",
        "--version", "convert --help", "selftest --rounds 1 --seed 3",
        "clip --polygon '2,1 14,1 6,4' --size 16x8 --region 8,0,4,8",
        "clip --polygon '2,1 14,1 6,4' --size 16x8 --region 8,0,4,8 --json"}) {
    const Outcome full = Shell(std::string("\"$KV\" ") + arguments + " >/dev/full");
    EXPECT_EQ(full.status, 2) << arguments;
    EXPECT_EQ(full.err, "kv: standard output: cannot be written: No space left on device\n") << arguments;
    const Outcome closed = Shell(std::string("\"$KV\" ") + arguments + " >&-");
    EXPECT_EQ(closed.status, 2) << arguments;
    EXPECT_EQ(closed.err, "kv: standard output: cannot be written: Bad file descriptor\n") << arguments;
  }
}

TEST_F(Signal, AClosedStandardStreamIsNotTakenForAFile) {
  WriteFile(temp_.Path() / "g.pgm", "P5 2 2 255\n1234");
  ASSERT_EQ(Shell("\"$KV\" convert g.pgm expected.bmp").status, 0);
  EXPECT_EQ(Shell("\"$KV\" convert g.pgm o.bmp --json <&- >&- 2>&-").status, 2);
  EXPECT_TRUE(ReadFile(temp_.Path() / "o.bmp") == ReadFile(temp_.Path() / "expected.bmp"));
}

}  // namespace
