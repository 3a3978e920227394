#include <fcntl.h>
#include <io.h>
#include <windows.h>

// After windows.h, whose types it needs.
#include <shellapi.h>

#include <csignal>
#include <memory>

#include "host/platform/platform.h"

namespace kv_host {
namespace {

std::string Utf8(std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  std::string narrow(text.size() * 3, '\0');
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(),
                                       static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<std::size_t>(size));
  return narrow;
}

void (*beforeTheEnd)() noexcept = nullptr;

void EndBy(int /*signal*/) {
  beforeTheEnd();
  // The status of a program that an interrupt ends.
  TerminateProcess(GetCurrentProcess(), STATUS_CONTROL_C_EXIT);
}

void Move(const std::filesystem::path& from, const std::filesystem::path& to, DWORD flags,
          std::error_code& error) {
  error.clear();
  if (MoveFileExW(from.c_str(), to.c_str(), flags) != 0) return;
  error.assign(static_cast<int>(GetLastError()), std::system_category());
}

}  // namespace

void PrepareProcess() {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
  // Messages name files in UTF-8.
  SetConsoleOutputCP(CP_UTF8);
}

void BeforeSignalsEndTheProgram(void (*cleanUp)() noexcept) {
  beforeTheEnd = cleanUp;
  for (const int signal : {SIGINT, SIGTERM, SIGBREAK}) std::signal(signal, EndBy);
}

std::vector<std::string> Arguments(int /*argc*/, const char* const* /*argv*/) {
  // What main gets has passed through a code page that lacks most letters.
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &count),
                                                             LocalFree);
  std::vector<std::string> arguments;
  for (int i = 1; wide != nullptr && i < count; ++i) arguments.push_back(Utf8(wide.get()[i]));
  return arguments;
}

bool IsErrorTerminal() {
  // _isatty is true of every device, NUL too.
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

std::FILE* OpenFile(const std::filesystem::path& file, const char* mode) {
  const std::string narrow(mode);
  return _wfopen(file.c_str(), std::wstring(narrow.begin(), narrow.end()).c_str());
}

int DescriptorOf(std::FILE* file) {
  return _fileno(file);
}

bool SeekTo(std::FILE* file, std::int64_t position) {
  return _fseeki64(file, position, SEEK_SET) == 0;
}

std::size_t BufferedBytes(std::FILE*) {
  return 0;
}

void Replace(const std::filesystem::path& from, const std::filesystem::path& to, std::error_code& error) {
  Move(from, to, MOVEFILE_REPLACE_EXISTING, error);
}

void RenameToNew(const std::filesystem::path& from, const std::filesystem::path& to, std::error_code& error) {
  Move(from, to, 0, error);
  if (error.value() == ERROR_ALREADY_EXISTS) error = std::make_error_code(std::errc::file_exists);
}

}  // namespace kv_host
