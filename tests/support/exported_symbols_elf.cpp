#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "tests/support/exported_symbols.h"

namespace kv_test {
namespace {

/// A 64-bit ELF file of this machine's byte order.
class ElfFile {
 public:
  explicit ElfFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(stream), {});
    if (bytes_.size() < sizeof(Elf64_Ehdr) || std::memcmp(bytes_.data(), ELFMAG, SELFMAG) != 0 ||
        bytes_[EI_CLASS] != ELFCLASS64) {
      throw std::runtime_error(file.string() + " is no 64-bit ELF file");
    }
    const auto header = At<Elf64_Ehdr>(0);
    for (unsigned i = 0; i < header.e_shnum; ++i) {
      sections_.push_back(At<Elf64_Shdr>(header.e_shoff + std::uint64_t{i} * header.e_shentsize));
    }
  }

  /// Names of the dynamic symbols that the file defines, or of those that it wants of others.
  std::set<std::string> DynamicSymbols(bool areDefined) const {
    std::set<std::string> names;
    for (const Elf64_Shdr& section : sections_) {
      if (section.sh_type != SHT_DYNSYM) continue;
      for (std::uint64_t at = 0; at < section.sh_size; at += sizeof(Elf64_Sym)) {
        const auto symbol = At<Elf64_Sym>(section.sh_offset + at);
        if (ELF64_ST_BIND(symbol.st_info) == STB_LOCAL || (symbol.st_shndx != SHN_UNDEF) != areDefined)
          continue;
        names.insert(&bytes_.at(sections_.at(section.sh_link).sh_offset + symbol.st_name));
      }
    }
    return names;
  }

 private:
  template <class Record>
  Record At(std::uint64_t offset) const {
    if (offset > bytes_.size() || bytes_.size() - offset < sizeof(Record)) {
      throw std::runtime_error("the ELF file is cut off");
    }
    Record record;
    std::memcpy(&record, bytes_.data() + offset, sizeof record);
    return record;
  }

  std::vector<char> bytes_;
  std::vector<Elf64_Shdr> sections_;
};

}  // namespace

std::set<std::string> ExportedSymbols(const std::filesystem::path& file) {
  return ElfFile(file).DynamicSymbols(true);
}

std::set<std::string> WantedSymbols(const std::filesystem::path& file) {
  return ElfFile(file).DynamicSymbols(false);
}

}  // namespace kv_test
