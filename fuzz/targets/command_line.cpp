// The program with any options and small files: an exit status that is documented, a reason for each that is not 0, and
// a report that can be read.

#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "fuzz/check_input.h"
#include "host/program.h"
#include "tests/support/member.h"

namespace {

using kv_fuzz::Require;

constexpr const char* commands[] = {"convert", "info",   "copy-roi", "diff",        "average",    "filter",
                                    "blend",   "clip",   "key",      "alpha-color", "alpha-prob", "find",
                                    "track",   "parity", "pan",      "join",        "members"};
constexpr const char* words[] = {"clip.y4m",
                                 "clip.y4m",
                                 "grey.pgm",
                                 "grey.pgm",
                                 "fixed.y4m",
                                 "fixed.y4m",
                                 "out.y4m",
                                 "out.png",
                                 "out.pgm",
                                 "out-%d.ppm",
                                 "out.bmp",
                                 "missing",
                                 "--json",
                                 "--json",
                                 "--verbose",
                                 "--quiet",
                                 "--threads",
                                 "--window",
                                 "--at",
                                 "--half",
                                 "--range",
                                 "--from",
                                 "--to",
                                 "--frames",
                                 "--matrix",
                                 "--chroma",
                                 "--region",
                                 "--layout",
                                 "--depth",
                                 "--output",
                                 "-o",
                                 "--steps",
                                 "--polygon",
                                 "--size",
                                 "--levels",
                                 "--direction",
                                 "--stats",
                                 "--plate",
                                 "--gain",
                                 "--resample",
                                 "--to-format",
                                 "--overwrite",
                                 "--exact-copy",
                                 "--update",
                                 "--max-score",
                                 "--fields",
                                 "--method",
                                 "--invert",
                                 "--member",
                                 "--help",
                                 "--",
                                 "0",
                                 "1",
                                 "2",
                                 "3",
                                 "-1",
                                 "5x4",
                                 "1x1",
                                 "8x8",
                                 "2,2",
                                 "1,1,4,4",
                                 "0,0,99,99",
                                 "0:1",
                                 "1:2",
                                 "601",
                                 "709",
                                 "limited",
                                 "full",
                                 "left",
                                 "centre",
                                 "top",
                                 "bottom",
                                 "uyvy",
                                 "yuy2",
                                 "png",
                                 "16",
                                 "0.5",
                                 "nan",
                                 "linear",
                                 "kv_algoC",
                                 "0,0 7,0 7,7",
                                 "2,1 14,1 6,4",
                                 "right",
                                 "up",
                                 "always",
                                 "line",
                                 "field",
                                 ""};

/// What one of the standard streams gets, in memory.
class Caught {
 public:
  explicit Caught(int stream) : stream_(stream), kept_(dup(stream)), memory_(memfd_create("kv_fuzz", 0)) {
    dup2(memory_, stream_);
  }
  Caught(const Caught&) = delete;
  Caught& operator=(const Caught&) = delete;
  ~Caught() { close(memory_); }

  std::string Take() {
    std::fflush(stream_ == STDOUT_FILENO ? stdout : stderr);
    dup2(kept_, stream_);
    close(kept_);
    std::string text(static_cast<std::size_t>(lseek(memory_, 0, SEEK_END)), '\0');
    Require(pread(memory_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
            "no memory file");
    return text;
  }

 private:
  int stream_;
  int kept_;
  int memory_;
};

void Write(const char* name, const std::string& bytes) {
  std::ofstream(name, std::ios::binary) << bytes;
}

std::string FixedClip() {
  std::string clip = "YUV4MPEG2 W8 H8 F25:1 Ip C422\n";
  for (int frame = 0; frame < 3; ++frame) {
    clip += "FRAME\n";
    for (int i = 0; i < 128; ++i) clip += static_cast<char>(i * 37 + frame * 11);
  }
  return clip;
}

/// An empty folder for what the program writes. The fuzzer's own files have names from where it was started.
const std::string& Folder() {
  static const std::string folder = [] {
    std::string name = std::filesystem::temp_directory_path() / "kv_fuzz_XXXXXX";
    Require(mkdtemp(name.data()) != nullptr, "no folder");
    return name;
  }();
  return folder;
}

class InFolder {
 public:
  InFolder() { std::filesystem::current_path(Folder()); }
  InFolder(const InFolder&) = delete;
  InFolder& operator=(const InFolder&) = delete;
  ~InFolder() { std::filesystem::current_path(before_); }

 private:
  std::filesystem::path before_ = std::filesystem::current_path();
};

void Start() {
  const InFolder folder;
  std::atexit([] { std::filesystem::remove_all(Folder()); });
  Write("fixed.y4m", FixedClip());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static_cast<void>(kv_test::Members());
  static const bool isStarted = (Start(), true);
  static_cast<void>(isStarted);
  const InFolder folder;
  FuzzedDataProvider input(data, size);
  std::vector<std::string> arguments = {
      "kv", commands[input.ConsumeIntegralInRange<std::size_t>(0, std::size(commands) - 1)]};
  const int count = input.ConsumeIntegralInRange(0, 10);
  bool isReport = false;
  bool isHelp = false;
  for (int i = 0; i < count; ++i) {
    arguments.emplace_back(words[input.ConsumeIntegralInRange<std::size_t>(0, std::size(words) - 1)]);
    isReport = isReport || arguments.back() == "--json";
    isHelp = isHelp || arguments.back() == "--help" || arguments.back() == "--";
  }
  Write("grey.pgm", "P5 " + input.ConsumeRandomLengthString(80));
  Write("clip.y4m", "YUV4MPEG2 " + input.ConsumeRemainingBytesAsString());
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);

  Caught out(STDOUT_FILENO);
  Caught err(STDERR_FILENO);
  const int status = kv_host::RunProgram(static_cast<int>(arguments.size()), pointers.data());
  const std::string problem = err.Take();
  const std::string answer = out.Take();
  Require(status >= 0 && status <= 3, "an exit status that is not documented");
  if (status >= 2 && !isReport) Require(!problem.empty(), "a failure without a reason");
  if (isReport && !isHelp) Require(nlohmann::json::accept(answer), "a report that is no JSON: " + answer);
  return 0;
}
