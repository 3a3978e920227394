#include "capi/color_mask.h"

#include <algorithm>
#include <cstring>

#include "frame/interfaces/alpha_layer_color_based.h"

namespace kv_capi {
namespace {

using Image422 = kv_img::Image<Packed>;
using Mask = kv_img::Image<Grey>;
using Interface = kv_img::AlphaLayerColorBasedAlgorithmInterface<Image422>;

/// Pixels of a run that are done in scratch: at most a group of four and what is left over after the groups.
constexpr int mostAtEnd = 8;
constexpr int endBytes = 32;

struct Run {
  int first;
  int last;
  int Pixels() const { return last - first + 1; }
};

/// How many pixels of a run are done in place; the others' bytes reach past the row. Whole groups of four keep their
/// places.
int PixelsInPlace(const Run& run, int chroma, std::int64_t rowBytes) {
  const int groups = run.Pixels() / 4;
  const int tail = run.Pixels() - 4 * groups;
  const std::int64_t tailStart = 2 * (std::int64_t{run.first} + 4 * groups) + chroma;
  const std::int64_t endOfTail = tailStart + (tail > 2 ? 7 : 3);
  const std::int64_t end = tail > 0 ? endOfTail : tailStart;
  if (end <= rowBytes) return run.Pixels();
  return 4 * std::max(0, groups - 1);
}

/// One run's last pixels in scratch.
class RunEnd {
 public:
  explicit RunEnd(const Frame& frame)
      : a_(mostAtEnd, 1, frame.format->layout, endBytes),
        b_(mostAtEnd, 1, frame.format->layout, endBytes),
        mask_(mostAtEnd, 1, kv_img::PixelLayout::grey, mostAtEnd),
        rowBytes_(RowBytes(*frame.format, 0, frame.width)) {
    *a_.PlaneRows() = bytesA_;
    *b_.PlaneRows() = bytesB_;
    *mask_.PlaneRows() = bytesMask_;
  }

  void Fill(const Call& call, const Interface& operation, const std::uint8_t* rowA, const std::uint8_t* rowB,
            const Run& run, std::uint8_t* mask) {
    Take(rowA, run, bytesA_);
    Take(rowB, run, bytesB_);
    const kv_img::ImageRect pixels(0, 0, run.Pixels() - 1, 0);
    operation.Apply(*a_, *b_, *mask_, pixels, 1, Unowned(*mask_), call.Alone(), 0);
    std::memcpy(mask + run.first, bytesMask_, static_cast<std::size_t>(run.Pixels()));
  }

 private:
  void Take(const std::uint8_t* row, const Run& run, std::uint8_t* bytes) const {
    const std::int64_t from = std::int64_t{2} * run.first;
    std::memset(bytes, 0, endBytes);
    std::memcpy(bytes, row + from,
                static_cast<std::size_t>(std::min<std::int64_t>(rowBytes_ - from, endBytes)));
  }

  std::uint8_t bytesA_[endBytes] = {};
  std::uint8_t bytesB_[endBytes] = {};
  std::uint8_t bytesMask_[endBytes] = {};
  View<Packed> a_;
  View<Packed> b_;
  View<Grey> mask_;
  std::int64_t rowBytes_;
};

}  // namespace

void FillColorMask(const Call& call, const Frame& a, const Frame& b, CallRegion& region, Mask& mask) {
  const auto& operation = call.Find<Interface>("AlphaLayerColorBased", {Packed::ClassID});
  View<Packed> viewA(a);
  View<Packed> viewB(b);
  const int chroma = a.format->layout == kv_img::PixelLayout::chromaFirst ? 0 : 1;
  const std::int64_t rowBytes = RowBytes(*a.format, 0, a.width);
  ForEachBandOfRegion(call, region, [&](const kv_img::RunRegion& band) {
    const int top = band.GetTop();
    std::vector<int> firsts;
    std::vector<int> lasts;
    RunEnd end(a);
    for (int row = top; row <= band.GetBottom(); ++row) {
      const Run run{band.GetLeft(row), band.GetRight(row)};
      const int inPlace = PixelsInPlace(run, chroma, rowBytes);
      firsts.push_back(run.first);
      lasts.push_back(run.first + inPlace - 1);
      if (inPlace == run.Pixels()) continue;
      end.Fill(call, operation, a.Row(0, row), b.Row(0, row), {run.first + inPlace, run.last},
               mask.GetPixelBuffer().rows[row]);
    }
    operation.Apply(*viewA, *viewB, mask, kv_img::RunRegion(top, std::move(firsts), std::move(lasts)), 1,
                    Unowned(mask), call.Alone(), 0);
  });
}

}  // namespace kv_capi
