#include "algorithms/scanning/kernels/kernel_sets.h"
#include "check/kernel_case.h"

namespace kv_check {
namespace {

using namespace kv_img::scanning;

/// Of one input row the kernel gets the same row twice.
constexpr auto PanVariant = [](std::string set, auto kernel, std::size_t rows) -> Variant {
  return {std::move(set), [kernel, rows](Call& call) {
            // Weights as a pan makes them, the extremes as often as random ones.
            const std::uint32_t extremes[] = {0, 1, 0x3FFFFF, 0x400000, 0x400001, 0x7FFF00, 0x7FFFFF, 0x100};
            const std::uint32_t weight = call.seed % 2 == 0
                                             ? extremes[call.seed / 2 % 8]
                                             : static_cast<std::uint32_t>(call.seed >> 8) & 0x7FFFFFU;
            PanRowArgs args{call.groups,
                            call.inputs[0],
                            call.inputs[rows - 1],
                            call.outputs[0],
                            static_cast<std::uint16_t>((0x800000U - weight) >> 8),
                            static_cast<std::uint16_t>(weight >> 8)};
            kernel(args);
            call.inputs[0] = args.upper;
            call.inputs[rows - 1] = args.lower;
            call.outputs[0] = args.destination;
          }};
};

template <class Wide>
void AddPan(std::vector<KernelCase>& list, const std::string& name, bool isShifted,
            void (*scalarKernel)(PanRowArgs&) noexcept, void (*mmxKernel)(PanRowArgs&) noexcept,
            Wide wideKernel) {
  const Stream row{.perGroup = 8, .before = isShifted ? std::size_t{2} : 0, .behind = 2};
  for (const std::size_t rows : {2, 1}) {
    list.push_back(
        {name + (rows == 1 ? "/one row" : ""),
         std::vector<Stream>(rows, row),
         {{.perGroup = 8}},
         AllSets([rows](const std::string& set, auto kernel) { return PanVariant(set, kernel, rows); },
                 scalarKernel, mmxKernel, wideKernel)});
  }
}

constexpr auto BlendVariant = [](std::string set, auto kernel) -> Variant {
  return {std::move(set), [kernel](Call& call) {
            // Fractions of all precisions: of up to 24 bits, down to none.
            const auto bits = static_cast<std::uint32_t>(call.seed % 25);
            const auto whole = static_cast<float>(std::uint32_t{1} << bits);
            BlendRowsArgs args{call.groups, call.inputs[0], call.inputs[1], call.outputs[0],
                               static_cast<float>(call.seed / 25 % ((std::uint32_t{1} << bits) + 1)) / whole};
            kernel(args);
            call.inputs[0] = args.upper;
            call.inputs[1] = args.lower;
            call.outputs[0] = args.destination;
          }};
};

template <class Wide>
void AddBlend(std::vector<KernelCase>& list, const std::string& name, std::size_t beside,
              void (*scalarKernel)(BlendRowsArgs&) noexcept, void (*mmxKernel)(BlendRowsArgs&) noexcept,
              Wide wideKernel) {
  const Stream row{.perGroup = 8, .before = beside, .behind = beside};
  list.push_back(
      {name, {row, row}, {{.perGroup = 8}}, AllSets(BlendVariant, scalarKernel, mmxKernel, wideKernel)});
}

}  // namespace

void AddScanningKernels(std::vector<KernelCase>& list) {
  AddPan(list, "scanning/PanChromaFirst", false, scalar::PanChromaFirst, mmx::PanChromaFirst,
         WideKernels::PanChromaFirst);
  AddPan(list, "scanning/PanChromaFirstShifted", true, scalar::PanChromaFirstShifted,
         mmx::PanChromaFirstShifted, WideKernels::PanChromaFirstShifted);
  AddPan(list, "scanning/PanLumaFirst", false, scalar::PanLumaFirst, mmx::PanLumaFirst,
         WideKernels::PanLumaFirst);
  AddPan(list, "scanning/PanLumaFirstShifted", true, scalar::PanLumaFirstShifted, mmx::PanLumaFirstShifted,
         WideKernels::PanLumaFirstShifted);
  AddBlend(list, "scanning/BlendAlike", 0, scalar::BlendAlike, mmx::BlendAlike, WideKernels::BlendAlike);
  AddBlend(list, "scanning/BlendLumaFirst", 2, scalar::BlendLumaFirst, mmx::BlendLumaFirst,
           WideKernels::BlendLumaFirst);
  AddBlend(list, "scanning/BlendChromaFirst", 2, scalar::BlendChromaFirst, mmx::BlendChromaFirst,
           WideKernels::BlendChromaFirst);
}

}  // namespace kv_check
