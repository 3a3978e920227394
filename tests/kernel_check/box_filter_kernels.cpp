#include <algorithm>

#include "algorithms/box_filter/kernels/kernel_sets.h"
#include "tests/kernel_check/kernel_case.h"

namespace kv_check {

using namespace kv_img::box_filter;

namespace {

constexpr auto ReplaceRowVariant = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            ReplaceRowArgs args{call.groups, call.inputs[0], call.inputs[1],
                                reinterpret_cast<std::uint16_t*>(call.outputs[0]),
                                reinterpret_cast<std::uint16_t*>(call.outputs[1])};
            kernel(args);
            call.inputs[0] = args.entering;
            call.inputs[1] = args.leaving;
            call.outputs[0] = reinterpret_cast<std::uint8_t*>(args.first);
            call.outputs[1] = reinterpret_cast<std::uint8_t*>(args.second);
          }};
};

constexpr auto WindowMeansVariant = [](std::string set, auto kernel, std::uint32_t windowSize) -> Variant {
  return {std::move(set), [kernel, windowSize](Call& call) {
            WindowMeansArgs args{call.groups, reinterpret_cast<const std::uint16_t*>(call.inputs[0]),
                                 reinterpret_cast<const std::uint16_t*>(call.inputs[1]), call.outputs[0],
                                 windowSize};
            kernel(args);
            call.inputs[0] = reinterpret_cast<const std::uint8_t*>(args.first);
            call.inputs[1] = reinterpret_cast<const std::uint8_t*>(args.second);
            call.outputs[0] = args.destination;
          }};
};

KernelCase WindowMeansCase(std::uint32_t windowSize) {
  const auto limitSums = [windowSize](std::uint8_t* begin, std::uint8_t* end) {
    auto* last = reinterpret_cast<std::uint16_t*>(end);
    for (auto* sum = reinterpret_cast<std::uint16_t*>(begin); sum != last; ++sum)
      *sum = static_cast<std::uint16_t>(*sum % (255 * windowSize + 1));
  };
  constexpr std::size_t spare = spareSums * sizeof(std::uint16_t);
  const auto sums = [&](std::size_t behindGroups) -> Stream {
    return {.perGroup = 8,
            .before = spare,
            .behind = behindGroups * sizeof(std::uint16_t) + spare,
            .element = sizeof(std::uint16_t),
            .limit = limitSums};
  };
  return {"box_filter/WindowMeans" + std::to_string(windowSize),
          {sums(windowSize / 2), sums((windowSize - 1) / 2)},
          {{.perGroup = 8}},
          AllSets([windowSize](const std::string& set,
                               auto kernel) { return WindowMeansVariant(set, kernel, windowSize); },
                  scalar::WindowMeans, mmx::WindowMeans, WideKernels::WindowMeans)};
}

constexpr auto SmallWindowMeansVariant = [](std::string set, auto kernel,
                                            std::uint32_t windowSize) -> Variant {
  return {std::move(set), [kernel, windowSize](Call& call) {
            SmallWindowMeansArgs args{call.groups, {}, call.outputs[0], windowSize};
            std::copy_n(call.inputs, windowSize, args.rows);
            kernel(args);
            std::copy_n(args.rows, windowSize, call.inputs);
            call.outputs[0] = args.destination;
          }};
};

KernelCase SmallWindowMeansCase(std::uint32_t windowSize) {
  return {"box_filter/SmallWindowMeans" + std::to_string(windowSize),
          std::vector<Stream>(windowSize, {.perGroup = 8, .behind = windowSize - 1}),
          {{.perGroup = 8}},
          AllSets([windowSize](const std::string& set,
                               auto kernel) { return SmallWindowMeansVariant(set, kernel, windowSize); },
                  scalar::SmallWindowMeans, mmx::SmallWindowMeans, WideKernels::SmallWindowMeans)};
}

}  // namespace

void AddBoxFilterKernels(std::vector<KernelCase>& list) {
  list.push_back(
      {"box_filter/ReplaceRow",
       {{.perGroup = 8}, {.perGroup = 8}},
       {{.perGroup = 8, .element = sizeof(std::uint16_t)}, {.perGroup = 8, .element = sizeof(std::uint16_t)}},
       AllSets(ReplaceRowVariant, scalar::ReplaceRow, mmx::ReplaceRow, WideKernels::ReplaceRow)});
  for (const std::uint32_t windowSize : {1U,  2U,  3U,  4U,  5U,  6U,  7U,   8U,   9U,   10U,  11U,  12U, 13U,
                                         14U, 15U, 16U, 17U, 18U, 31U, 127U, 128U, 129U, 179U, 180U, 255U})
    list.push_back(WindowMeansCase(windowSize));
  for (std::uint32_t windowSize = 1; windowSize <= mostSmall; ++windowSize)
    list.push_back(SmallWindowMeansCase(windowSize));
}

}  // namespace kv_check
