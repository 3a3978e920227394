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
#include "plugin/kv_algoC/portable_rows.h"

namespace {

struct Classes {
  template <class In, class Out>
  using Copy = kv_img::CopyC<In, Out>;
  template <class In, class Out>
  using CopyROI = kv_img::CopyROIC<In, Out>;
  template <class In, class Out>
  using ParityChange = kv_img::ParityChangeC<In, Out>;
  template <class ImageType>
  using AlphaLayerProbMask = kv_img::AlphaLayerProbMaskC<ImageType>;
  template <class ImageType>
  using AlphaLayerColorBased = kv_img::AlphaLayerColorBasedC<ImageType>;
  template <class ImageType>
  using AverageFilter = kv_img::AverageFilterC<ImageType>;
  template <class In, class Out>
  using AbsoluteDifference = kv_img::AbsoluteDifferenceC<In, Out>;
  template <class In, class Out>
  using Scanning = kv_img::ScanningC<In, Out>;
  template <class ImageType>
  using BlendBoost = kv_img::BlendBoostC<ImageType>;
  template <class ImageType>
  using FillPoly = kv_img::FillPolyC<ImageType>;
  template <class ImageType>
  using Average = kv_img::AverageC<ImageType>;
  template <class ImageType>
  using FeatureFind = kv_img::FeatureFindC<ImageType>;
};

using Rows = kv_plugin::CommonRows<Classes>;

constexpr auto copyRows = kv_plugin::Join(Rows::copy, kv_plugin::portable_rows::copy);
constexpr auto averageFilterRows =
    kv_plugin::Join(Rows::averageFilter, kv_plugin::portable_rows::averageFilter);

// Names are compared in this order.
constexpr kv_plugin::Algorithm table[] = {
    {"Copy", 2, copyRows},
    {"CopyROI", 2, Rows::copyRoi},
    {"ParityChange", 2, Rows::parityChange},
    {"AlphaLayerProbMask", 1, Rows::alphaLayerProbMask},
    {"AlphaLayerColorBased", 1, Rows::alphaLayerColorBased},
    {"AverageFilter", 1, averageFilterRows},
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

// Bit 0: a floating-point unit, which every x86-64 processor has.
std::uint32_t getCPUFeature() {
  return 0x1;
}

std::uint32_t getLibraryPriority() {
  return 1;
}
