#pragma once

#include <memory>
#include <string>
#include <vector>

#include "image/image_rect.h"
#include "image/run_region.h"

namespace kv_host {

/// Four whole numbers "x,y,w,h" as a rectangle inside a picture of this size. Throws UsageError, naming
/// `option`, for text that is no rectangle and for one that reaches outside the picture.
kv_img::ImageRect ParseRect(const std::string& text, const std::string& option, int width, int height);

/// `count` whole numbers separated by `separator`. Throws UsageError naming `option`, with `example`.
std::vector<int> ParseNumbers(const std::string& text, char separator, std::size_t count,
                              const std::string& option, const std::string& example);

/// A region of support as a person gives it: a rectangle, or a grey picture whose non-zero pixels are the
/// region.
struct RegionText {
  std::string rect;  ///< "x,y,w,h"
  std::string mask;  ///< file name
  std::string option = "--region";
  std::string maskOption = "--region-mask";

  bool IsGiven() const { return !rect.empty() || !mask.empty(); }
};

/// The region that the text describes in `picture`, which has this size; all of it when the text is empty. A
/// mask must have the picture's size and at most one run of non-zero pixels in each row. Throws UsageError or
/// a file's error.
kv_img::RunRegion MakeRegion(const RegionText& text, int width, int height, const std::string& picture);

}  // namespace kv_host
