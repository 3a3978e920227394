#pragma once

#include <gtest/gtest.h>

#include "check/models/color_conversion_model.h"
#include "frame/interfaces/color_conversion.h"
#include "tests/support/member.h"
#include "tests/support/random.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace kv_test {

using kv_img::ChromaPosition;
using kv_img::ChromaResampling;
using kv_img::ColorConversionParameters;
using kv_img::ColorMatrix;
using kv_img::ColorRange;
using kv_img::YuvColors;

inline YuvColors AnyColors(Random& random) {
  return {static_cast<ColorMatrix>(random.Between(0, 2)), static_cast<ColorRange>(random.Between(0, 1)),
          static_cast<ChromaPosition>(random.Between(0, 1))};
}
inline ColorConversionParameters AnyParameters(Random& random) {
  ColorConversionParameters parameters{AnyColors(random), AnyColors(random),
                                       static_cast<ChromaResampling>(random.Between(0, 1))};
  if (random.OneIn(8)) parameters.destination = parameters.yuv;
  return parameters;
}

template <class PixelClass>
kv_img::ImageOptions AnyLayout(Random& random) {
  using namespace kv_img::PixelLayout;
  kv_img::ImageOptions options;
  const bool isSecond = random.OneIn(2);
  if constexpr (std::is_same_v<typename kv_img::DescriptorOf<PixelClass>::Type, kv_img::PixelDescriptorDIB>) {
    options.layout = isSecond ? redFirst : blueFirst;
  } else if constexpr (!std::is_same_v<PixelClass, kv_img::PixelNoColor<unsigned char>>) {
    options.layout = isSecond ? chromaFirst : lumaFirst;
  }
  // Neither plays a part.
  options.properties.fieldParity = static_cast<std::uint8_t>(random.Between(0, 2));
  options.properties.fieldOrder = static_cast<std::uint8_t>(random.Between(0, 1));
  return options;
}

/// A pair of pixel classes that "ColorConversion" takes.
template <class PixelIn, class PixelOut>
struct Pair {
  using In = PixelIn;
  using Out = PixelOut;
  using Operation = kv_img::ColorConversionAlgorithmInterface<kv_img::Image<In>, kv_img::Image<Out>>;

  static const Operation* Of(const Member& member) {
    return member.Get<Operation>("ColorConversion", {In::ClassID, Out::ClassID});
  }
};

using Grey = kv_img::PixelNoColor<unsigned char>;
using ColorPairs = testing::Types<
    Pair<kv_img::PixelYUV422, kv_img::PixelDIB24>, Pair<kv_img::PixelYUV422, kv_img::PixelDIB32>,
    Pair<kv_img::PixelDIB24, kv_img::PixelYUV422>, Pair<kv_img::PixelDIB32, kv_img::PixelYUV422>,
    Pair<kv_img::PixelYUVA422, kv_img::PixelDIB32>, Pair<kv_img::PixelDIB32, kv_img::PixelYUVA422>,
    Pair<kv_img::PixelYUV422, Grey>, Pair<Grey, kv_img::PixelYUV422>,
    Pair<kv_img::PixelYUV422, kv_img::PixelYUV422>>;

/// The members that offer the algorithm: all but the 64-bit one.
inline std::vector<const Member*> ConvertingMembers() {
  std::vector<const Member*> members;
  for (const Member& member : Members()) {
    if (member.Suffix() != L"MMX") members.push_back(&member);
  }
  return members;
}

}  // namespace kv_test
