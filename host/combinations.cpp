#include "host/combinations.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <sstream>

#include "host/errors.h"
#include "host/formats/format_error.h"
#include "image/pixel.h"

namespace kv_host {
namespace {

struct PixelName {
  const char* name;
  int id;
};

const std::vector<PixelName>& PixelNames() {
  using namespace kv_img;
  static const std::vector<PixelName> names = {
      {"yuv422", PixelYUV422::ClassID},   {"yuva422", PixelYUVA422::ClassID},
      {"yuv411p", PixelYUV411P::ClassID}, {"yuv411", PixelYUV411::ClassID},
      {"yuv211", PixelYUV211::ClassID},   {"dib15", PixelDIB15::ClassID},
      {"dib16", PixelDIB16::ClassID},     {"dib24", PixelDIB24::ClassID},
      {"dib32", PixelDIB32::ClassID},     {"grey8", PixelNoColor<unsigned char>::ClassID}};
  return names;
}

struct AlgorithmName {
  const char* name;
  std::size_t classes;
};
constexpr AlgorithmName algorithmNames[] = {{"Copy", 2},
                                            {"CopyROI", 2},
                                            {"ParityChange", 2},
                                            {"AlphaLayerProbMask", 1},
                                            {"AlphaLayerColorBased", 1},
                                            {"AverageFilter", 1},
                                            {"AbsoluteDifference", 2},
                                            {"Scanning", 2},
                                            {"BlendBoost", 1},
                                            {"FillPoly", 1},
                                            {"Average", 1},
                                            {"FeatureFind", 1}};

template <class Range, class Name>
std::string Joined(const Range& range, Name name) {
  std::string all;
  for (const auto& item : range) all += (all.empty() ? "" : ", ") + std::string(name(item));
  return all;
}

}  // namespace

std::string Combination::Text() const {
  std::string text = algorithm;
  for (const char* name : classNames) text += std::string(":") + name;
  return text;
}

std::vector<Combination> AllCombinations() {
  std::vector<Combination> all;
  for (const AlgorithmName& algorithm : algorithmNames) {
    for (const PixelName& first : PixelNames()) {
      if (algorithm.classes == 1) {
        all.push_back({algorithm.name, {first.name}, {first.id}});
        continue;
      }
      for (const PixelName& second : PixelNames()) {
        all.push_back({algorithm.name, {first.name, second.name}, {first.id, second.id}});
      }
    }
  }
  return all;
}

Combination ParseCombination(const std::string& text, const std::string& option) {
  std::istringstream parts(text);
  std::string part;
  std::getline(parts, part, ':');
  const auto algorithm =
      std::ranges::find(algorithmNames, part, [](const auto& entry) { return std::string(entry.name); });
  if (algorithm == std::end(algorithmNames)) {
    throw UsageError(option + ": " + Quoted(part) + " is no algorithm; there are " +
                     Joined(algorithmNames, [](const auto& entry) { return entry.name; }));
  }
  Combination combination{algorithm->name, {}, {}};
  while (std::getline(parts, part, ':')) {
    std::ranges::transform(part, part.begin(), [](unsigned char c) { return std::tolower(c); });
    const auto pixel =
        std::ranges::find(PixelNames(), part, [](const auto& entry) { return std::string(entry.name); });
    if (pixel == PixelNames().end()) {
      throw UsageError(option + ": " + Quoted(part) + " is no pixel class; there are " +
                       Joined(PixelNames(), [](const auto& entry) { return entry.name; }));
    }
    combination.classNames.push_back(pixel->name);
    combination.ids.push_back(pixel->id);
  }
  if (combination.ids.size() != algorithm->classes) {
    throw UsageError(option + ": " + algorithm->name + " takes " + std::to_string(algorithm->classes) +
                     (algorithm->classes == 1 ? " pixel class" : " pixel classes") + ", such as " +
                     (algorithm->classes == 1 ? "FeatureFind:yuv422" : "Copy:yuv422:dib32"));
  }
  return combination;
}

}  // namespace kv_host
