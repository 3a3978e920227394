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

Member::Member(const std::string& name) : name_(name) {
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
  const std::string suffix = name_.substr(std::string("kv_algo").size());
  return {suffix.begin(), suffix.end()};
}

const std::vector<Member>& Members() {
  static const std::vector<Member> members = {Member("kv_algoC"), Member("kv_algoMMX")};
  return members;
}

}  // namespace kv_test
