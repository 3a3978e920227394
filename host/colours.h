#pragma once

#include <optional>
#include <string_view>

#include "frame/interfaces/color_conversion.h"
#include "host/formats/raster.h"

namespace kv_host {

/// What a person said about the colours of 4:2:2. Where anything is said "ColorConversion" makes RGB of 4:2:2
/// and 4:2:2 of RGB, and what is not said follows from the picture. Otherwise "Copy" does, by its own rule.
struct ColourOptions {
  std::optional<ColourMatrix> matrix;
  std::optional<ColourRange> range;
  std::optional<kv_img::ChromaPosition> chroma;
  std::optional<kv_img::ChromaResampling> resample;

  bool IsGiven() const { return matrix || range || chroma || resample; }
};

/// One property of a crossing: its value and where that comes from: "option", "source", "height", "default".
struct ColourFact {
  std::string_view value;
  std::string_view from;

  bool operator==(const ColourFact&) const = default;
};

/// How 4:2:2 became RGB, or RGB 4:2:2.
struct Crossing {
  std::string_view to;  ///< "rgb" or "yuv"
  ColourFact matrix;
  ColourFact range;
  ColourFact chroma;
  ColourFact resample;

  bool operator==(const Crossing&) const = default;
};

}  // namespace kv_host
