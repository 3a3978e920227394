// Kernels that change bytes each by itself may write where they read, as hosts do that blend into a picture.
#include <gtest/gtest.h>

#include <vector>

#include "check/random.h"
#include "tests/kernel_check/kernel_case.h"

namespace {

using namespace kv_check;
using Bytes = std::vector<std::uint8_t>;

/// What a variant writes, over its `replaced`-th input or elsewhere.
Bytes Written(const KernelCase& kernel, const Variant& variant, std::int32_t groups,
              std::vector<Bytes> inputs, std::ptrdiff_t replaced) {
  Bytes elsewhere(static_cast<std::size_t>(groups) * kernel.outputs[0].perGroup);
  std::vector<const std::uint8_t*> from;
  from.reserve(inputs.size());
  for (const Bytes& input : inputs) from.push_back(input.data());
  Bytes& written = replaced < 0 ? elsewhere : inputs[static_cast<std::size_t>(replaced)];
  std::uint8_t* to = written.data();
  Call call{groups, 6, from.data(), &to};
  variant.run(call);
  return written;
}

TEST(Kernels, ThatChangeEachByteByItselfMayWriteWhereTheyRead) {
  Random random(11);
  int compared = 0;
  for (const KernelCase& kernel : AllKernels()) {
    const std::string& name = kernel.name;
    if (name != "arithmetic/HalvedSum" && name != "arithmetic/BlendBoost" &&
        name != "alpha/CentredDifference") {
      continue;
    }
    for (std::int32_t groups = 1; groups <= 70; ++groups) {
      std::vector<Bytes> inputs;
      for (const Stream& stream : kernel.inputs) {
        inputs.emplace_back(static_cast<std::size_t>(groups) * stream.perGroup);
        random.Fill(inputs.back());
      }
      const Bytes right = Written(kernel, kernel.variants.front(), groups, inputs, -1);
      for (const Variant& variant : kernel.variants) {
        if (!variant.runsHere) continue;
        for (std::size_t input = 0; input < inputs.size(); ++input) {
          if (kernel.inputs[input].perGroup != kernel.outputs[0].perGroup) continue;
          ASSERT_EQ(Written(kernel, variant, groups, inputs, static_cast<std::ptrdiff_t>(input)), right)
              << name << ' ' << variant.set << ", " << groups << " groups over input " << input;
          ++compared;
        }
      }
    }
  }
  EXPECT_GE(compared, 3 * 70 * 3) << "three kernels, in three sets at least";
}

}  // namespace
