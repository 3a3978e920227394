#pragma once

#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "image/image.h"
#include "tests/support/family.h"

// What may be asked of a member, and what each must answer.
namespace kv_test {

/// An algorithm name and the identifiers of its pixel classes.
struct Request {
  std::string name;
  std::vector<int> ids;

  auto operator<=>(const Request&) const = default;
};

inline void PrintTo(const Request& request, std::ostream* stream) {
  *stream << request.name;
  for (const int id : request.ids) *stream << ' ' << id;
}

inline const int yuv422 = kv_img::PixelYUV422::ClassID;
inline const int yuva422 = kv_img::PixelYUVA422::ClassID;
inline const int yuv411P = kv_img::PixelYUV411P::ClassID;
inline const int yuv411 = kv_img::PixelYUV411::ClassID;
inline const int yuv211 = kv_img::PixelYUV211::ClassID;
inline const int dib24 = kv_img::PixelDIB24::ClassID;
inline const int dib32 = kv_img::PixelDIB32::ClassID;
inline const int dib15 = kv_img::PixelDIB15::ClassID;
inline const int dib16 = kv_img::PixelDIB16::ClassID;
inline const int noColor = kv_img::PixelNoColor<unsigned char>::ClassID;
inline const int noColorImage = kv_img::Image<kv_img::PixelNoColor<unsigned char>>::ClassID;

/// The twelve names, in dispatch order.
inline const std::vector<std::string> algorithmNames = {"Copy",
                                                        "CopyROI",
                                                        "ParityChange",
                                                        "AlphaLayerProbMask",
                                                        "AlphaLayerColorBased",
                                                        "AverageFilter",
                                                        "AbsoluteDifference",
                                                        "Scanning",
                                                        "BlendBoost",
                                                        "FillPoly",
                                                        "Average",
                                                        "FeatureFind"};

/// The ten pixel classes, the 8-bit image type and an unknown class.
inline const std::vector<int> classIds = {yuv422, yuva422, yuv411P, yuv411,  yuv211,       dib24,
                                          dib32,  dib15,   dib16,   noColor, noColorImage, -1};

/// The 22 combinations that every member answers.
inline std::set<Request> CommonRequests() {
  return {{"Copy", {yuv422, dib24}},
          {"Copy", {yuv422, dib16}},
          {"Copy", {yuv422, dib15}},
          {"Copy", {yuv411P, yuv422}},
          {"Copy", {dib24, yuv422}},
          {"Copy", {dib32, yuv422}},
          {"Copy", {dib32, yuva422}},
          {"Copy", {yuv422, yuv422}},
          {"CopyROI", {yuv422, yuv422}},
          {"CopyROI", {yuv411P, yuv422}},
          {"ParityChange", {yuv422, yuv422}},
          {"AlphaLayerProbMask", {noColor}},
          {"AlphaLayerColorBased", {yuv422}},
          {"AverageFilter", {noColor}},
          {"AbsoluteDifference", {yuv422, noColor}},
          {"Scanning", {yuv422, yuv422}},
          {"BlendBoost", {yuv422}},
          {"FillPoly", {dib24}},
          {"Average", {noColor}},
          {"FeatureFind", {yuv422}},
          {"FeatureFind", {dib24}},
          {"FeatureFind", {dib32}}};
}

/// What kv_algoC answers in addition: the other pairs that have a holder, and the averaging filter under the
/// identifier of its image type.
inline std::set<Request> PortableRequests() {
  return {{"Copy", {yuva422, yuva422}}, {"Copy", {noColor, dib32}},   {"Copy", {yuva422, dib24}},
          {"Copy", {noColor, noColor}}, {"Copy", {yuv422, yuva422}},  {"Copy", {yuva422, dib32}},
          {"Copy", {dib32, dib24}},     {"Copy", {yuv422, yuv411}},   {"Copy", {yuva422, noColor}},
          {"Copy", {dib32, dib32}},     {"Copy", {yuv422, yuv411P}},  {"Copy", {yuv411, yuv422}},
          {"Copy", {dib32, noColor}},   {"Copy", {yuv422, yuv211}},   {"Copy", {dib16, yuv422}},
          {"Copy", {yuv411P, dib32}},   {"Copy", {dib16, dib24}},     {"Copy", {dib15, yuv422}},
          {"Copy", {dib24, yuva422}},   {"Copy", {dib15, dib24}},     {"Copy", {yuv422, dib32}},
          {"Copy", {dib24, dib24}},     {"Copy", {noColor, yuv422}},  {"Copy", {yuv422, noColor}},
          {"Copy", {dib24, dib32}},     {"Copy", {noColor, yuva422}}, {"Copy", {yuva422, yuv422}},
          {"Copy", {dib24, noColor}},   {"Copy", {noColor, dib24}},   {"AverageFilter", {noColorImage}}};
}

/// All that the member of this name answers.
inline std::set<Request> RequestsOf(const std::string& member) {
  std::set<Request> requests = CommonRequests();
  if (member == "kv_algoC") requests.merge(PortableRequests());
  if (member.starts_with(wideMember)) requests.insert({"AverageFilter", {noColorImage}});
  return requests;
}

}  // namespace kv_test
