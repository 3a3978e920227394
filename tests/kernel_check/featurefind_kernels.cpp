#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "tests/kernel_check/listed_kernel.h"
#include "tests/kernel_check/special_cases.h"

namespace kv_check {

using namespace kv_img::featurefind;

namespace {

/// A start for the sum that often makes it wrap.
std::uint32_t StartSum(std::uint64_t seed) {
  return static_cast<std::uint32_t>(seed >> 32);
}

constexpr std::size_t spare = spareColumns;
/// More than a step of the widest level.
constexpr int mostPositions = 40;
constexpr int mostPositionRows = 3;
constexpr int mostSums = mostPositions * mostPositionRows;
std::int32_t PositionsFrom(std::uint64_t seed) {
  return static_cast<std::int32_t>(seed >> 16 & 63) % (mostPositions + 1);
}
std::int32_t PositionRowsFrom(std::uint64_t seed) {
  return static_cast<std::int32_t>((seed >> 8) % (mostPositionRows + 1));
}

/// Calls a kernel on the rows and columns of `args`; a right one uses up `searchedBytes`. Of the searched rows it gets
/// the last ones: a page that may not be touched is after them.
template <class Kernel>
void CallBlock(Kernel kernel, Call& call, BlockSad::Args args, std::ptrdiff_t searchedBytes) {
  args.positions = PositionsFrom(call.seed);
  args.positionRows = PositionRowsFrom(call.seed);
  args.reference = call.inputs[0];
  const int skipped = mostPositionRows - std::max(args.positionRows, 1);
  const std::uint8_t* const searched = call.inputs[1] + skipped * args.searchedStride;
  args.searched = searched;
  std::uint32_t sums[mostSums];
  for (std::uint32_t& sum : sums) sum = StartSum(call.seed++);
  args.sums = sums;
  args.addsToSums = (call.seed >> 24 & 1) != 0;
  kernel(args);
  call.inputs[0] = args.reference;
  if (args.searched == searched + args.rows * args.searchedStride) call.inputs[1] += searchedBytes;
  std::memcpy(call.outputs[0], sums, sizeof sums);
}

/// Groups side by side in three rows.
constexpr auto WideBlock = [](auto kernel) {
  return [kernel](Call& call) {
    BlockSad::Args args{};
    args.columns = call.groups == 0 ? 0 : 8 * call.groups - static_cast<std::int32_t>(call.seed % 8);
    args.rows = 3;
    args.referenceStride = args.searchedStride = std::ptrdiff_t{8} * call.groups;
    CallBlock(kernel, call, args, 40 * call.groups);
  };
};

/// A group is a row of 33 to 40 columns.
constexpr auto TallBlock = [](auto kernel) {
  return [kernel](Call& call) {
    BlockSad::Args args{};
    args.columns = 40 - static_cast<std::int32_t>(call.seed % 8);
    args.rows = call.groups;
    args.referenceStride = 40;
    args.searchedStride = 56;
    CallBlock(kernel, call, args, 56 * call.groups);
  };
};

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
constexpr auto WideBilinear = [](auto kernel) {
  return [kernel](Call& call) {
    BilinearSad::Args args{};
    args.columns = call.groups == 0 ? 0 : 4 * call.groups - static_cast<std::int32_t>(call.seed % 4);
    args.truncatedColumns =
        4 * static_cast<std::int32_t>((call.seed >> 40) % static_cast<std::uint64_t>(args.columns / 4 + 1));
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
  };
};

/// A group is a row of 13 to 16 columns.
constexpr auto TallBilinear = [](auto kernel) {
  return [kernel](Call& call) {
    BilinearSad::Args args{};
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
  };
};

/// A group is a sum; every other call wants no means.
constexpr auto SomeScores = [](auto kernel) {
  return [kernel](Call& call) {
    std::vector<std::uint32_t> sums(static_cast<std::size_t>(call.groups));
    for (std::uint32_t& sum : sums) {
      std::memcpy(&sum, call.inputs[0], sizeof sum);
      call.inputs[0] += sizeof sum;
      // Every other call with small sums only, whose least is not negative.
      if (call.seed % 4 < 2) sum >>= 8;
    }
    const auto samples = static_cast<double>(1 + (call.seed >> 16) % 5000);
    std::vector<double> means(sums.size());
    Scores::Args args{call.groups, sums.data(), samples, call.seed % 2 == 0 ? means.data() : nullptr, 0};
    kernel(args);
    for (const double mean : means) {
      if (args.means != nullptr) std::memcpy(call.outputs[0], &mean, sizeof mean);
      call.outputs[0] += sizeof mean;
    }
    std::memcpy(call.outputs[1], &args.least, sizeof args.least);
  };
};

}  // namespace

void AddCases(std::type_identity<BlockSad> /*kernel*/, std::vector<KernelCase>& cases) {
  const Stream sums = {.fixed = mostSums * sizeof(std::uint32_t)};
  // More rows than 16-bit lanes can add up differences.
  constexpr int manyRows = 300;
  cases.push_back({"featurefind/BlockSad wide",
                   {{.perGroup = 24, .after = spare}, {.perGroup = 40, .after = mostPositions + spare}},
                   {sums},
                   AllSets<BlockSad>(WideBlock)});
  cases.push_back({"featurefind/BlockSad tall",
                   {{.perGroup = 40, .after = spare},
                    {.perGroup = 56, .after = 56 * (mostPositionRows - 1) + mostPositions + spare}},
                   {sums},
                   AllSets<BlockSad>(TallBlock),
                   manyRows});
}

void AddCases(std::type_identity<BilinearSad> /*kernel*/, std::vector<KernelCase>& cases) {
  const Stream sum = {.fixed = sizeof(std::uint32_t)};
  // More rows than 16-bit lanes can add up differences.
  constexpr int manyRows = 200;
  cases.push_back({"featurefind/BilinearSad wide",
                   {{.perGroup = 4, .after = spare},
                    {.perGroup = 4, .after = 1 + spare},
                    {.perGroup = 4, .after = 1 + spare}},
                   {sum},
                   AllSets<BilinearSad>(WideBilinear)});
  cases.push_back({"featurefind/BilinearSad tall",
                   {{.perGroup = 16, .after = spare}, {.perGroup = 24, .after = 17 + spare}},
                   {sum},
                   AllSets<BilinearSad>(TallBilinear),
                   manyRows});
}

void AddCases(std::type_identity<Scores> /*kernel*/, std::vector<KernelCase>& cases) {
  cases.push_back({"featurefind/Scores",
                   {{.perGroup = 4}},
                   {{.perGroup = 8}, {.fixed = sizeof(std::int32_t)}},
                   AllSets<Scores>(SomeScores)});
}

}  // namespace kv_check
