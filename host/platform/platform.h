#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

/// The program's own door to the operating system.
namespace kv_host {

/// To be called once, first of all: standard input and output carry bytes as they are, no file takes the
/// place of a standard stream that is closed, and no failure opens a window.
void PrepareProcess();

/// From now on a signal that ends the program (hang-up, interrupt, request to end, closed pipe, …) calls
/// `cleanUp` first; the program then ends by that signal. `cleanUp` may run at any moment. Signals that the
/// program's parent had ignored stay ignored, but for a closed pipe.
void BeforeSignalsEndTheProgram(void (*cleanUp)() noexcept);

/// The arguments of the program, without its own name.
std::vector<std::string> Arguments(int argc, const char* const* argv);

/// Whether a person sees what is written to standard error.
bool IsErrorTerminal();

/// As std::fopen, whatever letters the name holds; null, and errno, when the file cannot be opened.
std::FILE* OpenFile(const std::filesystem::path& file, const char* mode);

/// The system's number of an open file.
int DescriptorOf(std::FILE* file);

/// Goes to a byte of a file, counted from its start; false, and errno, when it cannot.
bool SeekTo(std::FILE* file, std::int64_t position);

/// How many bytes the C library has read of a file but not yet handed out; 0 where it does not tell.
std::size_t BufferedBytes(std::FILE* file);

/// Gives the file `from` the name `to`, in one step: whoever opens `to` meanwhile sees the old file or the
/// new one.
void Replace(const std::filesystem::path& from, const std::filesystem::path& to, std::error_code& error);

/// The same where there is no file `to` yet; otherwise the error is std::errc::file_exists.
void RenameToNew(const std::filesystem::path& from, const std::filesystem::path& to, std::error_code& error);

}  // namespace kv_host
