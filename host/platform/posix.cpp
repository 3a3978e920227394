#include <unistd.h>

#include <csignal>

#include "host/platform/platform.h"

namespace kv_host {

void PrepareProcess() {
  std::signal(SIGPIPE, SIG_IGN);
}

std::vector<std::string> Arguments(int argc, const char* const* argv) {
  return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

bool IsErrorTerminal() {
  return isatty(STDERR_FILENO) != 0;
}

std::FILE* OpenFile(const std::filesystem::path& file, const char* mode) {
  return std::fopen(file.c_str(), mode);
}

void Replace(const std::filesystem::path& from, const std::filesystem::path& to, std::error_code& error) {
  std::filesystem::rename(from, to, error);
}

}  // namespace kv_host
