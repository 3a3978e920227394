#pragma once

#include "check/operation_case.h"
#include "frame/interfaces/algorithm_interface.h"

namespace kv_model {

/// The plain model of an operation, behind the interface that members implement; null when there is none.
///
/// A model does the work of all threads when thread 0 calls, and nothing when the others do: the threads have
/// to call in turn. It refuses what the operation's rule refuses.
kv_img::AlgorithmInterface* ModelOf(const kv_check::OperationCase& operation);

}  // namespace kv_model
