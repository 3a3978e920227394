#include "host/read_ahead.h"

#include <system_error>
#include <utility>

namespace kv_host {

ReadAhead::ReadAhead(PictureReader& reader, int threads) : reader_(reader) {
  const unsigned wanted = threads > 0 ? static_cast<unsigned>(threads) : std::thread::hardware_concurrency();
  if (wanted < 2 || !reader.MayBeReadAhead()) return;
  try {
    thread_ = std::thread([this] {
      // One frame is ahead, not a second one in wait for its place.
      for (bool isLast = false; !isLast && frames_.AwaitRoom();) {
        Read next = ReadNext();
        isLast = !next.frame;
        frames_.Put(std::move(next));
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
