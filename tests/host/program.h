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
/// Runs any command line in `folder`; `$KV` is the program.
Outcome RunShell(const std::filesystem::path& folder, const std::string& command);

std::string ReadFile(const std::filesystem::path& file);
void WriteFile(const std::filesystem::path& file, const std::string& bytes);

/// The committed photograph, one frame of 4:2:2 video, 720 x 576.
std::filesystem::path Photograph();

}  // namespace kv_test
