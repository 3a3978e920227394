#include "tests/host/program.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace kv_test {

namespace fs = std::filesystem;

int Outcome::ErrorLines() const {
  return static_cast<int>(std::ranges::count(err, '\n'));
}

Outcome RunKv(const fs::path& folder, const std::string& arguments) {
  return RunShell(folder, "\"$KV\" " + arguments);
}

Outcome RunShell(const fs::path& folder, const std::string& command) {
  const fs::path kv = fs::read_symlink("/proc/self/exe").parent_path() / "kv";
  const fs::path out = folder / ".out";
  const fs::path err = folder / ".err";
  const std::string line = "cd '" + folder.string() + "' && KV='" + kv.string() + "' && { " + command +
                           "\n} >'" + out.string() + "' 2>'" + err.string() + "'";
  const int status = std::system(line.c_str());  // NOLINT: the tests run a program
  Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), ReadFile(out),
                  ReadFile(err)};
  fs::remove(out);
  fs::remove(err);
  return outcome;
}

std::string ReadFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + file.string());
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void WriteFile(const fs::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

fs::path Photograph() {
  return fs::path(KV_ASSETS) / "seeding-720x576.y4m";
}

}  // namespace kv_test
