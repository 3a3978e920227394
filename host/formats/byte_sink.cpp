#include "host/formats/byte_sink.h"

#include <cerrno>
#include <random>
#include <system_error>

#include "host/formats/file_name.h"
#include "host/formats/format_error.h"
#include "host/platform/platform.h"

namespace kv_host {
namespace fs = std::filesystem;
namespace {

/// Where the bytes of `name` shall end up: a link stays and its goal is replaced.
fs::path Resolve(const std::string& name) {
  const fs::path path = PathOf(name);
  std::error_code error;
  if (!fs::is_symlink(path, error)) return path;
  const fs::path goal = fs::weakly_canonical(path, error);
  return error ? path : goal;
}

/// A rename would replace a file that its owner has made read-only; asking to open it does not.
void RequireWritable(const std::string& name, const fs::path& target) {
  std::error_code error;
  const fs::file_status status = fs::status(target, error);
  if (fs::is_directory(status)) throw FileError(name, "cannot be written: it is a folder");
  if (!fs::is_regular_file(status)) return;
  std::FILE* const file = OpenFile(target, "r+b");
  if (file == nullptr) throw FileError(name, "cannot be written: " + SystemText(errno));
  std::fclose(file);
}

bool IsPipeOrDevice(const fs::path& target) {
  std::error_code error;
  return fs::is_other(fs::status(target, error));
}

std::string RandomDigits() {
  std::random_device random;
  std::string digits;
  for (int i = 0; i < 12; ++i) digits += "0123456789abcdef"[random() % 16];
  return digits;
}

}  // namespace

FileError ExistsError(const std::string& name) {
  return {name, "exists already; --overwrite replaces it"};
}

void ByteSink::Closer::operator()(std::FILE* file) const noexcept {
  if (file != stdout) std::fclose(file);
}

ByteSink::ByteSink(const std::string& name) : name_(name) {
  if (name == "-") {
    name_ = "standard output";
    writesThrough_ = true;
    file_.reset(stdout);
    return;
  }
  target_ = Resolve(name);
  RequireWritable(name_, target_);
  writesThrough_ = IsPipeOrDevice(target_);
  if (writesThrough_) {
    file_.reset(OpenFile(target_, "wb"));
    if (file_ == nullptr) FailToWrite(errno);
  } else {
    OpenTemporary();
  }
}

ByteSink::~ByteSink() {
  file_.reset();
  if (temporary_ == nullptr) return;
  std::error_code error;
  fs::remove(temporary_->Path(), error);
}

void ByteSink::OpenTemporary() {
  // The short name fits wherever the target's own does; "x" refuses a file that is already there.
  for (int attempt = 0; attempt < 10 && file_ == nullptr; ++attempt) {
    temporary_ =
        std::make_unique<UnfinishedFile>(target_.parent_path() / (".kv-" + RandomDigits() + ".part"));
    file_.reset(OpenFile(temporary_->Path(), "wbx"));
    if (file_ != nullptr) break;
    const int error = errno;
    temporary_.reset();
    if (error != EEXIST) FailToWrite(error);
  }
  if (file_ == nullptr) FailToWrite(EEXIST);
  std::error_code error;
  const fs::file_status old = fs::status(target_, error);
  if (fs::is_regular_file(old)) fs::permissions(temporary_->Path(), old.permissions(), error);
}

void ByteSink::FailToWrite(int error) const {
  throw FileError(name_, "cannot be written: " + SystemText(error));
}

void ByteSink::Write(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return;
  if (memory_ != nullptr) {
    memory_->insert(memory_->end(), bytes.begin(), bytes.end());
    return;
  }
  errno = 0;
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) < bytes.size()) FailToWrite(errno);
}

void ByteSink::Write(std::string_view text) {
  Write(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

void ByteSink::Seek(std::int64_t position) {
  errno = 0;
  if (!SeekTo(file_.get(), position)) FailToWrite(errno);
}

void ByteSink::Flush() {
  errno = 0;
  if (file_ != nullptr && std::fflush(file_.get()) != 0) FailToWrite(errno);
}

void ByteSink::Finish() {
  Flush();
  if (file_ == nullptr || file_.get() == stdout) return;
  // Some file systems report a full disk only here.
  errno = 0;
  if (std::fclose(file_.release()) != 0) FailToWrite(errno);
}

void ByteSink::Rename(const std::string& name) {
  if (writesThrough_) throw FileError(name_, "cannot be renamed");
  const fs::path target = Resolve(name);
  RequireWritable(name, target);
  if (IsPipeOrDevice(target)) throw FileError(name, "cannot be replaced: it is a pipe or device");
  name_ = name;
  target_ = target;
}

void ByteSink::Commit(bool replaces) {
  Finish();
  if (temporary_ == nullptr) return;
  std::error_code error;
  (replaces ? Replace : RenameToNew)(temporary_->Path(), target_, error);
  if (error == std::errc::file_exists && !replaces) throw ExistsError(name_);
  if (error) throw FileError(name_, "cannot be written: " + error.message());
  temporary_.reset();
}

}  // namespace kv_host
