#include "frame/forwarding_algorithms.h"

// Made when the module is loaded, destroyed when it is unloaded.
namespace kv_img::holders {

decltype(averageFilter) averageFilter;
decltype(copy) copy;

}  // namespace kv_img::holders
