#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "host/formats/format_error.h"
#include "host/formats/raster.h"

namespace kv_host {

using Bytes = std::vector<std::uint8_t>;

/// A folder of its own for a test, gone when the test ends.
class TestFolder {
 public:
  TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  ~TestFolder();

  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  /// The names in the folder, sorted.
  std::vector<std::string> Names() const;

 private:
  std::filesystem::path path_;
};

/// Whether devices and the ends of a pipe have names that can be opened like files. Where they have none the
/// tests of kv_host::ByteSource and its kin do without them; those of the program `kv` use pipes everywhere.
#if defined(_WIN32)
inline constexpr bool hasNamedPipes = false;
#else
inline constexpr bool hasNamedPipes = true;
#endif

/// For the first line of a test that needs TestPipe or a device.
#define KV_NEEDS_NAMED_PIPES() \
  if (!hasNamedPipes) GTEST_SKIP() << "pipes and devices have no names here"

/// A pipe whose ends can be opened by name.
class TestPipe {
 public:
  TestPipe();
  TestPipe(const TestPipe&) = delete;
  TestPipe& operator=(const TestPipe&) = delete;
  ~TestPipe();

  std::string ReadName() const;
  std::string WriteName() const;
  void Send(const Bytes& bytes) const;
  void CloseWriter();
  void CloseReader();

 private:
  int reader_ = -1;
  int writer_ = -1;
};

Bytes FileBytes(const std::string& name);
void WriteFile(const std::string& name, const Bytes& bytes);
Bytes ToBytes(std::string_view text);

/// A raster with random samples and a known interlace. The top bit of 15-bit words is 0.
Raster RandomRaster(RasterKind kind, int width, int height, int layout = 0, unsigned seed = 1);

/// What a FileError (or FormatError) that `action` must throw says. Empty, with a failure recorded, if it
/// throws none.
std::string FileErrorText(const std::function<void()>& action);
std::string FormatErrorText(const std::function<void()>& action);

/// Reads all pictures of a file.
std::vector<Raster> ReadAll(const std::string& name);
/// Writes pictures to a file, which then exists.
void WriteAll(const std::string& name, const std::vector<Raster>& frames);

}  // namespace kv_host
