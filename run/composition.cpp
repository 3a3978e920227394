#include "run/composition.h"

#include <algorithm>
#include <cstring>

namespace kv_run {
namespace {

/// Bytes that are mixed at a time, in memory of its own: then no store can alias a source, and compilers use vectors.
constexpr std::size_t blockBytes = 64;
constexpr std::size_t blockPixels = blockBytes / 2;

void MixBlock(const std::uint8_t* foreground, const std::uint8_t* background, const std::uint8_t* weights,
              std::uint8_t* destination) noexcept {
  std::uint8_t mixed[blockBytes];
  for (std::size_t i = 0; i < blockBytes; ++i) mixed[i] = Mix(foreground[i], background[i], weights[i]);
  std::memcpy(destination, mixed, blockBytes);
}

/// A mask for each byte of `pairs` packed pairs.
template <bool isLumaFirst>
void SpreadMask(const std::uint8_t* mask, std::size_t pairs, std::uint8_t* weights) noexcept {
  for (std::size_t pair = 0; pair < pairs; ++pair) {
    const std::uint8_t left = mask[2 * pair];
    const std::uint8_t right = mask[2 * pair + 1];
    const std::uint8_t chroma = PairMean(left, right);
    weights[4 * pair + 0] = isLumaFirst ? left : chroma;
    weights[4 * pair + 1] = isLumaFirst ? chroma : left;
    weights[4 * pair + 2] = isLumaFirst ? right : chroma;
    weights[4 * pair + 3] = isLumaFirst ? chroma : right;
  }
}

template <bool isLumaFirst>
void CompositeRow(const std::uint8_t* foreground, const std::uint8_t* background, const std::uint8_t* mask,
                  std::uint8_t* destination, std::size_t width) noexcept {
  std::uint8_t weights[blockBytes];
  std::size_t x = 0;
  for (; x + blockPixels <= width; x += blockPixels) {
    SpreadMask<isLumaFirst>(mask + x, blockPixels / 2, weights);
    MixBlock(foreground + 2 * x, background + 2 * x, weights, destination + 2 * x);
  }
  if (x == width) return;
  std::uint8_t rest[blockPixels] = {};
  std::copy(mask + x, mask + width, rest);
  const std::size_t pairs = (width - x + 1) / 2;
  if (width % 2 != 0) rest[width - x] = rest[width - x - 1];
  SpreadMask<isLumaFirst>(rest, pairs, weights);
  Composite(foreground + 2 * x, background + 2 * x, weights, destination + 2 * x, 4 * pairs);
}

}  // namespace

void Composite(const std::uint8_t* foreground, const std::uint8_t* background, const std::uint8_t* weights,
               std::uint8_t* destination, std::size_t count) noexcept {
  std::size_t i = 0;
  for (; i + blockBytes <= count; i += blockBytes) {
    MixBlock(foreground + i, background + i, weights + i, destination + i);
  }
  for (; i < count; ++i) destination[i] = Mix(foreground[i], background[i], weights[i]);
}

void PairMeans(const std::uint8_t* mask, std::size_t width, std::uint8_t* means) noexcept {
  const std::size_t pairs = width / 2;
  for (std::size_t pair = 0; pair < pairs; ++pair) means[pair] = PairMean(mask[2 * pair], mask[2 * pair + 1]);
  if (width % 2 != 0) means[pairs] = mask[width - 1];
}

void CompositePacked(const std::uint8_t* foreground, const std::uint8_t* background, const std::uint8_t* mask,
                     std::uint8_t* destination, std::size_t width, bool isLumaFirst) noexcept {
  (isLumaFirst ? CompositeRow<true> : CompositeRow<false>)(foreground, background, mask, destination, width);
}

}  // namespace kv_run
