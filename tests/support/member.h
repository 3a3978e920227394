#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "frame/interfaces/algorithm_interface.h"

namespace kv_test {

/// A family member, loaded at run time as a host loads it.
class Member {
 public:
  /// Loads a member ("kv_algoMMX") from the folder of the test program; ends the test program when it is not
  /// there. With a level ("_avx2") the module that stops there.
  explicit Member(const std::string& family, const std::string& level = {});

  const std::string& Name() const { return name_; }
  /// What the member's messages end their algorithm names with: "MMX".
  std::wstring Suffix() const;

  kv_img::AlgorithmInterface* Load(const char* algorithm, const int* ids, int count) const {
    return loadAlgorithm_(algorithm, ids, count);
  }
  /// The implementation of an interface; null when the member has none.
  template <class Interface>
  const Interface* Get(const char* algorithm, std::initializer_list<int> ids) const {
    return static_cast<const Interface*>(Load(algorithm, ids.begin(), static_cast<int>(ids.size())));
  }
  std::uint32_t Feature() const { return getCpuFeature_(); }
  std::uint32_t Priority() const { return getLibraryPriority_(); }

 private:
  std::string name_;
  std::string suffix_;
  kv_img::AlgorithmInterface* (*loadAlgorithm_)(const char*, const int*, int) = nullptr;
  std::uint32_t (*getCpuFeature_)() = nullptr;
  std::uint32_t (*getLibraryPriority_)() = nullptr;
};

/// The members that are built: tests of an operation run on each, for all give the same bytes.
const std::vector<Member>& Members();

/// For INSTANTIATE_TEST_SUITE_P(Members, Suite, EachMember(), MemberName): the parameter is an index of
/// Members().
inline auto EachMember() {
  return testing::Range(0, static_cast<int>(Members().size()));
}
inline std::string MemberName(const testing::TestParamInfo<int>& info) {
  return Members()[static_cast<std::size_t>(info.param)].Name();
}

}  // namespace kv_test
