#pragma once

#include <memory>

#include "image/image.h"

namespace kv_img {

/// Makes images of one type for code that knows no more than an image to make another like.
template <class ImageType>
class ImageFactory {
 public:
  /// A new image of the size and properties of `like`. Throws what the image's constructor throws.
  static std::unique_ptr<ImageType> CreateImage(const IImage& like) {
    return CreateImage(static_cast<int>(like.GetWidth()), static_cast<int>(like.GetHeight()),
                       like.GetProperties(), 0);
  }
  /// A new image. `colourModel` is the layout code (0: the usual one); rows get `slackBlocks` times 8 bytes
  /// of slack.
  static std::unique_ptr<ImageType> CreateImage(int width, int height, const VideoImageProperties& properties,
                                                int colourModel, int slackBlocks = 1) {
    ImageOptions options;
    options.properties = properties;
    if (colourModel != 0) options.layout = colourModel;
    options.rowSlack = 8 * static_cast<std::size_t>(slackBlocks > 1 ? slackBlocks : 1);
    return std::make_unique<ImageType>(width, height, options);
  }
};

}  // namespace kv_img
