#include "host/read_ahead.h"

#include <system_error>
#include <utility>

namespace kv_host {

ReadAhead::ReadAhead(PictureReader& reader, int threads) : reader_(reader) {
  const unsigned wanted = threads > 0 ? static_cast<unsigned>(threads) : std::thread::hardware_concurrency();
  if (wanted < 2 || !reader.MayBeReadAhead()) return;
  try {
    thread_ = std::thread([this] {
      for (bool isLast = false; !isLast;) {
        Read next = ReadNext();
        isLast = !next.frame;
        if (!frames_.Put(std::move(next))) return;
      }
      frames_.Finish();
    });
  } catch (const std::system_error&) {
    // Without a thread frames are read when they are wanted.
  }
}

ReadAhead::~ReadAhead() {
  frames_.Abandon();
  if (thread_.joinable()) thread_.join();
}

ReadAhead::Read ReadAhead::ReadNext() noexcept {
  Read read{.frame = {}, .number = reader_.NextNumber()};
  try {
    read.frame = reader_.Next();
  } catch (...) {
    read.failure = std::current_exception();
  }
  return read;
}

std::optional<Raster> ReadAhead::Next() {
  Read read = thread_.joinable() ? frames_.Take().value_or(Read{}) : ReadNext();
  number_ = read.number;
  if (read.failure) std::rethrow_exception(read.failure);
  return std::move(read.frame);
}

}  // namespace kv_host
