
#include "capi/color_mask.h"
#include "capi/context.h"
#include "capi/region.h"
#include "capi/view.h"
#include "frame/interfaces/absolute_difference.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "frame/interfaces/average.h"
#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/blend_boost.h"

namespace kv_capi {
namespace {

using kv_img::Image;

constexpr const char* packedFormats = "UYVY or YUY2";
constexpr const char* greyFormat = "GRAY8";
constexpr int largestWindow = 255;
constexpr int largestGain = 65536;

Frame CheckGrey(const char* name, const kv_frame* frame) {
  const Frame checked = CheckFrame(name, frame);
  CheckStorage(checked, Storage::Grey, greyFormat);
  return checked;
}

Frame CheckPacked(const char* name, const kv_frame* frame) {
  const Frame checked = CheckFrame(name, frame);
  CheckStorage(checked, Storage::Packed, packedFormats);
  return checked;
}

void Filter(const Call& call, Image<Grey>& source, Image<Grey>& destination, const CallRegion& region,
            int window) {
  using Interface = kv_img::AverageFilterAlgorithmInterface<Image<Grey>>;
  const auto& operation = call.Find<Interface>("AverageFilter", {Grey::ClassID});
  RunBands(call, region.Rows(), region.Pixels(), operation, source, destination, *region,
           static_cast<std::uint32_t>(window));
}

/// The raw mask of an alpha layer: as large as the frame, in memory that the context keeps.
class RawMask {
 public:
  RawMask(const Call& call, int width, int height)
      : memory_(call.Context(), static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
        view_(width, height, kv_img::PixelLayout::grey, width) {
    for (int row = 0; row < height; ++row) {
      view_.PlaneRows()[row] = memory_.Data() + static_cast<std::ptrdiff_t>(row) * width;
    }
  }
  Image<Grey>& operator*() { return *view_; }

 private:
  Scratch memory_;
  View<Grey> view_;
};

}  // namespace
}  // namespace kv_capi

using namespace kv_capi;

kv_status kv_difference(kv_context* context, const kv_frame* first, const kv_frame* second,
                        kv_frame* destination, const kv_region* region, const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame a = CheckPacked("first", first);
    const Frame b = CheckPacked("second", second);
    const Frame to = CheckGrey("destination", destination);
    CheckSameSize(a, b);
    CheckSameSize(a, to);
    CheckSameFormat(a, b);
    CheckNoOverlap(a, to);
    CheckNoOverlap(b, to);
    const CallRegion where("region", region, to);
    using Interface = kv_img::AbsoluteDifferenceAlgorithmInterface<Image<Packed>, Image<Grey>>;
    const auto& operation = with.Find<Interface>("AbsoluteDifference", {Packed::ClassID, Grey::ClassID});
    View<Packed> viewA(a, *where);
    View<Packed> viewB(b, *where);
    View<Grey> out(to, *where);
    RunBands(with, where.Rows(), where.Pixels(), operation, *viewA, *viewB, *out, *where);
  });
}

kv_status kv_average(kv_context* context, const kv_frame* first, const kv_region* first_region,
                     const kv_frame* second, const kv_region* second_region, kv_frame* destination,
                     const kv_region* region, const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame a = CheckGrey("first", first);
    const Frame b = CheckGrey("second", second);
    const Frame to = CheckGrey("destination", destination);
    CheckSameSize(a, b);
    CheckSameSize(a, to);
    CheckNoOverlap(a, to);
    CheckNoOverlap(b, to);
    const CallRegion whereA("first_region", first_region, a);
    const CallRegion whereB("second_region", second_region, b);
    const CallRegion where("region", region, to);
    using Interface = kv_img::AverageAlgorithmInterface<Image<Grey>>;
    const auto& operation = with.Find<Interface>("Average", {Grey::ClassID});
    View<Grey> viewA(a, *where);
    View<Grey> viewB(b, *where);
    View<Grey> out(to, *where);
    RunBands(with, where.Rows(), where.Pixels(), operation, *viewA, *viewB, *out, *whereA, *whereB, *where);
  });
}

kv_status kv_box_filter(kv_context* context, const kv_frame* source, kv_frame* destination,
                        const kv_region* region, int32_t window, const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame from = CheckGrey("source", source);
    const Frame to = CheckGrey("destination", destination);
    CheckSameSize(from, to);
    CheckNoOverlap(from, to);
    const CallRegion where("region", region, to);
    CheckRange("window", window, 1, largestWindow);
    View<Grey> in(from, *where);
    View<Grey> out(to, *where);
    Filter(with, *in, *out, where, window);
  });
}

kv_status kv_blend(kv_context* context, const kv_frame* foreground, const kv_frame* background,
                   const kv_frame* mask, kv_frame* destination, const kv_region* region,
                   const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame b = CheckPacked("foreground", foreground);
    const Frame a = CheckPacked("background", background);
    const Frame weights = CheckGrey("mask", mask);
    const Frame to = CheckPacked("destination", destination);
    CheckSameSize(b, a);
    CheckSameSize(b, weights);
    CheckSameSize(b, to);
    CheckSameFormat(b, a);
    CheckSameFormat(b, to);
    CheckNoOverlapButInPlace(b, to);
    CheckNoOverlapButInPlace(a, to);
    CheckNoOverlap(weights, to);
    CallRegion where("region", region, to);
    const kv_img::RunRegion& runs = where.Runs();
    const int lastRow = where->IsRectangular() ? runs.GetTop() : runs.GetBottom();
    for (int row = runs.GetTop(); row <= lastRow; ++row) {
      const int pixels = runs.GetRight(row) - runs.GetLeft(row) + 1;
      if (pixels % 4 != 0) {
        Fail(KV_BAD_ARGUMENT, "region: row %d has %d pixels; kv_blend takes runs of multiples of four", row,
             pixels);
      }
    }
    using Interface = kv_img::BlendBoostAlgorithmInterface<Image<Packed>>;
    const auto& operation = with.Find<Interface>("BlendBoost", {Packed::ClassID});
    View<Packed> viewB(b, *where);
    View<Packed> viewA(a, *where);
    View<Grey> viewMask(weights, *where);
    View<Packed> out(to, *where);
    RunBands(with, where.Rows(), where.Pixels(), operation, *viewB, *viewA, *viewMask, *out, runs);
  });
}

kv_status kv_alpha_from_color(kv_context* context, const kv_frame* first, const kv_frame* second,
                              kv_frame* destination, const kv_region* region, int32_t window,
                              const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame a = CheckPacked("first", first);
    const Frame b = CheckPacked("second", second);
    const Frame to = CheckGrey("destination", destination);
    CheckSameSize(a, b);
    CheckSameSize(a, to);
    CheckSameFormat(a, b);
    CheckNoOverlap(a, to);
    CheckNoOverlap(b, to);
    CallRegion where("region", region, to);
    CheckRange("window", window, 1, largestWindow);
    RawMask raw(with, to.width, to.height);
    FillColorMask(with, a, b, where, *raw);
    View<Grey> out(to, *where);
    Filter(with, *raw, *out, where, window);
  });
}

kv_status kv_alpha_from_difference(kv_context* context, const kv_frame* first, const kv_frame* second,
                                   kv_frame* destination, const kv_region* region, int32_t gain,
                                   int32_t window, const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame p = CheckGrey("first", first);
    const Frame q = CheckGrey("second", second);
    const Frame to = CheckGrey("destination", destination);
    CheckSameSize(p, q);
    CheckSameSize(p, to);
    CheckNoOverlapButInPlace(p, to);
    CheckNoOverlapButInPlace(q, to);
    CallRegion where("region", region, to);
    CheckRange("gain", gain, 0, largestGain);
    CheckRange("window", window, 1, largestWindow);
    using Interface = kv_img::AlphaLayerProbMaskAlgorithmInterface<Image<Grey>>;
    const auto& operation = with.Find<Interface>("AlphaLayerProbMask", {Grey::ClassID});
    RawMask raw(with, to.width, to.height);
    View<Grey> viewP(p, *where);
    View<Grey> viewQ(q, *where);
    ForEachBandOfRegion(with, where, [&](const kv_img::RegionOfSupport& band) {
      const auto intermediate = Unowned(*raw);
      if (gain == 1) {
        operation.Apply(*viewP, *viewQ, *raw, band, 1, intermediate, with.Alone(), 0);
      } else {
        operation.Apply(*viewP, *viewQ, *raw, band, static_cast<std::uint32_t>(gain), 1, intermediate,
                        with.Alone(), 0);
      }
    });
    View<Grey> out(to, *where);
    Filter(with, *raw, *out, where, window);
  });
}
