#pragma once

#include "host/formats/raster.h"
#include "image/image_rect.h"

namespace kv_host {

/// Draws a frame, light between two dark lines, just outside the rectangle; parts outside the picture are
/// left out. Takes Dib24.
void DrawFrame(Raster& picture, const kv_img::ImageRect& rect);

/// Two Dib24 pictures side by side on a dark ground.
Raster SideBySide(const Raster& left, const Raster& right);

}  // namespace kv_host
