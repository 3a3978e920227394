#include "host/region_option.h"

#include <algorithm>
#include <charconv>
#include <span>
#include <utility>

#include "host/errors.h"
#include "host/formats/format_error.h"
#include "host/formats/picture_reader.h"

namespace kv_host {
namespace {

using kv_img::ImageRect;
using kv_img::RunRegion;

std::string SizeText(int width, int height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

/// First and last non-zero column of a row; {0, -1} for none. Throws when the pixels between them are not all
/// set.
std::pair<int, int> RunOfRow(std::span<const std::uint8_t> row, const std::string& file, int y) {
  const auto isSet = [](std::uint8_t value) { return value != 0; };
  const auto first = std::ranges::find_if(row, isSet);
  if (first == row.end()) return {0, -1};
  const auto end = std::ranges::find_if_not(first, row.end(), isSet);
  if (const auto second = std::ranges::find_if(end, row.end(), isSet); second != row.end()) {
    throw UsageError(file + ": row " + std::to_string(y) +
                     " has a second run of non-zero pixels from column " +
                     std::to_string(second - row.begin()) + "; a region has at most one run in a row");
  }
  return {static_cast<int>(first - row.begin()), static_cast<int>(end - row.begin()) - 1};
}

RunRegion RegionOfMask(const std::string& file, const std::string& option, int width, int height,
                       const std::string& picture) {
  PictureReader reader(file);
  const auto mask = reader.Next();
  if (!mask || mask->kind != RasterKind::Grey8) {
    throw UsageError(option + ": " + file + " is no 8-bit grey picture; write the mask as PGM or grey PNG");
  }
  if (mask->width != width || mask->height != height) {
    throw UsageError(option + ": " + file + " is " + SizeText(mask->width, mask->height) + ", " + picture +
                     " is " + SizeText(width, height) + "; they must be of one size");
  }
  std::vector<int> first;
  std::vector<int> last;
  int top = 0;
  std::size_t rowsWithPixels = 0;
  for (int y = 0; y < height; ++y) {
    const auto [left, right] = RunOfRow(mask->planes[0].Row(y), file, y);
    if (first.empty() && right < left) {
      top = y + 1;
      continue;
    }
    first.push_back(left);
    last.push_back(right);
    if (right >= left) rowsWithPixels = first.size();
  }
  first.resize(rowsWithPixels);
  last.resize(rowsWithPixels);
  return {rowsWithPixels == 0 ? 0 : top, std::move(first), std::move(last)};
}

}  // namespace

std::vector<int> ParseNumbers(const std::string& text, char separator, std::size_t count,
                              const std::string& option, const std::string& example) {
  std::vector<int> numbers;
  const char* at = text.data();
  const char* end = at + text.size();
  while (numbers.size() < count) {
    int number = 0;
    const auto result = std::from_chars(at, end, number);
    if (result.ec != std::errc{}) break;
    numbers.push_back(number);
    at = result.ptr;
    if (at == end || *at != separator || numbers.size() == count) break;
    ++at;
  }
  if (numbers.size() != count || at != end) {
    throw UsageError(option + ": " + Quoted(text) + " does not fit; write whole numbers such as " + example);
  }
  return numbers;
}

ImageRect ParseRect(const std::string& text, const std::string& option, int width, int height) {
  const std::vector<int> n = ParseNumbers(text, ',', 4, option, "16,8,64,32 (x,y,w,h)");
  const bool fits =
      n[0] >= 0 && n[1] >= 0 && n[2] > 0 && n[3] > 0 && n[2] <= width - n[0] && n[3] <= height - n[1];
  if (!fits) {
    throw UsageError(option + ": " + text + " reaches outside the picture of " + SizeText(width, height));
  }
  return {n[0], n[1], n[0] + n[2] - 1, n[1] + n[3] - 1};
}

RunRegion MakeRegion(const RegionText& text, int width, int height, const std::string& picture) {
  if (!text.rect.empty() && !text.mask.empty()) {
    throw UsageError("give " + text.option + " or " + text.maskOption + ", not both");
  }
  if (!text.mask.empty()) return RegionOfMask(text.mask, text.maskOption, width, height, picture);
  if (!text.rect.empty()) return RunRegion(ParseRect(text.rect, text.option, width, height));
  return RunRegion(ImageRect(0, 0, width - 1, height - 1));
}

}  // namespace kv_host
