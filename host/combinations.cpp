#include "host/combinations.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "frame/algorithm_list.h"
#include "host/errors.h"
#include "host/formats/format_error.h"

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

const std::vector<AlgorithmName>& AlgorithmNames() {
  static const std::vector<AlgorithmName> names = [] {
    std::vector<AlgorithmName> all;
    kv_img::ForEach(kv_img::algorithms::All{}, [&](auto algorithm) {
      all.push_back({algorithm.name, algorithm.classCount});
    });
    return all;
  }();
  return names;
}

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
  for (const AlgorithmName& algorithm : AlgorithmNames()) {
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
      std::ranges::find(AlgorithmNames(), part, [](const auto& entry) { return std::string(entry.name); });
  if (algorithm == AlgorithmNames().end()) {
    throw UsageError(option + ": " + Quoted(part) + " is no algorithm; there are " +
                     Joined(AlgorithmNames(), [](const auto& entry) { return entry.name; }));
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
