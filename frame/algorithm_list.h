#pragma once

#include "image/image.h"

namespace kv_img {

template <class... Items>
struct TypeList {};

/// The pixel classes of one combination, sources before destinations.
template <class... Classes>
struct PixelClasses {};

/// Calls `work` with an object of every type of a list, in its order.
template <class... Items, class Work>
constexpr void ForEach(TypeList<Items...> /*list*/, Work work) {
  (work(Items{}), ...);
}

template <class First, class Second>
struct JoinedLists;
template <class... First, class... Second>
struct JoinedLists<TypeList<First...>, TypeList<Second...>> {
  using Type = TypeList<First..., Second...>;
};

template <class... Classes, class... Others>
constexpr int ClassesIn(TypeList<PixelClasses<Classes...>, Others...> /*rows*/) {
  return sizeof...(Classes);
}

/// The one list of what the family can be asked for. An algorithm has a name, `Rows`, the combinations that
/// every member offers, and `MoreRows`, those that only some do. Requests are compared in the order that
/// stands here.
namespace algorithms {

using NoColor = PixelNoColor<unsigned char>;

template <class Common, class More = TypeList<>>
struct Combinations {
  using Rows = Common;
  using MoreRows = More;
  using AllRows = typename JoinedLists<Common, More>::Type;
  static constexpr int classCount = ClassesIn(AllRows{});
};

struct Copy
    : Combinations<TypeList<PixelClasses<PixelYUV422, PixelDIB24>, PixelClasses<PixelYUV422, PixelDIB16>,
                            PixelClasses<PixelYUV422, PixelDIB15>, PixelClasses<PixelYUV411P, PixelYUV422>,
                            PixelClasses<PixelDIB24, PixelYUV422>, PixelClasses<PixelDIB32, PixelYUV422>,
                            PixelClasses<PixelDIB32, PixelYUVA422>, PixelClasses<PixelYUV422, PixelYUV422>>,
                   TypeList<PixelClasses<PixelYUV422, PixelYUVA422>, PixelClasses<PixelYUV422, PixelYUV411P>,
                            PixelClasses<PixelYUV422, PixelYUV411>, PixelClasses<PixelYUV422, PixelYUV211>,
                            PixelClasses<PixelYUV422, PixelDIB32>, PixelClasses<PixelYUV422, NoColor>,
                            PixelClasses<PixelYUVA422, PixelYUV422>, PixelClasses<PixelYUVA422, PixelYUVA422>,
                            PixelClasses<PixelYUVA422, PixelDIB24>, PixelClasses<PixelYUVA422, PixelDIB32>,
                            PixelClasses<PixelYUVA422, NoColor>, PixelClasses<PixelYUV411P, PixelDIB32>,
                            PixelClasses<PixelYUV411, PixelYUV422>, PixelClasses<PixelDIB15, PixelYUV422>,
                            PixelClasses<PixelDIB15, PixelDIB24>, PixelClasses<PixelDIB16, PixelYUV422>,
                            PixelClasses<PixelDIB16, PixelDIB24>, PixelClasses<PixelDIB24, PixelYUVA422>,
                            PixelClasses<PixelDIB24, PixelDIB24>, PixelClasses<PixelDIB24, PixelDIB32>,
                            PixelClasses<PixelDIB24, NoColor>, PixelClasses<PixelDIB32, PixelDIB24>,
                            PixelClasses<PixelDIB32, PixelDIB32>, PixelClasses<PixelDIB32, NoColor>,
                            PixelClasses<NoColor, PixelYUV422>, PixelClasses<NoColor, PixelYUVA422>,
                            PixelClasses<NoColor, PixelDIB24>, PixelClasses<NoColor, PixelDIB32>,
                            PixelClasses<NoColor, NoColor>>> {
  static constexpr const char* name = "Copy";
};

struct CopyROI : Combinations<TypeList<PixelClasses<PixelYUV422, PixelYUV422>,  //
                                       PixelClasses<PixelYUV411P, PixelYUV422>>> {
  static constexpr const char* name = "CopyROI";
};

struct ParityChange : Combinations<TypeList<PixelClasses<PixelYUV422, PixelYUV422>>> {
  static constexpr const char* name = "ParityChange";
};

struct AlphaLayerProbMask : Combinations<TypeList<PixelClasses<NoColor>>> {
  static constexpr const char* name = "AlphaLayerProbMask";
};

struct AlphaLayerColorBased : Combinations<TypeList<PixelClasses<PixelYUV422>>> {
  static constexpr const char* name = "AlphaLayerColorBased";
};

/// The alpha layers ask for it under the identifier of the image type.
struct AverageFilter : Combinations<TypeList<PixelClasses<NoColor>>, TypeList<PixelClasses<Image<NoColor>>>> {
  static constexpr const char* name = "AverageFilter";
};

struct AbsoluteDifference : Combinations<TypeList<PixelClasses<PixelYUV422, NoColor>>> {
  static constexpr const char* name = "AbsoluteDifference";
};

struct Scanning : Combinations<TypeList<PixelClasses<PixelYUV422, PixelYUV422>>> {
  static constexpr const char* name = "Scanning";
};

struct BlendBoost : Combinations<TypeList<PixelClasses<PixelYUV422>>> {
  static constexpr const char* name = "BlendBoost";
};

struct FillPoly : Combinations<TypeList<PixelClasses<PixelDIB24>>> {
  static constexpr const char* name = "FillPoly";
};

struct Average : Combinations<TypeList<PixelClasses<NoColor>>> {
  static constexpr const char* name = "Average";
};

struct FeatureFind : Combinations<TypeList<PixelClasses<PixelYUV422>, PixelClasses<PixelDIB24>,  //
                                           PixelClasses<PixelDIB32>>> {
  static constexpr const char* name = "FeatureFind";
};

struct ColorConversion
    : Combinations<TypeList<>,
                   TypeList<PixelClasses<PixelYUV422, PixelDIB24>, PixelClasses<PixelYUV422, PixelDIB32>,
                            PixelClasses<PixelDIB24, PixelYUV422>, PixelClasses<PixelDIB32, PixelYUV422>,
                            PixelClasses<PixelYUVA422, PixelDIB32>, PixelClasses<PixelDIB32, PixelYUVA422>,
                            PixelClasses<PixelYUV422, NoColor>, PixelClasses<NoColor, PixelYUV422>,
                            PixelClasses<PixelYUV422, PixelYUV422>>> {
  static constexpr const char* name = "ColorConversion";
};

using All =
    TypeList<Copy, CopyROI, ParityChange, AlphaLayerProbMask, AlphaLayerColorBased, AverageFilter,
             AbsoluteDifference, Scanning, BlendBoost, FillPoly, Average, FeatureFind, ColorConversion>;

}  // namespace algorithms

}  // namespace kv_img
