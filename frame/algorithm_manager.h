#pragma once

#include <filesystem>

#include "frame/implementation_data.h"
#include "frame/interfaces/algorithm_interface.h"

namespace kv_img {

/// Finds the best implementation of an algorithm among the members of the family that are installed.
///
/// Every member is probed once: it must load and report its priority, and the processor must have one of the
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

  /// Adds a folder to look for members in. The folder of this program or module comes first, then those added
  /// here in their order, then the folder kv_algo beside the image library (where an installation keeps the
  /// members), last the system's search. Throws AlgoException code 2 for an empty path and once the manager
  /// exists, for it has probed already.
  static void LookAlsoIn(const std::filesystem::path& folder);

  /// Fills `data` with the implementation of `algorithmName` for `count` pixel classes, sources before
  /// destinations. Does nothing when `data` is filled already. A member that was loaded for a look-up stays
  /// loaded. Throws AlgoException code 1 naming the algorithm when no member answers.
  template <class Algorithm>
  void LoadImplementation(const char* algorithmName, const int* classIds, int count,
                          ImplementationData<Algorithm>& data) {
    LookUp(algorithmName, classIds, count, UntypedImplementationData(data));
  }

 private:
  friend class AlgorithmManagerImpl;
  AlgorithmManager() = default;

  void LookUp(const char* algorithmName, const int* classIds, int count,
              const UntypedImplementationData& data);
};

}  // namespace kv_img
