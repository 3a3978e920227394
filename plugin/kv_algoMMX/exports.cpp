#include "plugin/exports.h"

#include "algorithms/alpha/alpha_layer_color_based.h"
#include "algorithms/alpha/alpha_layer_prob_mask.h"
#include "algorithms/arithmetic/all_arithmetic.h"
#include "algorithms/copy/all_copies.h"
#include "algorithms/copy/all_copy_rois.h"
#include "algorithms/featurefind/feature_find.h"
#include "algorithms/fillpoly/fill_poly.h"
#include "algorithms/parity/parity_change.h"
#include "algorithms/scanning/scanning.h"
#include "frame/spin_barrier.h"
#include "plugin/common_rows.h"

namespace {

struct Classes {
  template <class In, class Out>
  using Copy = kv_img::CopyMMX<In, Out>;
  template <class In, class Out>
  using CopyROI = kv_img::CopyROIMMX<In, Out>;
  template <class In, class Out>
  using ParityChange = kv_img::ParityChangeMMX<In, Out>;
  template <class ImageType>
  using AlphaLayerProbMask = kv_img::AlphaLayerProbMaskMMX<ImageType>;
  template <class ImageType>
  using AlphaLayerColorBased = kv_img::AlphaLayerColorBasedMMX<ImageType>;
  template <class ImageType>
  using AverageFilter = kv_img::AverageFilterMMX<ImageType>;
  template <class In, class Out>
  using AbsoluteDifference = kv_img::AbsoluteDifferenceMMX<In, Out>;
  template <class In, class Out>
  using Scanning = kv_img::ScanningMMX<In, Out>;
  template <class ImageType>
  using BlendBoost = kv_img::BlendBoostMMX<ImageType>;
  template <class ImageType>
  using FillPoly = kv_img::FillPolyMMX<ImageType>;
  template <class ImageType>
  using Average = kv_img::AverageMMX<ImageType>;
  template <class ImageType>
  using FeatureFind = kv_img::FeatureFindMMX<ImageType>;
};

using Rows = kv_plugin::CommonRows<Classes>;

// Names are compared in this order.
constexpr kv_plugin::Algorithm table[] = {
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

// Stands ready while the member is loaded.
[[maybe_unused]] const kv_std::SpinBarrier idleBarrier(1);

}  // namespace

kv_img::AlgorithmInterface* _LoadAlgorithm(const char* name, const int* pixelClassIds, int count) {
  return kv_plugin::Dispatch(table, name, pixelClassIds, count);
}

// Bit 23: MMX.
std::uint32_t getCPUFeature() {
  return 0x800000;
}

std::uint32_t getLibraryPriority() {
  return 3;
}
