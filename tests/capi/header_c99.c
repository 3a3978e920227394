/* The header alone, in C99, and a call from C. */
#include <kv/kv.h>

int kv_test_calls_from_c(void);

int kv_test_calls_from_c(void) {
  kv_frame frame;
  int32_t planes = 0;
  kv_frame_init(&frame);
  frame.format = KV_FORMAT_YUV411P;
  frame.width = 7;
  frame.height = 3;
  if (kv_frame_alloc(&frame) != KV_OK || kv_format_planes(frame.format, &planes) != KV_OK) return 1;
  if (planes != 3 || frame.planes[2] == NULL || frame.strides[2] < 4) return 2;
  kv_frame_free(&frame);
  return frame.memory == NULL && kv_abi_version() == 1 ? 0 : 3;
}
