#pragma once

#include <optional>
#include <string_view>

#include "host/formats/raster.h"

namespace kv_host {

enum class Resampling { Linear, Nearest };

/// What a person said about the colours of 4:2:2. What is not said follows from the picture.
struct ColourOptions {
  std::optional<ColourMatrix> matrix;
  std::optional<ColourRange> range;
  std::optional<ChromaSite> chroma;
  std::optional<Resampling> resample;
  /// "Copy" makes RGB of 4:2:2 and 4:2:2 of RGB, by its own rule, in place of "ColorConversion".
  bool exactCopy = false;

  bool AreGiven() const { return matrix || range || chroma || resample; }
};

/// One property of a crossing: its value and where that comes from: "option", "source", "height", "default".
struct ColourFact {
  std::string_view value;
  std::string_view from;

  bool operator==(const ColourFact&) const = default;
};

/// How 4:2:2 became RGB or grey, or these 4:2:2, by "ColorConversion".
struct Crossing {
  std::string_view to;  ///< "rgb", "grey" or "yuv"
  ColourFact matrix;
  ColourFact range;
  ColourFact chroma;
  ColourFact resample;
  std::string_view transfer;  ///< "pq" or "hlg", which stays as it is; else empty.

  bool operator==(const Crossing&) const = default;
};

}  // namespace kv_host
