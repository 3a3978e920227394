#pragma once

#include "host/formats/raster.h"
#include "image/image_rect.h"

namespace kv_host {

// What the gallery makes of a picture, so that operations have something to show. Packed 4:2:2 is luma first.

/// The rectangle of a packed 4:2:2 picture; `x` and `width` are even.
Raster Crop(const Raster& from, int x, int y, int width, int height);

/// The packed 4:2:2 picture with every colour turned into its opposite: nobody takes one for the other.
Raster InOppositeColours(Raster picture);

/// The packed 4:2:2 picture with other colours in its middle.
Raster WithMiddlePainted(Raster picture);

/// The bright parts of the packed 4:2:2 picture before a screen of one colour.
inline constexpr std::uint8_t screenCb = 70;
inline constexpr std::uint8_t screenCr = 50;
Raster BeforeScreen(Raster picture);

/// A packed 4:2:2 frame of two fields: the even rows of one moment, the odd ones of another.
Raster Woven(const Raster& top, const Raster& bottom);

/// Grey from black at the left to white at the right.
Raster Ramp(int width, int height);

/// Eight bars of three quarters' brightness, below them shades of skin, as Dib24.
Raster ColourBars(int width, int height);

/// The part of a packed 4:2:2 picture, at most `width` by `height`, whose rows differ most from the next
/// ones. It starts at an even column.
kv_img::ImageRect MostUnevenPart(const Raster& picture, int width, int height);

/// A part of a Dib24 picture, every pixel `scale` wide and high.
Raster Enlarged(const Raster& picture, const kv_img::ImageRect& part, int scale);

/// How two Dib24 pictures of one size differ, `gain` times as strong.
Raster AmplifiedDifference(const Raster& a, const Raster& b, int gain);

/// Dib24 pictures of one size, one below the other.
Raster Stacked(const std::vector<Raster>& pictures);

}  // namespace kv_host
