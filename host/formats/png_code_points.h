#pragma once

#include <png.h>

namespace kv_host::png {

/// What a cICP chunk says of the samples of a PNG picture: code points of ITU-T H.273.
struct CodePoints {
  static constexpr png_byte chunk[5] = {'c', 'I', 'C', 'P', 0};
  static constexpr png_byte bt2020 = 9;  // primaries
  static constexpr png_byte pq = 16;     // transfer functions
  static constexpr png_byte hlg = 18;

  png_byte primaries = 0;
  png_byte transfer = 0;

  /// What samples of these matrix coefficients are; null for RGB.
  static const char* NameOfSamples(png_byte matrix) {
    switch (matrix) {
      case 0:
        return nullptr;
      case 10:
        return "BT.2020 with constant luminance";
      case 13:
        return "constant luminance";
      case 14:
        return "ICtCp";
      default:
        return "luma and chroma in place of RGB";
    }
  }
};

}  // namespace kv_host::png
