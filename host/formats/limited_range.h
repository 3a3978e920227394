#pragma once

#include "host/formats/raster.h"

namespace kv_host {

/// 4:2:2 of full range as the same of limited range: luma 16 + 219 Y / 255, chroma 128 + 224 (C - 128) / 255, each to the
/// nearest. Takes the kinds that IsVideo names; alpha stays.
Raster WithLimitedRange(const Raster& full);

}  // namespace kv_host
