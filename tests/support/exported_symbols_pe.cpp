#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "tests/support/exported_symbols.h"

namespace kv_test {
namespace {

/// A DLL for x86-64. All numbers in it are little-endian.
class PeFile {
 public:
  explicit PeFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(stream), {});
    const auto fail = [&] { throw std::runtime_error(file.string() + " is no DLL for x86-64"); };
    if (bytes_.size() < 0x40 || bytes_[0] != 'M' || bytes_[1] != 'Z') fail();
    const std::uint64_t header = At<std::uint32_t>(0x3C);
    constexpr std::uint32_t signature = 0x00004550;
    constexpr std::uint16_t x86_64 = 0x8664;
    constexpr std::uint16_t plus = 0x20B;
    if (At<std::uint32_t>(header) != signature || At<std::uint16_t>(header + 4) != x86_64) fail();
    const std::uint64_t optional = header + 24;
    if (At<std::uint16_t>(optional) != plus) fail();
    // The first entry of the data directory.
    exports_ = At<std::uint32_t>(optional + 112);
    const std::uint64_t table = optional + At<std::uint16_t>(header + 20);
    for (unsigned i = 0; i < At<std::uint16_t>(header + 6); ++i) {
      const std::uint64_t entry = table + 40ULL * i;
      sections_.push_back(
          {At<std::uint32_t>(entry + 12), At<std::uint32_t>(entry + 16), At<std::uint32_t>(entry + 20)});
    }
  }

  std::set<std::string> ExportedNames() const {
    std::set<std::string> names;
    if (exports_ == 0) return names;
    const std::uint64_t directory = OffsetOf(exports_);
    const auto functions = At<std::uint32_t>(directory + 20);
    const auto count = At<std::uint32_t>(directory + 24);
    // One without a name would be reached by its number.
    if (functions != count) throw std::runtime_error("the DLL exports functions without names");
    const std::uint64_t table = OffsetOf(At<std::uint32_t>(directory + 32));
    for (std::uint32_t i = 0; i < count; ++i) {
      names.insert(&bytes_.at(OffsetOf(At<std::uint32_t>(table + 4ULL * i))));
    }
    return names;
  }

 private:
  struct Section {
    std::uint32_t address;
    std::uint32_t size;
    std::uint32_t offset;
  };

  /// The file offset of an address of the loaded module.
  std::uint64_t OffsetOf(std::uint32_t address) const {
    for (const Section& section : sections_) {
      if (address >= section.address && address - section.address < section.size) {
        return std::uint64_t{section.offset} + (address - section.address);
      }
    }
    throw std::runtime_error("an address of the DLL is in no section");
  }

  template <class Number>
  Number At(std::uint64_t offset) const {
    if (offset > bytes_.size() || bytes_.size() - offset < sizeof(Number)) {
      throw std::runtime_error("the DLL is cut off");
    }
    Number number;
    std::memcpy(&number, bytes_.data() + offset, sizeof number);
    return number;
  }

  std::vector<char> bytes_;
  std::vector<Section> sections_;
  std::uint32_t exports_ = 0;
};

}  // namespace

std::set<std::string> ExportedSymbols(const std::filesystem::path& file) {
  return PeFile(file).ExportedNames();
}

}  // namespace kv_test
