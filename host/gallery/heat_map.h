#pragma once

#include "host/formats/raster.h"

namespace kv_host {

/// A grey score map (dark is good) as a Dib24 picture in colours from yellow (good) over red to dark blue,
/// each score `scale` pixels wide and high, the best one framed.
Raster HeatMap(const Raster& scores, int scale);

}  // namespace kv_host
