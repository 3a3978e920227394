#pragma once

#include <cstdint>

#include "capi/checks.h"

namespace kv_capi {

/// Row work between formats that no operation of the family takes. Exactly the pixels of the rows are touched; of a
/// packed row of odd width the last pair is whole.

/// A row of any RGB format or of GRAY8 as blue, green, red, alpha.
void ReadBitmapRow(const Format& format, const std::uint8_t* row, int width, std::uint8_t* bgra);
void WriteBitmapRow(const Format& format, const std::uint8_t* bgra, int width, std::uint8_t* row);
/// Luma of blue, green, red, alpha, full range, by a KV_MATRIX_….
void WriteGreyRow(const std::uint8_t* bgra, int width, int matrix, std::uint8_t* row);

/// Row `row` of a planar frame as a packed one, and back. The spare luma of an odd width repeats the last pixel's.
void PackRow(const Frame& planar, int row, bool isLumaFirst, std::uint8_t* packed);
void UnpackRow(const std::uint8_t* packed, bool isLumaFirst, const Frame& planar, int row);
/// A packed row in the other byte order.
void SwapRow(const std::uint8_t* from, int width, std::uint8_t* to);

}  // namespace kv_capi
