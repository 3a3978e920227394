#include <cstring>
#include <utility>

#include "algorithms/featurefind/kernels/bilinear_sad.h"
#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/featurefind/kernels/luma_bytes.h"
#include "check/kernel_case.h"

namespace kv_check {

using namespace kv_img::featurefind;

namespace {

template <class Kernel>
Variant LumaVariant(std::string set, Kernel kernel) {
  return {std::move(set), [kernel](Call& call) {
            const std::int32_t shift = call.seed % 2 == 0 ? 0 : 8;
            LumaBytesArgs args{call.groups, call.inputs[0], call.outputs[0], shift};
            kernel(args);
            call.inputs[0] = args.source;
            call.outputs[0] = args.destination;
          }};
}

/// A start for the sum that often makes it wrap.
std::uint32_t StartSum(std::uint64_t seed) {
  return static_cast<std::uint32_t>(seed >> 32);
}

/// Groups side by side in three rows.
template <class Kernel>
Variant WideBlock(std::string set, Kernel kernel) {
  return {std::move(set), [kernel](Call& call) {
            BlockSadArgs args{};
            args.columns = call.groups == 0 ? 0 : 8 * call.groups - static_cast<std::int32_t>(call.seed % 8);
            args.rows = 3;
            args.reference = call.inputs[0];
            args.referenceStride = std::ptrdiff_t{8} * call.groups;
            args.searched = call.inputs[1];
            args.searchedStride = args.referenceStride;
            args.sum = StartSum(call.seed);
            kernel(args);
            call.inputs[0] = args.reference;
            call.inputs[1] = args.searched;
            std::memcpy(call.outputs[0], &args.sum, sizeof args.sum);
          }};
}

/// A group is a row of 33 to 40 columns.
template <class Kernel>
Variant TallBlock(std::string set, Kernel kernel) {
  return {std::move(set), [kernel](Call& call) {
            BlockSadArgs args{};
            args.columns = 40 - static_cast<std::int32_t>(call.seed % 8);
            args.rows = call.groups;
            args.reference = call.inputs[0];
            args.referenceStride = 40;
            args.searched = call.inputs[1];
            args.searchedStride = 56;
            args.sum = StartSum(call.seed);
            kernel(args);
            call.inputs[0] = args.reference;
            call.inputs[1] = args.searched;
            std::memcpy(call.outputs[0], &args.sum, sizeof args.sum);
          }};
}

BilinearWeights WeightsFrom(std::uint64_t seed) {
  // Positions on, between and a trifle beside whole pixels.
  const auto fraction = [](std::uint64_t bits) {
    constexpr double choices[] = {0, 0x1p-40, 0.25, 2.0 / 7, 1.0 / 3, 0.5, 4.0 / 7, 1 - 0x1p-40, 1};
    const std::uint64_t choice = bits % 16;
    return choice < 9 ? choices[choice] : static_cast<double>(bits % 65536) / 65536;
  };
  const double right = fraction(seed >> 8);
  const double down = fraction(seed >> 24);
  const auto weight = [](double part) { return static_cast<std::uint16_t>(part * 65535); };
  return {weight((1 - right) * (1 - down)), weight(right * (1 - down)), weight((1 - right) * down),
          weight(right * down)};
}

/// Groups side by side in one row; the row below is a stream of its own.
template <class Kernel>
Variant WideBilinear(std::string set, Kernel kernel) {
  return {std::move(set), [kernel](Call& call) {
            BilinearSadArgs args{};
            args.columns = call.groups == 0 ? 0 : 4 * call.groups - static_cast<std::int32_t>(call.seed % 4);
            args.truncatedColumns =
                4 * static_cast<std::int32_t>((call.seed >> 40) %
                                              static_cast<std::uint64_t>(args.columns / 4 + 1));
            args.rows = 1;
            args.reference = call.inputs[0];
            args.referenceStride = std::ptrdiff_t{4} * call.groups;
            args.searched = call.inputs[1];
            args.searchedStride = call.inputs[2] - call.inputs[1];
            args.weights = WeightsFrom(call.seed);
            args.sum = StartSum(call.seed);
            kernel(args);
            call.inputs[0] = args.reference;
            if (args.searched == call.inputs[2]) call.inputs[1] += std::ptrdiff_t{4} * call.groups;
            call.inputs[2] += std::ptrdiff_t{4} * call.groups;
            std::memcpy(call.outputs[0], &args.sum, sizeof args.sum);
          }};
}

/// A group is a row of 13 to 16 columns.
template <class Kernel>
Variant TallBilinear(std::string set, Kernel kernel) {
  return {std::move(set), [kernel](Call& call) {
            BilinearSadArgs args{};
            args.columns = 16 - static_cast<std::int32_t>(call.seed % 4);
            args.truncatedColumns = 8;
            args.rows = call.groups;
            args.reference = call.inputs[0];
            args.referenceStride = 16;
            args.searched = call.inputs[1];
            args.searchedStride = 24;
            args.weights = WeightsFrom(call.seed);
            args.sum = StartSum(call.seed);
            kernel(args);
            call.inputs[0] = args.reference;
            call.inputs[1] = args.searched;
            std::memcpy(call.outputs[0], &args.sum, sizeof args.sum);
          }};
}

}  // namespace

void AddFeatureFindKernels(std::vector<KernelCase>& list) {
  const Stream sum = {.fixed = sizeof(std::uint32_t)};
  // More rows than 16-bit lanes can add up.
  constexpr int manyRows = 70;
  list.push_back({"featurefind/LumaBytes",
                  {{.perGroup = 16}},
                  {{.perGroup = 8}},
                  {LumaVariant("scalar", scalar::LumaBytes), LumaVariant("mmx", mmx::LumaBytes)}});
  list.push_back({"featurefind/BlockSad wide",
                  {{.perGroup = 24}, {.perGroup = 24}},
                  {sum},
                  {WideBlock("scalar", scalar::BlockSad), WideBlock("mmx", mmx::BlockSad)}});
  list.push_back({"featurefind/BlockSad tall",
                  {{.perGroup = 40}, {.perGroup = 56}},
                  {sum},
                  {TallBlock("scalar", scalar::BlockSad), TallBlock("mmx", mmx::BlockSad)},
                  manyRows});
  list.push_back({"featurefind/BilinearSad wide",
                  {{.perGroup = 4}, {.perGroup = 4, .behind = 1}, {.perGroup = 4, .behind = 1}},
                  {sum},
                  {WideBilinear("scalar", scalar::BilinearSad), WideBilinear("mmx", mmx::BilinearSad)}});
  list.push_back({"featurefind/BilinearSad tall",
                  {{.perGroup = 16}, {.perGroup = 24, .behind = 17}},
                  {sum},
                  {TallBilinear("scalar", scalar::BilinearSad), TallBilinear("mmx", mmx::BilinearSad)},
                  manyRows});
}

}  // namespace kv_check
