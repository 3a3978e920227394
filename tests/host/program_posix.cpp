#include <sys/wait.h>

#include <cstdlib>

#include "tests/host/program.h"

namespace kv_test {

namespace fs = std::filesystem;

Outcome RunKv(const fs::path& folder, const std::string& arguments) {
  return RunShell(folder, "\"$KV\" " + arguments);
}

Outcome PipeThroughKv(const fs::path& folder, const std::string& arguments, const std::string& input) {
  const fs::path in = folder / ".in";
  const fs::path status = folder / ".status";
  WriteFile(in, input);
  // A pipe answers with its last command's status.
  Outcome outcome = RunShell(folder, "cat '" + in.string() + "' | { \"$KV\" " + arguments + "; echo $? >'" +
                                         status.string() + "'; } | cat");
  outcome.status = std::stoi(ReadFile(status));
  fs::remove(in);
  fs::remove(status);
  return outcome;
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

}  // namespace kv_test
