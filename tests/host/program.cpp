#include "tests/host/program.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace kv_test {

namespace fs = std::filesystem;

int Outcome::ErrorLines() const {
  return static_cast<int>(std::ranges::count(err, '\n'));
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
