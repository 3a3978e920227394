#include "tests/support/member.h"

#include <cstdio>
#include <cstdlib>

#include "frame/platform/platform.h"

namespace kv_test {
namespace {

template <class Function>
void Find(void* module, const std::string& member, const char* name, Function& function) {
  function = reinterpret_cast<Function>(kv_platform::FindFunction(module, name));
  if (function != nullptr) return;
  std::fprintf(stderr, "%s does not export %s\n", member.c_str(), name);
  std::exit(1);
}

}  // namespace

Member::Member(const std::string& family, const std::string& level)
    : name_(family + level), suffix_(family.substr(std::string("kv_algo").size())) {
  const std::string& name = name_;
  void* module = kv_platform::LoadModule(std::wstring(name.begin(), name.end())).handle;
  if (module == nullptr) {
    std::fprintf(stderr, "%s cannot be loaded from the folder of this program\n", name.c_str());
    std::exit(1);
  }
  Find(module, name, "_LoadAlgorithm", loadAlgorithm_);
  Find(module, name, "getCPUFeature", getCpuFeature_);
  Find(module, name, "getLibraryPriority", getLibraryPriority_);
}

std::wstring Member::Suffix() const {
  return {suffix_.begin(), suffix_.end()};
}

const std::vector<Member>& Members() {
  static const std::vector<Member> members = {
    Member("kv_algoC"),
#if defined(__aarch64__)
    Member("kv_algoNEON"),
#else
    Member("kv_algoMMX"),
    Member("kv_algoSSE2"),
    Member("kv_algoSSE2", "_sse2"),
    Member("kv_algoSSE2", "_avx2"),
    Member("kv_algoSSE2", "_avx512"),
#endif
  };
  return members;
}

}  // namespace kv_test
