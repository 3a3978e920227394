// One algorithm of the family on every member against its plain model.

#include "fuzz/operation_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kv_fuzz::CompareMembers(KV_FUZZ_ALGORITHM, {data, size});
  return 0;
}
