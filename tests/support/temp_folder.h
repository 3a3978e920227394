#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

namespace kv_test {

/// A new, empty folder that goes with this object.
class TempFolder {
 public:
  TempFolder() : path_(std::filesystem::path(testing::TempDir()) / ("kv_" + UniqueText())) {
    std::filesystem::create_directories(path_);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }

  const std::filesystem::path& Path() const { return path_; }

 private:
  static std::string UniqueText() {
    std::random_device random;
    return std::to_string(random()) + std::to_string(random());
  }

  std::filesystem::path path_;
};

}  // namespace kv_test
