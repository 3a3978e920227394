#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "tests/formats/support.h"

namespace kv_host {

TestPipe::TestPipe() {
  int ends[2];
  // Who writes to a closed pipe shall see the error.
  std::signal(SIGPIPE, SIG_IGN);
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  reader_ = ends[0];
  writer_ = ends[1];
}

TestPipe::~TestPipe() {
  CloseReader();
  CloseWriter();
}

std::string TestPipe::ReadName() const {
  return "/dev/fd/" + std::to_string(reader_);
}

std::string TestPipe::WriteName() const {
  return "/dev/fd/" + std::to_string(writer_);
}

void TestPipe::Send(const Bytes& bytes) const {
  if (write(writer_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("the pipe did not take the bytes");
  }
}

void TestPipe::CloseReader() {
  if (reader_ >= 0) close(reader_);
  reader_ = -1;
}

void TestPipe::CloseWriter() {
  if (writer_ >= 0) close(writer_);
  writer_ = -1;
}

}  // namespace kv_host
