#include "host/family.h"

#include "host/errors.h"

namespace kv_host {

std::string Narrow(std::wstring_view text) {
  std::string narrow;
  for (const wchar_t character : text) narrow += character < 128 ? static_cast<char>(character) : '?';
  return narrow;
}

Family::Family(const std::string& onlyMember)
    : manager_(*kv_img::AlgorithmManagerImpl::GetInstance()),
      onlyMember_(onlyMember.begin(), onlyMember.end()) {
  if (onlyMember.empty()) return;
  std::string usable;
  for (const kv_img::LibraryEntry& entry : manager_.UsableLibraries()) {
    if (onlyMember_ == entry.name) return;
    usable += (usable.empty() ? "" : ", ") + Narrow(entry.name);
  }
  throw NoMemberError("--member: there is no usable member " + onlyMember + "; there are " +
                      (usable.empty() ? "none" : usable) + " (kv members tells why)");
}

bool Family::Answers(std::wstring_view member, const char* algorithm, const std::vector<int>& ids) const {
  return manager_.AskMember(member, algorithm, ids.data(), static_cast<int>(ids.size())) != nullptr;
}

std::string Family::WhoAnswers(const char* algorithm, const std::vector<int>& ids) const {
  for (const kv_img::LibraryEntry& entry : manager_.UsableLibraries()) {
    if (Answers(entry.name, algorithm, ids)) return Narrow(entry.name);
  }
  return {};
}

std::string Family::AnsweredBy(const std::string& algorithm) const {
  const auto chosen = chosen_.find(algorithm);
  return chosen == chosen_.end() ? std::string() : Narrow(chosen->second);
}

std::string Family::ForcedNote() const {
  return onlyMember_.empty() ? "" : " (only " + Narrow(onlyMember_) + " was asked)";
}

void Family::ThrowNoMember(const char* algorithm) const {
  throw NoMemberError(std::string("no member of the family offers ") + algorithm + " for these pictures" +
                      ForcedNote());
}

}  // namespace kv_host
