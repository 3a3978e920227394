#pragma once

#include <utility>

#include "algorithms/alpha/kernels/centred_difference.h"
#include "algorithms/alpha/smooth_mask.h"
#include "algorithms/kernel_sets.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/member_name.h"
#include "frame/row_band.h"
#include "image/image.h"
#include "image/image_factory.h"

namespace kv_img {
namespace alpha {

/// The raw mask with gain, in 32 bits that wrap.
constexpr std::uint8_t GainedDifference(std::uint8_t p, std::uint8_t q, std::uint32_t gain) {
  const std::uint32_t difference = static_cast<std::uint32_t>(p) - static_cast<std::uint32_t>(q);
  return ClampToByte(static_cast<std::int32_t>(difference * gain + 128U));
}
static_assert(GainedDifference(64, 0, 2) == 255 && GainedDifference(0, 64, 1) == 64 &&
              GainedDifference(2, 0, 0x80000000U) == 128 && GainedDifference(1, 0, 0x80000000U) == 0);

}  // namespace alpha

/// "AlphaLayerProbMask" of 8-bit images.
template <class Set, class ImageType>
class AlphaLayerProbMask : public AlphaLayerProbMaskAlgorithmInterface<ImageType> {
 public:
  ImageType& Apply(const ImageType& p, const ImageType& q, ImageType& destination,
                   const RegionOfSupport& region, std::uint32_t gain, std::uint32_t windowSize,
                   std::shared_ptr<ImageType> intermediate, kv_std::SpinBarrier& barrier,
                   std::uint32_t threadIndex) const override {
    const auto gained = [gain](alpha::CentredDifference::Args row, int pixels) {
      for (int pixel = 0; pixel < pixels; ++pixel) {
        row.mask[pixel] = alpha::GainedDifference(row.p[pixel], row.q[pixel], gain);
      }
    };
    return MakeLayer(p, q, destination, region, windowSize, std::move(intermediate), barrier, threadIndex,
                     gained);
  }

  ImageType& Apply(const ImageType& p, const ImageType& q, ImageType& destination,
                   const RegionOfSupport& region, std::uint32_t windowSize,
                   std::shared_ptr<ImageType> intermediate, kv_std::SpinBarrier& barrier,
                   std::uint32_t threadIndex) const override {
    const auto plain = [](alpha::CentredDifference::Args row, int pixels) {
      row.groups = pixels / 4;
      Set::template Run<alpha::CentredDifference>(row);
      for (int pixel = 4 * row.groups; pixel < pixels; ++pixel) {
        *row.mask++ = alpha::Centred(*row.p++, *row.q++);
      }
    };
    return MakeLayer(p, q, destination, region, windowSize, std::move(intermediate), barrier, threadIndex,
                     plain);
  }

 private:
  static constexpr std::wstring_view name = L"AlphaLayerProbMask";

  static std::shared_ptr<ImageType> MakeIntermediate(const ImageType& like) {
    return ImageFactory<ImageType>::CreateImage(static_cast<int>(like.GetWidth()),
                                                static_cast<int>(like.GetHeight()),
                                                like.GetPixelBuffer().properties, PixelLayout::grey, 1);
  }

  /// `rawRun(row pointers at the first column, pixels)` writes the raw mask of one run.
  template <class RawRun>
  static ImageType& MakeLayer(const ImageType& p, const ImageType& q, ImageType& destination,
                              const RegionOfSupport& region, std::uint32_t windowSize,
                              std::shared_ptr<ImageType> intermediate, kv_std::SpinBarrier& barrier,
                              std::uint32_t threadIndex, RawRun rawRun) {
    if (q.GetWidth() != p.GetWidth() || q.GetHeight() != p.GetHeight() ||
        q.GetWidth() != destination.GetWidth() || q.GetHeight() != destination.GetHeight()) {
      Refuse<Set>(1, name);
    }
    if (intermediate == nullptr) intermediate = MakeIntermediate(p);
    if (intermediate->GetWidth() != p.GetWidth() || intermediate->GetHeight() != p.GetHeight()) {
      Refuse<Set>(1, name);
    }

    alpha::ForEachRun(region, barrier, threadIndex, [&](int row, int first, int last) {
      rawRun({0, p.GetPixelBuffer().rows[row] + first, q.GetPixelBuffer().rows[row] + first,
              intermediate->GetPixelBuffer().rows[row] + first},
             last - first + 1);
    });
    alpha::SmoothMask(*intermediate, destination, region, windowSize, barrier, threadIndex);
    return destination;
  }
};

template <class ImageType>
class AlphaLayerProbMaskC final : public AlphaLayerProbMask<Scalar, ImageType> {};

template <class ImageType>
class AlphaLayerProbMaskMMX final : public AlphaLayerProbMask<Mmx, ImageType> {};

template <class ImageType>
class AlphaLayerProbMaskSSE2 final : public AlphaLayerProbMask<Widest, ImageType> {};

template <class ImageType>
class AlphaLayerProbMaskNEON final : public AlphaLayerProbMask<Widest, ImageType> {};

}  // namespace kv_img
