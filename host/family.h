#pragma once

#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "frame/algorithm_manager_impl.h"
#include "image/errors/exceptions.h"
#include "run/runner.h"

namespace kv_host {

/// The members of the plug-in family as the program sees them: through the algorithm manager, or one member
/// alone when a person asks for it by name.
class Family {
 public:
  /// `onlyMember`: a member's name, or empty for the best that can do a thing. Throws NoMemberError when
  /// there is no usable member of this name.
  explicit Family(const std::string& onlyMember = {});

  /// The implementation of an interface; null when no member, or not the one asked for, has it. One thread at
  /// a time.
  template <class Interface>
  const Interface* Find(const char* algorithm, std::initializer_list<int> ids) const;

  /// The same; throws NoMemberError that names the algorithm when there is none.
  template <class Interface>
  const Interface& Require(const char* algorithm, std::initializer_list<int> ids) const {
    if (const Interface* found = Find<Interface>(algorithm, ids)) return *found;
    ThrowNoMember(algorithm);
  }

  /// The member that the last Find of this algorithm chose; empty when it found none.
  std::string AnsweredBy(const std::string& algorithm) const;
  /// The member that answers a request; empty when none does.
  std::string WhoAnswers(const char* algorithm, const std::vector<int>& ids) const;
  /// What probing found, in the order of the family table.
  const std::vector<kv_img::MemberProbe>& Probes() const { return manager_.Probes(); }
  /// Whether a member, whatever the others would, answers a request.
  bool Answers(std::wstring_view member, const char* algorithm, const std::vector<int>& ids) const;
  /// What to add to a message when only one member was asked.
  std::string ForcedNote() const;

 private:
  [[noreturn]] void ThrowNoMember(const char* algorithm) const;

  kv_img::AlgorithmManagerImpl& manager_;
  std::wstring onlyMember_;
  mutable std::map<std::string, std::wstring> chosen_;
};

/// A member's name or a message's text for the terminal.
std::string Narrow(std::wstring_view text);

template <class Interface>
const Interface* Family::Find(const char* algorithm, std::initializer_list<int> ids) const {
  const int count = static_cast<int>(ids.size());
  if (!onlyMember_.empty()) {
    chosen_[algorithm] = onlyMember_;
    return static_cast<const Interface*>(manager_.AskMember(onlyMember_, algorithm, ids.begin(), count));
  }
  kv_img::ImplementationData<kv_run::LookUp<Interface>> data;
  try {
    manager_.LoadImplementation(algorithm, ids.begin(), count, data);
  } catch (const kv_img::AlgoException&) {
    return nullptr;
  }
  chosen_[algorithm] = manager_.UsableLibraries()[static_cast<std::size_t>(data.selectedIndex)].name;
  return data.current;
}

}  // namespace kv_host
