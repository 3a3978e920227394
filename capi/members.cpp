#include <algorithm>
#include <cstdio>
#include <string>

#include "capi/checks.h"
#include "frame/algorithm_manager_impl.h"
#include "frame/platform/wide_level.h"

namespace kv_capi {
namespace {

using kv_img::MemberProbe;

const char* ReasonOf(const MemberProbe& probe) {
  switch (probe.finding) {
    case MemberProbe::Finding::NoPriority:
      return "does not export getLibraryPriority";
    case MemberProbe::Finding::NoFeatureMask:
      return "does not export getCPUFeature";
    case MemberProbe::Finding::NoFeature:
      return "this processor has none of the features it needs";
    case MemberProbe::Finding::Usable:
      return "";
    default:
      return probe.problem.c_str();
  }
}

kv_member Describe(const MemberProbe& probe) {
  kv_member member = {};
  member.struct_size = sizeof member;
  member.is_usable = probe.finding == MemberProbe::Finding::Usable ? 1 : 0;
  member.priority = probe.priority;
  const std::wstring wide = probe.name;
  const std::string name(wide.begin(), wide.end());
  std::snprintf(member.name, sizeof member.name, "%s", name.c_str());
  if (member.is_usable != 0 && wide == kv_img::memberWithLevels) {
    std::snprintf(member.level, sizeof member.level, "%s", kv_img::NameOf(kv_img::LevelInForce()));
  }
  std::snprintf(member.reason, sizeof member.reason, "%s", ReasonOf(probe));
  return member;
}

}  // namespace
}  // namespace kv_capi

using namespace kv_capi;

kv_status kv_members(kv_member* members, size_t capacity, size_t* count) {
  return Guarded([&] {
    CheckPointer("count", count, alignof(size_t));
    if (capacity > 0) CheckPointer("members", members, alignof(kv_member));
    const auto& probes = kv_img::AlgorithmManagerImpl::GetInstance()->Probes();
    const std::size_t filled = std::min(capacity, probes.size());
    for (std::size_t i = 0; i < filled; ++i) {
      CheckStructSize("members[…]", members[i].struct_size, sizeof(kv_member), "sizeof(kv_member)");
    }
    for (std::size_t i = 0; i < filled; ++i) members[i] = Describe(probes[i]);
    *count = probes.size();
  });
}
