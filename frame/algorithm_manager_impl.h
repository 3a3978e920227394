#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "frame/algorithm_manager.h"
#include "frame/platform/platform.h"

namespace kv_img {

/// A member of the family that was found.
struct LibraryEntry {
  std::uint32_t priority;
  const wchar_t* name;
  /// Null until the member is first needed.
  kv_platform::ModuleHandle module;
};

/// What probing a member of the family came to, for people.
struct MemberProbe {
  enum class Finding {
    NotLoaded,      ///< no file, or one that cannot be loaded: see `problem`
    NoPriority,     ///< it does not export getLibraryPriority
    NoFeatureMask,  ///< it does not export getCPUFeature
    NoFeature,      ///< the processor has none of the features of `featureMask`
    Throws,         ///< getLibraryPriority or getCPUFeature throws: see `problem`
    Usable
  };

  const wchar_t* name = nullptr;
  Finding finding = Finding::NotLoaded;
  std::string problem;
  /// The file that was loaded.
  std::filesystem::path file;
  std::uint32_t priority = 0;
  std::uint32_t featureMask = 0;
  /// It exports _LoadAlgorithm. A member that does not is usable, but answers nothing.
  bool answersRequests = false;
};

/// The members of the family, in the order in which they are probed.
#if defined(__aarch64__)
inline constexpr std::array familyTable = {L"kv_algoC", L"kv_algoNEON"};
#else
inline constexpr std::array familyTable = {L"kv_algoC", L"kv_algoMMX", L"kv_algoSSE", L"kv_algoSSE2"};
#endif
static_assert(familyTable.size() <= familySize);
/// The member with the wide kernels, which runs at a level (frame/platform/wide_level.h).
inline constexpr std::wstring_view memberWithLevels = familyTable.back();

/// What a manager works with; by default the family, this processor and no further folder. Names must outlive
/// the manager.
struct ManagerSetup {
  std::vector<const wchar_t*> family{familyTable.begin(), familyTable.end()};
  std::uint32_t processorFeatures = kv_platform::ThisProcessor().features;
  std::vector<std::filesystem::path> folders;
};

/// The manager's state, and what programs that show or force a choice need to see of it.
class AlgorithmManagerImpl final : public AlgorithmManager {
 public:
  explicit AlgorithmManagerImpl(ManagerSetup setup = {});
  ~AlgorithmManagerImpl() override;

  /// AlgorithmManager::GetInstance with all that there is to see.
  static AlgorithmManagerImpl* GetInstance();

  /// One for each member of the family table, in its order.
  const std::vector<MemberProbe>& Probes() const { return probes_; }
  /// Members that were found, highest priority first.
  const std::vector<LibraryEntry>& Libraries() const { return libraries_; }
  /// Those of them that are usable, in the order in which they are asked.
  const std::vector<LibraryEntry>& UsableLibraries() const { return usableLibraries_; }

  /// What one usable member answers to a request, whatever the others would; null when it has nothing, cannot
  /// be loaded or is not usable.
  AlgorithmInterface* AskMember(std::wstring_view name, const char* algorithmName, const int* classIds,
                                int count);

 private:
  friend class AlgorithmManager;

  MemberProbe Probe(const wchar_t* name);
  bool EnsureLoaded(LibraryEntry& entry) const;
  static AlgorithmInterface* Ask(const LibraryEntry& entry, const char* algorithmName, const int* classIds,
                                 int count);

  std::vector<LibraryEntry> libraries_;
  std::vector<LibraryEntry> usableLibraries_;
  kv_platform::CriticalSection lock_;
  std::uint32_t processorFeatures_;
  std::vector<std::filesystem::path> folders_;
  std::vector<MemberProbe> probes_;
};

}  // namespace kv_img
