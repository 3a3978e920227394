#pragma once

#include <string>

#include "host/engine.h"
#include "host/formats/raster.h"

namespace kv_host {

/// A person's picture as the gallery works on it.
struct Photograph {
  Raster frame;      ///< Luma-first packed 4:2:2 of limited range.
  std::string note;  ///< What was done to the picture for the gallery; empty: nothing.
};

/// Reads the first picture of a file. Large ones are shrunk by a whole number, by the mean of each box, to
/// sides of about 1280 pixels; what is transparent becomes white; a picture without colour is tinted, so that
/// operations on colour have something to show. Throws what PictureReader and Convert throw.
Photograph ReadPhotograph(const std::string& file, const Engine& engine);

}  // namespace kv_host
