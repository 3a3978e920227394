#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

/// The program's own door to the operating system.
namespace kv_host {

/// To be called once, first of all: standard input and output carry bytes as they are, a closed pipe is a
/// write error like any other, and no failure opens a window.
void PrepareProcess();

/// The arguments of the program, without its own name.
std::vector<std::string> Arguments(int argc, const char* const* argv);

/// Whether a person sees what is written to standard error.
bool IsErrorTerminal();

/// As std::fopen, whatever letters the name holds; null, and errno, when the file cannot be opened.
std::FILE* OpenFile(const std::filesystem::path& file, const char* mode);

/// Gives the file `from` the name `to`, in one step: whoever opens `to` meanwhile sees the old file or the
/// new one.
void Replace(const std::filesystem::path& from, const std::filesystem::path& to, std::error_code& error);

}  // namespace kv_host
