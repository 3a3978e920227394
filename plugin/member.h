#pragma once

#include "algorithms/alpha/alpha_layer_color_based.h"
#include "algorithms/alpha/alpha_layer_prob_mask.h"
#include "algorithms/arithmetic/all_arithmetic.h"
#include "algorithms/box_filter/average_filter.h"
#include "algorithms/copy/all_copies.h"
#include "algorithms/copy/all_copy_rois.h"
#include "algorithms/featurefind/feature_find.h"
#include "algorithms/fillpoly/fill_poly.h"
#include "algorithms/parity/parity_change.h"
#include "algorithms/scanning/scanning.h"
#include "frame/spin_barrier.h"
#include "plugin/common_rows.h"
#include "plugin/exports.h"

// What the exports of every member are made of.

/// Defines `Classes`, the implementation classes of the member whose class names end in `suffix`.
#define KV_MEMBER_CLASSES(suffix)                                                 \
  struct Classes {                                                                \
    template <class In, class Out>                                                \
    using Copy = kv_img::Copy##suffix<In, Out>;                                   \
    template <class In, class Out>                                                \
    using CopyROI = kv_img::CopyROI##suffix<In, Out>;                             \
    template <class In, class Out>                                                \
    using ParityChange = kv_img::ParityChange##suffix<In, Out>;                   \
    template <class ImageType>                                                    \
    using AlphaLayerProbMask = kv_img::AlphaLayerProbMask##suffix<ImageType>;     \
    template <class ImageType>                                                    \
    using AlphaLayerColorBased = kv_img::AlphaLayerColorBased##suffix<ImageType>; \
    template <class ImageType>                                                    \
    using AverageFilter = kv_img::AverageFilter##suffix<ImageType>;               \
    template <class In, class Out>                                                \
    using AbsoluteDifference = kv_img::AbsoluteDifference##suffix<In, Out>;       \
    template <class In, class Out>                                                \
    using Scanning = kv_img::Scanning##suffix<In, Out>;                           \
    template <class ImageType>                                                    \
    using BlendBoost = kv_img::BlendBoost##suffix<ImageType>;                     \
    template <class ImageType>                                                    \
    using FillPoly = kv_img::FillPoly##suffix<ImageType>;                         \
    template <class ImageType>                                                    \
    using Average = kv_img::Average##suffix<ImageType>;                           \
    template <class ImageType>                                                    \
    using FeatureFind = kv_img::FeatureFind##suffix<ImageType>;                   \
  }

namespace kv_plugin {

/// A member's algorithms in the order in which names are compared. `Rows` is CommonRows, or hides some of its
/// rows.
template <class Rows>
inline constexpr Algorithm table[] = {
    {"Copy", 2, Rows::copy},
    {"CopyROI", 2, Rows::copyRoi},
    {"ParityChange", 2, Rows::parityChange},
    {"AlphaLayerProbMask", 1, Rows::alphaLayerProbMask},
    {"AlphaLayerColorBased", 1, Rows::alphaLayerColorBased},
    {"AverageFilter", 1, Rows::averageFilter},
    {"AbsoluteDifference", 2, Rows::absoluteDifference},
    {"Scanning", 2, Rows::scanning},
    {"BlendBoost", 1, Rows::blendBoost},
    {"FillPoly", 1, Rows::fillPoly},
    {"Average", 1, Rows::average},
    {"FeatureFind", 1, Rows::featureFind},
};

namespace {

// Stands ready while the member is loaded.
[[maybe_unused]] const kv_std::SpinBarrier idleBarrier(1);

}  // namespace

}  // namespace kv_plugin
