// Times every kernel that the check tool checks, and memcpy of the same number of bytes: the ratio of the two
// is stable from run to run, the times alone are not.

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/kernel_check/kernel_case.h"

namespace {

using kv_check::Call;
using kv_check::KernelCase;
using kv_check::Stream;
using kv_check::Variant;

/// One row after another of a working set, as an operation calls a kernel.
struct Workload {
  const char* name;
  std::size_t bytes;
};
constexpr Workload workloads[] = {{"cache", std::size_t{256} << 10}, {"stream", std::size_t{256} << 20}};
constexpr std::int32_t groupsPerRow = 240;

std::size_t RowBytes(const std::vector<Stream>& streams) {
  std::size_t bytes = 0;
  for (const Stream& stream : streams) bytes += groupsPerRow * stream.perGroup;
  return bytes;
}

/// The rows of one stream.
struct StreamRows {
  std::vector<std::uint8_t> memory;
  std::size_t before;
  std::size_t stride;

  StreamRows(const Stream& stream, std::size_t rows)
      : before(stream.before), stride(groupsPerRow * stream.perGroup + stream.fixed) {
    memory.resize(rows * stride + stream.before + stream.after + 64);
    for (std::size_t i = 0; i < memory.size(); ++i) memory[i] = static_cast<std::uint8_t>(i * 167 >> 3);
  }
  std::uint8_t* Row(std::size_t row) { return memory.data() + before + row * stride; }
};

void TimeKernel(benchmark::State& state, const KernelCase& kernel, const Variant& variant,
                std::size_t bytes) {
  const std::size_t rowBytes = RowBytes(kernel.inputs) + RowBytes(kernel.outputs);
  const std::size_t rows = std::max<std::size_t>(bytes / rowBytes, 1);
  std::vector<StreamRows> inputs;
  std::vector<StreamRows> outputs;
  for (const Stream& stream : kernel.inputs) inputs.emplace_back(stream, rows);
  for (const Stream& stream : kernel.outputs) outputs.emplace_back(stream, rows);
  std::vector<const std::uint8_t*> sources(inputs.size());
  std::vector<std::uint8_t*> destinations(outputs.size());
  for (auto _ : state) {
    for (std::size_t row = 0; row < rows; ++row) {
      for (std::size_t i = 0; i < inputs.size(); ++i) sources[i] = inputs[i].Row(row);
      for (std::size_t i = 0; i < outputs.size(); ++i) destinations[i] = outputs[i].Row(row);
      Call call{groupsPerRow, 1, sources.data(), destinations.data()};
      variant.run(call);
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * rows * rowBytes));
}

/// Copies half of the kernel's bytes, so that bytes read and written add up to the kernel's.
void TimeMemcpy(benchmark::State& state, const KernelCase& kernel, std::size_t bytes) {
  const std::size_t rowBytes = RowBytes(kernel.inputs) + RowBytes(kernel.outputs);
  const std::size_t rows = std::max<std::size_t>(bytes / rowBytes, 1);
  const std::size_t half = rowBytes / 2;
  std::vector<std::uint8_t> source(rows * half, 1);
  std::vector<std::uint8_t> destination(rows * half, 2);
  for (auto _ : state) {
    for (std::size_t row = 0; row < rows; ++row) {
      std::memcpy(destination.data() + row * half, source.data() + row * half, half);
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * rows * rowBytes));
}

}  // namespace

int main(int argc, char** argv) {
  for (const KernelCase& kernel : kv_check::AllKernels()) {
    for (const Workload& workload : workloads) {
      const std::string name = kernel.name + "/" + workload.name;
      benchmark::RegisterBenchmark((name + "/memcpy").c_str(), [&kernel, &workload](benchmark::State& state) {
        TimeMemcpy(state, kernel, workload.bytes);
      });
      for (const Variant& variant : kernel.variants) {
        if (!variant.runsHere) continue;
        benchmark::RegisterBenchmark((name + "/" + variant.set).c_str(),
                                     [&kernel, &variant, &workload](benchmark::State& state) {
                                       TimeKernel(state, kernel, variant, workload.bytes);
                                     });
      }
    }
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
