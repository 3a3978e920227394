#include "host/formats/byte_source.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/formats/file_name.h"
#include "host/formats/format_error.h"
#include "host/platform/platform.h"

namespace kv_host {

void ByteSource::Closer::operator()(std::FILE* file) const noexcept {
  if (file != stdin) std::fclose(file);
}

ByteSource::ByteSource(const std::string& name) : name_(name) {
  if (name == "-") {
    name_ = "standard input";
    file_.reset(stdin);
    return;
  }
  const std::filesystem::path path = PathOf(name);
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) throw FileError(name, "cannot be read: it is a folder");
  file_.reset(OpenFile(path, "rb"));
  if (file_ == nullptr) throw FileError(name, "cannot be opened: " + SystemText(errno));
  if (std::filesystem::is_regular_file(path, error)) {
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (!error) size_ = size;
  }
}

std::optional<std::uint64_t> ByteSource::Remaining() const {
  if (!size_) return std::nullopt;
  return *size_ - std::min(*size_, offset_);
}

std::size_t ByteSource::ReadFile(std::span<std::uint8_t> out) {
  if (out.empty()) return 0;
  errno = 0;
  const std::size_t count = std::fread(out.data(), 1, out.size(), file_.get());
  if (count < out.size() && std::ferror(file_.get()) != 0) {
    throw FileError(name_, "cannot be read: " + SystemText(errno));
  }
  return count;
}

std::span<const std::uint8_t> ByteSource::Peek(std::size_t count) {
  const std::size_t have = peeked_.size();
  if (have < count) {
    peeked_.resize(count);
    const std::size_t got = ReadFile(std::span(peeked_).subspan(have));
    peeked_.resize(have + got);
  }
  return std::span<const std::uint8_t>(peeked_).first(std::min(count, peeked_.size()));
}

int ByteSource::Get() {
  std::array<std::uint8_t, 1> byte{};
  return ReadSome(byte) == 1 ? byte[0] : -1;
}

std::size_t ByteSource::ReadSome(std::span<std::uint8_t> out) {
  const std::size_t early = std::min(out.size(), peeked_.size());
  std::copy_n(peeked_.begin(), early, out.begin());
  peeked_.erase(peeked_.begin(), peeked_.begin() + static_cast<std::ptrdiff_t>(early));
  const std::size_t count = early + ReadFile(out.subspan(early));
  offset_ += count;
  return count;
}

std::uint64_t ByteSource::AppendSome(std::vector<std::uint8_t>& out, std::uint64_t count) {
  constexpr std::uint64_t FirstStep = std::uint64_t{1} << 24;
  if (Remaining().value_or(0) >= count) out.reserve(out.size() + count);
  std::uint64_t done = 0;
  while (done < count) {
    const std::uint64_t step = std::min(count - done, std::max(FirstStep, done));
    const std::size_t before = out.size();
    out.resize(before + step);
    const std::size_t got = ReadSome(std::span(out).subspan(before));
    out.resize(before + got);
    done += got;
    if (got < step) break;
  }
  return done;
}

void ByteSource::Read(std::span<std::uint8_t> out, std::string_view what) {
  const std::size_t got = ReadSome(out);
  if (got < out.size()) FailShort(what, out.size(), got);
}

void ByteSource::Append(std::vector<std::uint8_t>& out, std::uint64_t count, std::string_view what) {
  const auto remaining = Remaining();
  if (remaining && *remaining < count) FailShort(what, count, *remaining);
  const std::uint64_t got = AppendSome(out, count);
  if (got < count) FailShort(what, count, got);
}

void ByteSource::Skip(std::uint64_t count, std::string_view what) {
  const auto remaining = Remaining();
  if (remaining && *remaining < count) FailShort(what, count, *remaining);
  std::array<std::uint8_t, 4096> bytes{};
  std::uint64_t done = 0;
  while (done < count) {
    const std::size_t step = std::min<std::uint64_t>(bytes.size(), count - done);
    const std::size_t got = ReadSome(std::span(bytes).first(step));
    done += got;
    if (got < step) FailShort(what, count, done);
  }
}

int ByteSource::Descriptor() const {
  return DescriptorOf(file_.get());
}

std::vector<std::uint8_t> ByteSource::TakeAhead() {
  if (size_) return {};
  const std::size_t buffered = BufferedBytes(file_.get());
  Peek(peeked_.size() + buffered);
  return std::exchange(peeked_, {});
}

void ByteSource::Fail(const std::string& problem) const {
  throw FormatError(name_, offset_, problem);
}

void ByteSource::FailShort(std::string_view what, std::uint64_t wanted, std::uint64_t got) const {
  const std::uint64_t end = size_.value_or(offset_);
  throw TruncatedError(name_, end,
                    "the file ends early: " + std::string(what) + " lacks " + std::to_string(wanted - got) +
                        " of " + std::to_string(wanted) + " bytes");
}

}  // namespace kv_host
