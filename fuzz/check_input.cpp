#include "fuzz/check_input.h"

#include <cstdio>
#include <cstdlib>

namespace kv_fuzz {

void Require(bool isTrue, const std::string& what) {
  if (isTrue) return;
  std::fprintf(stderr, "%s\n", what.c_str());
  std::abort();
}

}  // namespace kv_fuzz
