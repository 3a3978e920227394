#pragma once

#include "algorithms/copy/copy.h"
#include "algorithms/copy/kernels/swap_bytes.h"

namespace kv_img::copy {

/// Packed 4:2:2 from one byte order to the other.
template <class Set>
class RowConverter<Set, Image<PixelYUV422>, Image<PixelYUV422>> {
 public:
  using Buffer = Image<PixelYUV422>::Buffer;

  RowConverter(const Buffer& source, Buffer& destination) : source_(source), destination_(destination) {}

  void Convert(int sourceRow, int destinationRow) const {
    const std::uint8_t* from = source_.rows[sourceRow];
    std::uint8_t* to = destination_.rows[destinationRow];
    const int groups = source_.width / 4;
    SwapBytes::Args args{groups, from, to};
    Set::template Run<SwapBytes>(args);

    // The remainder restarts at the row start, so the last width mod 4 pixels stay unchanged.
    const int remainder = source_.width - 4 * groups;
    for (int pair = 0; pair < (remainder + 1) / 2; ++pair) {
      to[0] = from[1];
      to[1] = from[0];
      to[2] = from[3];
      to[3] = from[2];
      from += 4;
      to += 4;
    }
  }

 private:
  const Buffer& source_;
  Buffer& destination_;
};

}  // namespace kv_img::copy
