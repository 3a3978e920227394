#include <algorithm>

#include "tests/kernel_check/listed_kernel.h"
#include "tests/kernel_check/special_cases.h"

namespace kv_check {

using namespace kv_img::box_filter;

namespace {

KernelCase WindowMeansCase(std::uint32_t windowSize) {
  const auto limitSums = [windowSize](std::uint8_t* begin, std::uint8_t* end) {
    auto* last = reinterpret_cast<std::uint16_t*>(end);
    for (auto* sum = reinterpret_cast<std::uint16_t*>(begin); sum != last; ++sum)
      *sum = static_cast<std::uint16_t>(*sum % (255 * windowSize + 1));
  };
  constexpr std::size_t spare = spareSums * sizeof(std::uint16_t);
  const auto sums = [&](std::size_t afterGroups) -> Stream {
    return {.perGroup = 8,
            .before = spare,
            .after = afterGroups * sizeof(std::uint16_t) + spare,
            .element = sizeof(std::uint16_t),
            .limit = limitSums};
  };
  const auto makeCall = [windowSize](auto kernel) {
    return [kernel, windowSize](Call& call) {
      WindowMeans::Args args{call.groups, reinterpret_cast<const std::uint16_t*>(call.inputs[0]),
                             reinterpret_cast<const std::uint16_t*>(call.inputs[1]), call.outputs[0],
                             windowSize};
      kernel(args);
      call.inputs[0] = reinterpret_cast<const std::uint8_t*>(args.first);
      call.inputs[1] = reinterpret_cast<const std::uint8_t*>(args.second);
      call.outputs[0] = args.destination;
    };
  };
  return {WindowMeans::name + std::to_string(windowSize),
          {sums(windowSize / 2), sums((windowSize - 1) / 2)},
          {{.perGroup = 8}},
          AllSets<WindowMeans>(makeCall)};
}

KernelCase SmallWindowMeansCase(std::uint32_t windowSize) {
  const auto makeCall = [windowSize](auto kernel) {
    return [kernel, windowSize](Call& call) {
      SmallWindowMeans::Args args{call.groups, {}, call.outputs[0], windowSize};
      std::copy_n(call.inputs, windowSize, args.rows);
      kernel(args);
      std::copy_n(args.rows, windowSize, call.inputs);
      call.outputs[0] = args.destination;
    };
  };
  return {SmallWindowMeans::name + std::to_string(windowSize),
          std::vector<Stream>(windowSize, {.perGroup = 1, .after = windowSize - 1}),
          {{.perGroup = 1}},
          AllSets<SmallWindowMeans>(makeCall),
          64};
}

}  // namespace

void AddCases(std::type_identity<WindowMeans> /*kernel*/, std::vector<KernelCase>& cases) {
  for (const std::uint32_t windowSize : {1U,  2U,  3U,  4U,  5U,  6U,  7U,   8U,   9U,   10U,  11U,  12U, 13U,
                                         14U, 15U, 16U, 17U, 18U, 31U, 127U, 128U, 129U, 179U, 180U, 255U})
    cases.push_back(WindowMeansCase(windowSize));
}

void AddCases(std::type_identity<SmallWindowMeans> /*kernel*/, std::vector<KernelCase>& cases) {
  for (std::uint32_t windowSize = 1; windowSize <= mostSmall; ++windowSize)
    cases.push_back(SmallWindowMeansCase(windowSize));
}

}  // namespace kv_check
