#include "tests/formats/support.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "host/formats/picture_reader.h"
#include "host/formats/picture_writer.h"

namespace kv_host {
namespace fs = std::filesystem;

TestFolder::TestFolder() {
  std::random_device random;
  const std::string name = "kv_formats_test_" + std::to_string(random()) + std::to_string(random());
  // Many thousand small files are written: in memory where that is possible.
  std::error_code error;
  path_ = fs::path("/dev/shm") / name;
  if (fs::create_directory(path_, error)) return;
  path_ = fs::temp_directory_path() / name;
  fs::create_directory(path_);
}

TestFolder::~TestFolder() {
  std::error_code error;
  fs::remove_all(path_, error);
}

std::vector<std::string> TestFolder::Names() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(path_)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

Bytes FileBytes(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const std::string& name, const Bytes& bytes) {
  std::ofstream file(name, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(file.good()) << name;
}

Bytes ToBytes(std::string_view text) {
  return {text.begin(), text.end()};
}

Raster RandomRaster(RasterKind kind, int width, int height, int layout, unsigned seed) {
  std::mt19937 random(seed);
  Raster raster = MakeRaster(kind, width, height, layout);
  for (Plane& plane : raster.planes) {
    for (std::uint8_t& byte : plane.bytes) byte = static_cast<std::uint8_t>(random() >> 24U);
  }
  if (kind == RasterKind::Dib15) {
    for (std::size_t i = 1; i < raster.planes[0].bytes.size(); i += 2) raster.planes[0].bytes[i] &= 0x7F;
  }
  return raster;
}

std::string FileErrorText(const std::function<void()>& action) {
  try {
    action();
  } catch (const FileError& error) {
    std::string text = error.what();
    EXPECT_TRUE(std::none_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20; })) << text;
    return text;
  }
  ADD_FAILURE() << "no FileError was thrown";
  return {};
}

std::string FormatErrorText(const std::function<void()>& action) {
  return FileErrorText([&] {
    try {
      action();
    } catch (const FormatError&) {
      throw;
    } catch (const FileError& error) {
      ADD_FAILURE() << "a FileError that is no FormatError: " << error.what();
      throw;
    }
  });
}

std::vector<Raster> ReadAll(const std::string& name) {
  std::vector<Raster> frames;
  PictureReader reader(name);
  while (auto frame = reader.Next()) frames.push_back(std::move(*frame));
  return frames;
}

void WriteAll(const std::string& name, const std::vector<Raster>& frames) {
  PictureWriter writer(name);
  for (const Raster& frame : frames) writer.Write(frame);
  writer.Commit();
}

}  // namespace kv_host
