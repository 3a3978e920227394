#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "frame/implementation_data.h"
#include "frame/interfaces/algorithm_interface.h"
#include "frame/platform/platform.h"

namespace kv_img {

/// Finds the best implementation of an algorithm among the members of the family that are installed.
///
/// Every member is probed once: it must load and tell its priority, and the processor must have one of the
/// features that it asks for. A request goes to the usable members, highest priority first, until one
/// answers. All operations may be called from any thread.
class AlgorithmManager {
 public:
  AlgorithmManager(const AlgorithmManager&) = delete;
  AlgorithmManager& operator=(const AlgorithmManager&) = delete;
  virtual ~AlgorithmManager();

  /// The manager of this program or module, made (and every member probed) by the first call. Lives to the
  /// end of the process, or until the module is unloaded.
  static AlgorithmManager* GetInstance();

  /// A further folder to look for members in. The folder of this program or module comes first, then those
  /// told here in their order, then the folder kv_algo beside the image library (where an installation keeps
  /// the members), last the system's search. Throws AlgoException code 2 for an empty path and once the
  /// manager exists, for it has probed already.
  static void LookAlsoIn(const std::filesystem::path& folder);

  /// Fills `data` with the implementation of `algorithmName` for `count` pixel classes, sources before
  /// destinations. Does nothing when `data` is filled already. A member that was loaded for a look-up stays
  /// loaded. Throws AlgoException code 1 naming the algorithm when no member answers.
  template <class Algorithm>
  void LoadImplementation(const char* algorithmName, const int* classIds, int count,
                          ImplementationData<Algorithm>& data);

 private:
  friend class AlgorithmManagerImpl;
  AlgorithmManager() = default;
};

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
inline constexpr std::array<const wchar_t*, familySize> familyTable = {L"kv_algoC", L"kv_algoMMX",
                                                                       L"kv_algoSSE", L"kv_algoSSE2"};

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
  [[noreturn]] static void ThrowNotFound(const char* algorithmName);

  std::vector<LibraryEntry> libraries_;
  std::vector<LibraryEntry> usableLibraries_;
  kv_platform::CriticalSection lock_;
  std::uint32_t processorFeatures_;
  std::vector<std::filesystem::path> folders_;
  std::vector<MemberProbe> probes_;
};

template <class Algorithm>
void AlgorithmManager::LoadImplementation(const char* algorithmName, const int* classIds, int count,
                                          ImplementationData<Algorithm>& data) {
  auto& self = static_cast<AlgorithmManagerImpl&>(*this);
  const std::lock_guard guard(self.lock_);
  if (data.current != nullptr) return;
  std::vector<LibraryEntry>& members = self.usableLibraries_;
  if (data.perLibrary.size() < members.size()) data.perLibrary.resize(members.size());
  for (std::size_t j = 0; j < members.size(); ++j) {
    if (!self.EnsureLoaded(members[j])) continue;
    data.perLibrary[j] = nullptr;
    AlgorithmInterface* answer = AlgorithmManagerImpl::Ask(members[j], algorithmName, classIds, count);
    if (answer == nullptr) continue;
    data.perLibrary[j] = static_cast<typename Algorithm::Interface*>(answer);
    if (data.useCount == 0) {
      data.selectedIndex = static_cast<std::int32_t>(j);
      data.current = data.perLibrary[j];
    }
    ++data.useCount;
    return;
  }
  if (data.useCount == 0) AlgorithmManagerImpl::ThrowNotFound(algorithmName);
}

}  // namespace kv_img
