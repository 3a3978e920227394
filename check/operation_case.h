#pragma once

#include <functional>
#include <string>
#include <vector>

#include "check/random.h"
#include "frame/interfaces/algorithm_interface.h"

namespace kv_check {

/// The result of comparing one call.
struct Comparison {
  /// What differs, and where; empty if nothing does.
  std::string difference;
  /// The reference threw: the other must throw the same exception.
  bool wasRefused = false;
};

/// One operation for one choice of pixel classes.
struct OperationCase {
  std::string algorithm;
  std::vector<int> ids;
  /// Makes one random call on two implementations of this operation, with equal images. All bytes of all
  /// images (slack and guard bytes included), the returned values and the exceptions must be equal.
  std::function<Comparison(Random& random, const kv_img::AlgorithmInterface& reference,
                           const kv_img::AlgorithmInterface& other)>
      compare;
  /// The plain rule of the operation, written from its description alone, in the place of an implementation.
  /// It does the work of all threads when thread 0 calls and nothing when the others do, so the threads have
  /// to call in turn. It refuses what the operation must refuse.
  const kv_img::AlgorithmInterface* rule;
};

/// Every operation that a member of the family may offer.
const std::vector<OperationCase>& AllOperations();

// The operations of one kind, appended to the list.
void AddColorOperations(std::vector<OperationCase>& list);
void AddCopyOperations(std::vector<OperationCase>& list);
void AddCopyRoiOperations(std::vector<OperationCase>& list);
void AddFrameOperations(std::vector<OperationCase>& list);
void AddMaskOperations(std::vector<OperationCase>& list);
void AddFeatureFindOperations(std::vector<OperationCase>& list);

}  // namespace kv_check
