#include <algorithm>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "frame/algorithm_manager_impl.h"
#include "image/errors/exceptions.h"
#include "image/library_address.h"

namespace kv_img {
namespace {

struct Unload {
  void operator()(void* module) const { kv_platform::UnloadModule(module); }
};
using ModuleGuard = std::unique_ptr<void, Unload>;

template <class Function>
Function* Find(kv_platform::ModuleHandle module, const char* name) {
  return reinterpret_cast<Function*>(kv_platform::FindFunction(module, name));
}

void SortByPriority(std::vector<LibraryEntry>& entries) {
  std::sort(entries.begin(), entries.end(),
            [](const LibraryEntry& a, const LibraryEntry& b) { return a.priority > b.priority; });
}

/// The one manager of this program or module, and what it is to be made with.
struct ProcessWide {
  kv_platform::CriticalSection lock;
  std::vector<std::filesystem::path> folders;
  std::shared_ptr<AlgorithmManagerImpl> manager;
};

ProcessWide& Global() {
  static ProcessWide global;
  return global;
}

/// Where an installation keeps the members: the folder kv_algo beside the image library, which program and
/// members share.
const std::filesystem::path& InstalledFolder() {
  static const std::filesystem::path folder = kv_platform::FolderOf(AddressInImageLibrary()) / "kv_algo";
  return folder;
}
// Found while the module is loaded, when a relative name still means what it meant to the loader.
// Nobody could catch what is thrown while a module is loaded: without memory it is found when it is needed.
[[maybe_unused]] const bool isInstalledFolderKnown = []() noexcept {
  try {
    return InstalledFolder().is_absolute();
  } catch (const std::bad_alloc&) {
    return false;
  }
}();

/// What a function of a member returns; nothing when it throws, and `problem` says so.
std::optional<std::uint32_t> Call(std::uint32_t (*function)(), const char* name, std::string& problem) {
  std::string thrown = "an unknown exception";
  try {
    return function();
  } catch (const std::exception& error) {
    thrown = error.what();
  } catch (const kv_std::KVException& error) {
    thrown = "an exception of code " + std::to_string(error.Code());
  } catch (...) {
    // Nobody knows what it is.
  }
  problem = std::string(name) + " throws: " + thrown;
  return std::nullopt;
}

}  // namespace

AlgorithmManager::~AlgorithmManager() = default;

AlgorithmManager* AlgorithmManager::GetInstance() {
  return AlgorithmManagerImpl::GetInstance();
}

AlgorithmManagerImpl* AlgorithmManagerImpl::GetInstance() {
  ProcessWide& global = Global();
  const std::lock_guard guard(global.lock);
  if (global.manager == nullptr) {
    ManagerSetup setup;
    setup.folders = global.folders;
    std::error_code error;
    if (InstalledFolder().is_absolute() && std::filesystem::is_directory(InstalledFolder(), error)) {
      setup.folders.push_back(InstalledFolder());
    }
    global.manager = std::make_shared<AlgorithmManagerImpl>(std::move(setup));
  }
  return global.manager.get();
}

void AlgorithmManager::LookAlsoIn(const std::filesystem::path& folder) {
  ProcessWide& global = Global();
  const std::lock_guard guard(global.lock);
  if (folder.empty() || global.manager != nullptr) {
    throw AlgoException(2, L"folder", L"AlgorithmManager::LookAlsoIn");
  }
  // What a relative path means must not change with the current folder.
  global.folders.push_back(std::filesystem::absolute(folder));
}

void AlgorithmManager::LookUp(const char* algorithmName, const int* classIds, int count,
                              const UntypedImplementationData& data) {
  auto& self = static_cast<AlgorithmManagerImpl&>(*this);
  const std::lock_guard guard(self.lock_);
  if (data.IsFilled()) return;
  std::vector<LibraryEntry>& members = self.usableLibraries_;
  for (std::size_t j = 0; j < members.size(); ++j) {
    if (!self.EnsureLoaded(members[j])) continue;
    data.Store(j, nullptr);
    AlgorithmInterface* answer = AlgorithmManagerImpl::Ask(members[j], algorithmName, classIds, count);
    if (answer == nullptr) continue;
    data.Store(j, answer);
    return;
  }
  if (!data.WasEverFilled()) throw AlgoException(1, kv_platform::Widen(algorithmName).c_str());
}

AlgorithmManagerImpl::AlgorithmManagerImpl(ManagerSetup setup)
    : processorFeatures_(setup.processorFeatures), folders_(std::move(setup.folders)) {
  for (const wchar_t* name : setup.family) probes_.push_back(Probe(name));
  SortByPriority(libraries_);
  SortByPriority(usableLibraries_);
}

AlgorithmManagerImpl::~AlgorithmManagerImpl() {
  // At the end of the process a sibling may hold the last reference to this module and release it as it goes.
  kv_platform::KeepOwnModule();
  for (const LibraryEntry& entry : usableLibraries_) {
    if (entry.module != nullptr) kv_platform::UnloadModule(entry.module);
  }
}

MemberProbe AlgorithmManagerImpl::Probe(const wchar_t* name) {
  using enum MemberProbe::Finding;
  MemberProbe probe;
  probe.name = name;
  kv_platform::LoadedModule loaded = kv_platform::LoadModule(name, folders_);
  const ModuleGuard module(loaded.handle);
  probe.file = std::move(loaded.file);
  probe.problem = std::move(loaded.problem);
  if (module == nullptr) return probe;

  probe.answersRequests = kv_platform::FindFunction(module.get(), "_LoadAlgorithm") != nullptr;
  const auto getPriority = Find<std::uint32_t()>(module.get(), "getLibraryPriority");
  probe.finding = NoPriority;
  if (getPriority == nullptr) return probe;
  probe.finding = Throws;
  const auto priority = Call(getPriority, "getLibraryPriority", probe.problem);
  if (!priority) return probe;
  probe.priority = *priority;
  const LibraryEntry entry{probe.priority, name, nullptr};
  libraries_.push_back(entry);

  const auto getFeature = Find<std::uint32_t()>(module.get(), "getCPUFeature");
  probe.finding = NoFeatureMask;
  if (getFeature == nullptr) return probe;
  probe.finding = Throws;
  const auto featureMask = Call(getFeature, "getCPUFeature", probe.problem);
  if (!featureMask) return probe;
  probe.featureMask = *featureMask;
  probe.finding = (probe.featureMask & processorFeatures_) != 0 ? Usable : NoFeature;
  if (probe.finding == Usable) usableLibraries_.push_back(entry);
  return probe;
}

bool AlgorithmManagerImpl::EnsureLoaded(LibraryEntry& entry) const {
  if (entry.module == nullptr) entry.module = kv_platform::LoadModule(entry.name, folders_).handle;
  return entry.module != nullptr;
}

AlgorithmInterface* AlgorithmManagerImpl::Ask(const LibraryEntry& entry, const char* algorithmName,
                                              const int* classIds, int count) {
  const auto loadAlgorithm =
      Find<AlgorithmInterface*(const char*, const int*, int)>(entry.module, "_LoadAlgorithm");
  if (loadAlgorithm == nullptr) return nullptr;
  try {
    return loadAlgorithm(algorithmName, classIds, count);
  } catch (...) {
    // It must not; the members after it may know the request.
    return nullptr;
  }
}

AlgorithmInterface* AlgorithmManagerImpl::AskMember(std::wstring_view name, const char* algorithmName,
                                                    const int* classIds, int count) {
  const std::lock_guard guard(lock_);
  for (LibraryEntry& entry : usableLibraries_) {
    if (name == entry.name) {
      return EnsureLoaded(entry) ? Ask(entry, algorithmName, classIds, count) : nullptr;
    }
  }
  return nullptr;
}

}  // namespace kv_img
