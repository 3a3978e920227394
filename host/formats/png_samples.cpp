#include "host/formats/png_samples.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>

namespace kv_host::png {

std::uint8_t Predict(std::uint8_t filter, std::uint8_t left, std::uint8_t above, std::uint8_t corner) {
  switch (filter) {
    case 1:
      return left;
    case 2:
      return above;
    case 3:
      return static_cast<std::uint8_t>((left + above) / 2);
    case 4: {
      const int toLeft = std::abs(above - corner);
      const int toAbove = std::abs(left - corner);
      const int toCorner = std::abs(left + above - 2 * corner);
      if (toLeft <= toAbove && toLeft <= toCorner) return left;
      return toAbove <= toCorner ? above : corner;
    }
    default:
      return 0;
  }
}

SampleReader::SampleReader(ChunkReader& chunks) : chunks_(chunks) {
  if (inflateInit(&stream_) != Z_OK) throw std::bad_alloc();
}

void SampleReader::Start(std::size_t bytes, std::size_t step) {
  row_.assign(bytes + 1, 0);
  above_.assign(bytes + 1, 0);
  step_ = step;
}

std::span<const std::uint8_t> SampleReader::Next() {
  row_.swap(above_);
  Unpack(row_);
  if (row_[0] > 4) chunks_.Fail("bad adaptive filter value");
  Unfilter(row_[0]);
  return std::span(row_).subspan(1);
}

void SampleReader::Unfilter(std::uint8_t filter) {
  if (filter == 0) return;
  for (std::size_t i = 1; i < row_.size(); ++i) {
    const bool isFirst = i <= step_;
    const std::uint8_t left = isFirst ? std::uint8_t{0} : row_[i - step_];
    const std::uint8_t corner = isFirst ? std::uint8_t{0} : above_[i - step_];
    row_[i] = static_cast<std::uint8_t>(row_[i] + Predict(filter, left, above_[i], corner));
  }
}

void SampleReader::Refill() {
  while (chunks_.Left() == 0) {
    chunks_.End();
    chunks_.Begin();
    if (!chunks_.Is("IDAT")) chunks_.Fail("Not enough image data");
  }
  input_.resize(std::min<std::size_t>(chunks_.Left(), 8192));
  chunks_.Take(input_);
  stream_.next_in = input_.data();
  stream_.avail_in = static_cast<uInt>(input_.size());
}

const char* SampleReader::Words(int code) const {
  if (stream_.msg != nullptr) return stream_.msg;
  switch (code) {
    case Z_NEED_DICT:
      return "missing LZ dictionary";
    case Z_DATA_ERROR:
      return "damaged LZ stream";
    case Z_MEM_ERROR:
      throw std::bad_alloc();
    default:
      return "truncated";
  }
}

void SampleReader::RefuseWindow() const {
  if (*stream_.next_in >> 4U > 7) chunks_.FailInChunk("invalid window size");
}

void SampleReader::Unpack(std::span<std::uint8_t> out) {
  stream_.next_out = out.data();
  stream_.avail_out = static_cast<uInt>(out.size());
  bool hasMore = true;
  while (stream_.avail_out != 0 && hasMore) {
    if (stream_.avail_in == 0) Refill();
    if (!hasBegun_) RefuseWindow();
    hasBegun_ = true;
    const int code = inflate(&stream_, Z_NO_FLUSH);
    hasEnded_ = code == Z_STREAM_END;
    hasMore = code == Z_OK;
    if (!hasEnded_ && !hasMore) chunks_.FailInChunk(Words(code));
  }
  if (stream_.avail_out != 0) chunks_.Fail("Not enough image data");
}

void SampleReader::Finish() {
  std::array<std::uint8_t, 1024> rest{};
  bool hasMore = true;
  while (!hasEnded_ && hasMore) {
    if (stream_.avail_in == 0) Refill();
    stream_.next_out = rest.data();
    stream_.avail_out = rest.size();
    const int code = inflate(&stream_, Z_NO_FLUSH);
    hasMore = code == Z_OK && stream_.avail_out != rest.size();
    hasEnded_ = code == Z_STREAM_END;
  }
  chunks_.End();
}

}  // namespace kv_host::png
