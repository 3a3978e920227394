#include "check/operation_call.h"
#include "frame/algorithm_list.h"
#include "frame/interfaces/copy.h"

namespace kv_check {
namespace {

using kv_img::AlgorithmInterface;
using kv_img::Image;

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

template <class In, class Out>
void Add(std::vector<OperationCase>& list, kv_img::PixelClasses<In, Out> /*row*/) {
  list.push_back({"Copy", {In::ClassID, Out::ClassID}, CompareCopies<In, Out>});
}

template <class... Rows>
void AddAll(std::vector<OperationCase>& list, kv_img::TypeList<Rows...> /*rows*/) {
  (Add(list, Rows{}), ...);
}

}  // namespace

void AddCopyOperations(std::vector<OperationCase>& list) {
  AddAll(list, kv_img::algorithms::Copy::AllRows{});
}

}  // namespace kv_check
