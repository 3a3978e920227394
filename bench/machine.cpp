#include "bench/machine.h"

#include <malloc.h>
#include <sched.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <fstream>

namespace kv_bench {
namespace {

std::string ProcessorName() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
  }
  return "x86-64";
}

std::string Cache(const char* name, int which) {
  const long bytes = sysconf(which);
  return bytes > 0 ? std::string(", ") + name + " " + std::to_string(bytes >> 10) + " KiB" : "";
}

int ProcessorCount() {
  return static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
}

void AllowProcessors(int first, int last) {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  for (int processor = first; processor <= last; ++processor) CPU_SET(processor, &processors);
  sched_setaffinity(0, sizeof processors, &processors);
}

}  // namespace

std::string DescribeMachine() {
  utsname system{};
  uname(&system);
  return ProcessorName() + ", " + std::to_string(ProcessorCount()) + " processors" +
         Cache("L1", _SC_LEVEL1_DCACHE_SIZE) + Cache("L2", _SC_LEVEL2_CACHE_SIZE) +
         Cache("L3", _SC_LEVEL3_CACHE_SIZE) + ", " + system.sysname + " " + system.machine +
#if defined(__clang__)
         ", clang++ " __clang_version__;
#else
         ", g++ " __VERSION__;
#endif
}

void GiveFramesPagesOfTheirOwn() {
  mallopt(M_MMAP_THRESHOLD, 1 << 15);
}

void PinThread() {
  AllowProcessors(ProcessorCount() - 1, ProcessorCount() - 1);
}

void UnpinThread() {
  AllowProcessors(0, ProcessorCount() - 1);
}

}  // namespace kv_bench
