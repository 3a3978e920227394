#include "check/models/copy_model.h"
#include "check/models/copy_planar_model.h"
#include "check/models/copy_rgb_to_yuv_model.h"
#include "check/models/copy_yuv_to_rgb_model.h"
#include "check/models/portable_copy_model.h"
#include "check/operation_call.h"
#include "frame/interfaces/copy.h"

namespace kv_check {
namespace {

using kv_img::AlgorithmInterface;
using kv_img::Image;

// "Copy", by the model of each pair.
void CopyAll(const Yuv422& from, Yuv422& to, int threads) {
  kv_model::CopyYuv422(from, to, threads);
}
void CopyAll(const Yuv422& from, Dib24& to, int threads) {
  kv_model::CopyYuv422ToDib24(from, to, threads);
}
void CopyAll(const Yuv422& from, Dib15& to, int threads) {
  kv_model::CopyYuv422ToDibWords(from, to, threads, kv_model::WordOf15Bits);
}
void CopyAll(const Yuv422& from, Dib16& to, int threads) {
  kv_model::CopyYuv422ToDibWords(from, to, threads, kv_model::WordOf16Bits);
}
void CopyAll(const Dib24& from, Yuv422& to, int threads) {
  kv_model::CopyDib24ToYuv422(from, to, threads);
}
void CopyAll(const Dib32& from, Yuv422& to, int threads) {
  kv_model::CopyDib32ToYuv422(from, to, threads);
}
void CopyAll(const Dib32& from, Yuva422& to, int threads) {
  kv_model::CopyDib32ToYuva422(from, to, threads);
}
void CopyAll(const Yuv411P& from, Yuv422& to, int threads) {
  kv_model::CopyPlanarToYuv422(from, to, threads);
}
template <class In, class Out>
void CopyAll(const In& from, Out& to, int threads) {
  kv_model::PortableCopy(from, to, threads);
}

template <class In, class Out>
class CopyRule final : public kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>> {
  Image<Out>& Apply(const Image<In>& source, Image<Out>& destination, kv_std::SpinBarrier& barrier,
                    std::uint32_t index) const override {
    if (!HaveEqualSizes(source, destination)) Refuse(1);
    if (index == 0) CopyAll(source, destination, barrier.GetThreadCount());
    return destination;
  }
};

template <class In, class Out>
Comparison CompareCopies(Random& random, const AlgorithmInterface& reference,
                         const AlgorithmInterface& other) {
  const int width = random.Between(1, 90);
  const int height = random.Between(1, 9);
  const int threads = random.Between(1, 9);
  return CompareCalls<kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>>(
      reference, other,
      [&](const auto& copy, auto& /*values*/, Image<In>& source, Image<Out>& destination) {
        InTurn(threads,
               [&](auto& barrier, std::uint32_t index) { copy.Apply(source, destination, barrier, index); });
      },
      AnyImage<In>(random, width, AlmostAlways(random, height)), AnyImage<Out>(random, width, height));
}

}  // namespace

void AddCopyOperations(std::vector<OperationCase>& list) {
  AddRows<kv_img::algorithms::Copy>(list, []<class In, class Out>(kv_img::PixelClasses<In, Out>) {
    return RowCheck{CompareCopies<In, Out>, RuleOf<CopyRule<In, Out>>()};
  });
}

}  // namespace kv_check
