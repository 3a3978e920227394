#pragma once

#include <cstdint>

#include "capi/checks.h"

namespace kv_capi {

/// Row work between formats that no operation of the family takes. Exactly the pixels of the rows are touched; of a
/// packed row of odd width the last pair is whole.

/// A row of any RGB format or of GRAY8 in another of these. Grey is full range, by a KV_MATRIX_…; alpha that the source
/// lacks is 255. `line` is for 4 * width bytes in between, where words are on either side.
void ConvertBitmapRow(const Format& from, const std::uint8_t* source, const Format& to,
                      std::uint8_t* destination, int width, int matrix, std::uint8_t* line);

/// Row `row` of a planar frame as a packed one, and back. The spare luma of an odd width repeats the last pixel's.
void PackRow(const Frame& planar, int row, bool isLumaFirst, std::uint8_t* packed);
/// `line` is for width + 1 bytes in between.
void UnpackRow(const std::uint8_t* packed, bool isLumaFirst, const Frame& planar, int row,
               std::uint8_t* line);
/// A packed row in the other byte order.
void SwapRow(const std::uint8_t* from, int width, std::uint8_t* to);

}  // namespace kv_capi
