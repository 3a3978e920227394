#pragma once

#include <filesystem>
#include <string>

namespace kv_test {

/// What a run of the program came to.
struct Outcome {
  int status;
  std::string out;
  std::string err;

  /// Lines on standard error.
  int ErrorLines() const;
};

/// Runs `kv` with these arguments, as a shell splits them, in `folder`.
Outcome RunKv(const std::filesystem::path& folder, const std::string& arguments);
/// Runs `kv` so, its standard streams all pipes: it reads `input`.
Outcome PipeThroughKv(const std::filesystem::path& folder, const std::string& arguments,
                      const std::string& input);

/// Whether RunShell has a shell, and that shell ffmpeg.
#if defined(_WIN32)
inline constexpr bool hasShell = false;
#else
inline constexpr bool hasShell = true;
#endif
/// For the first line of a test that needs it.
#define KV_NEEDS_SHELL() \
  if (!kv_test::hasShell) GTEST_SKIP() << "no shell with the programs of other people here"
/// Runs any command line in `folder`; `$KV` is the program.
Outcome RunShell(const std::filesystem::path& folder, const std::string& command);

std::string ReadFile(const std::filesystem::path& file);
void WriteFile(const std::filesystem::path& file, const std::string& bytes);

/// The committed photograph, one frame of 4:2:2 video, 720 x 576.
std::filesystem::path Photograph();

}  // namespace kv_test
