#pragma once

#include <functional>
#include <string>
#include <vector>

#include "check/random.h"
#include "frame/interfaces/algorithm_interface.h"

namespace kv_check {

/// What a comparison of one call came to.
struct Comparison {
  /// What differs, with where; empty when nothing does.
  std::string difference;
  /// The reference threw: a refused call, which the other must refuse alike.
  bool wasRefused = false;
};

/// One operation for one choice of pixel classes.
struct OperationCase {
  std::string algorithm;
  std::vector<int> ids;
  /// Makes one random call on both objects, implementations of this operation, with equal images: all bytes
  /// of all images, slack and guard bytes too, the values that come back and the exceptions must be equal.
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
void AddCopyOperations(std::vector<OperationCase>& list);
void AddCopyRoiOperations(std::vector<OperationCase>& list);
void AddFrameOperations(std::vector<OperationCase>& list);
void AddMaskOperations(std::vector<OperationCase>& list);
void AddFeatureFindOperations(std::vector<OperationCase>& list);

}  // namespace kv_check
