#include "algorithms/scanning/kernels/blend_rows_plain.h"

namespace kv_img::scanning::scalar {

void BlendAlike(BlendRowsArgs& args) noexcept {
  BlendInPlace(args);
}

void BlendLumaFirst(BlendRowsArgs& args) noexcept {
  BlendUnlike<0>(args);
}

void BlendChromaFirst(BlendRowsArgs& args) noexcept {
  BlendUnlike<1>(args);
}

}  // namespace kv_img::scanning::scalar
