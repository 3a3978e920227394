// The check tool: every kernel of every set against the scalar reference.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "algorithms/copy/kernels/swap_bytes.h"
#include "tests/kernel_check/checker.h"
#include "tests/kernel_check/listed_kernel.h"

namespace {

constexpr const char* usage =
    "kernel_check [--kernel TEXT] [--set NAME] [--seed N] [--rounds N] [--list]\n"
    "  --kernel TEXT  only kernels whose name contains TEXT\n"
    "  --set NAME     only this kernel set\n"
    "  --seed N       repeats a run (default 1)\n"
    "  --rounds N     records per kernel and set (default 1500)\n"
    "  --list         names of kernels and sets\n";

[[noreturn]] void ReportCrash(int /*signal*/) {
  const char* kernel = kv_check::CurrentKernel();
  std::fputs("crashed in ", stderr);
  std::fputs(kernel, stderr);
  std::fputs("\n", stderr);
  std::_Exit(1);
}

/// Kernels that are wrong on purpose, each in one way: a check that lets one pass is no check.
bool CatchesWrongKernels(std::uint64_t seed) {
  constexpr int rounds = 100;
  using kv_check::Call;
  using kv_check::KernelCase;
  using kv_check::Variant;
  const Variant right = kv_check::CaseOf<kv_img::copy::SwapBytes>().variants.front();
  const std::pair<const char*, void (*)(Call&)> faults[] = {
      {"one wrong byte",
       [](Call& call) {
         if (call.groups > 0) ++call.outputs[0][-1];
       }},
      {"a write past the end",
       [](Call& call) {
         if (call.groups > 0) ++call.outputs[0][0];
       }},
      {"a write before the start", [](Call& call) { ++call.outputs[0][-8 * call.groups - 1]; }},
      {"a pointer not advanced", [](Call& call) { --call.inputs[0]; }},
      {"a write to the input",
       [](Call& call) {
         if (call.groups > 0) ++const_cast<std::uint8_t*>(call.inputs[0])[-1];
       }},
  };
  bool all = true;
  for (const auto& [fault, spoil] : faults) {
    const Variant wrong{"wrong", [&right, spoil = spoil](Call& call) {
                          right.run(call);
                          spoil(call);
                        }};
    // Streams with room after the end, so that the comparison sees the fault before the protected page does.
    const KernelCase kernel{
        "copy/SwapBytes", {{.perGroup = 8, .after = 8}}, {{.perGroup = 8, .after = 8}}, {right}};
    if (kv_check::Check(kernel, wrong, seed, rounds).empty()) {
      std::fprintf(stderr, "a kernel with %s was not caught\n", fault);
      all = false;
    }
  }
  return all;
}

}  // namespace

int main(int argc, char** argv) {
  std::string kernelFilter;
  std::string setFilter;
  std::uint64_t seed = 1;
  int rounds = 1500;
  bool list = false;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--list") {
      list = true;
    } else if (i + 1 < argc && option == "--kernel") {
      kernelFilter = argv[++i];
    } else if (i + 1 < argc && option == "--set") {
      setFilter = argv[++i];
    } else if (i + 1 < argc && option == "--seed") {
      seed = std::strtoull(argv[++i], nullptr, 0);
    } else if (i + 1 < argc && option == "--rounds") {
      rounds = std::atoi(argv[++i]);
      if (rounds > 0) continue;
      std::fprintf(stderr, "--rounds: %s is no number of records from 1 on\n", argv[i]);
      return 2;
    } else {
      std::fputs(usage, stderr);
      return 2;
    }
  }

  std::signal(SIGSEGV, ReportCrash);
  std::signal(SIGILL, ReportCrash);
  int failures = CatchesWrongKernels(seed) ? 0 : 1;
  int checks = 0;
  for (const kv_check::KernelCase& kernel : kv_check::AllKernels()) {
    if (kernel.name.find(kernelFilter) == std::string::npos) continue;
    for (const kv_check::Variant& variant : kernel.variants) {
      if (!setFilter.empty() && variant.set != setFilter) continue;
      if (list) {
        std::printf("%s %s%s\n", kernel.name.c_str(), variant.set.c_str(),
                    variant.runsHere ? "" : " (this processor lacks it)");
        continue;
      }
      if (!variant.runsHere) continue;
      ++checks;
      const std::string wrong = kv_check::Check(kernel, variant, seed, rounds);
      if (wrong.empty()) continue;
      ++failures;
      std::fprintf(stderr, "%s\n", wrong.c_str());
    }
  }
  if (list) return 0;
  std::printf("%d kernel checks of %d records each, seed %llu: %d failed\n", checks, rounds,
              static_cast<unsigned long long>(seed), failures);
  return failures == 0 && checks > 0 ? 0 : 1;
}
