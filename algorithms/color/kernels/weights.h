#pragma once

#include <cstdint>

namespace kv_img::color {

/// YCbCr to RGB, in units of 1/16384. Cb to blue needs more than 16 bits: its weight is that of 2 * Cb.
struct DecodingWeights {
  std::int16_t luma;
  std::int16_t crToRed;
  std::int16_t cbToGreen;
  std::int16_t crToGreen;
  std::int16_t twoCbToBlue;
  std::int16_t black;  ///< the luma of black

  bool operator==(const DecodingWeights&) const = default;
};

/// Weights of one component, in units of 1/32768.
struct RgbSum {
  std::int16_t red;
  std::int16_t green;
  std::int16_t blue;

  bool operator==(const RgbSum&) const = default;
};

/// RGB to YCbCr.
struct EncodingWeights {
  RgbSum luma;
  RgbSum cb;
  RgbSum cr;
  std::int16_t black;

  bool operator==(const EncodingWeights&) const = default;
};

/// YCbCr to YCbCr, in units of 1/16384.
struct RecodingWeights {
  std::int16_t luma;
  std::int16_t cbToLuma;
  std::int16_t crToLuma;
  std::int16_t cbToCb;
  std::int16_t crToCb;
  std::int16_t cbToCr;
  std::int16_t crToCr;
  std::int16_t blackIn;
  std::int16_t blackOut;

  bool operator==(const RecodingWeights&) const = default;
};

/// The chroma of the two pixels of a pair: four times the value, from the samples of the pair before, the
/// pair itself and the next.
enum class Upsampling : std::int32_t {
  Repeat,  ///< own, own
  Left,    ///< own, (own + next) / 2
  Centre   ///< (before + 3 own) / 4, (3 own + next) / 4
};

/// How the chroma sample of a pair is filtered from its pixels.
enum class Downsampling : std::int32_t {
  First,    ///< the left pixel
  Mean,     ///< (left + right) / 2
  Triangle  ///< (pixel before + 2 left + right) / 4
};

/// How a chroma sample is moved to another position.
enum class Shift : std::int32_t {
  None,
  Right,  ///< (3 own + next) / 4
  Left    ///< (before + 3 own) / 4
};

}  // namespace kv_img::color
