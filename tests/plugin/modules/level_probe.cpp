#include "algorithms/simd/wide_level.h"
#include "plugin/exports.h"

extern "C" KV_PLUGIN_EXPORT const char* levelOfModule();

const char* levelOfModule() {
  return kv_img::NameOf(kv_img::currentLevel);
}
