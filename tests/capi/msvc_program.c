/* Linked as Microsoft's linker does, without any C runtime: its exit status tells which step failed. */
#include <kv/kv.h>

int _fltused; /* what the compiler refers to where doubles are */

static uint8_t video[4][16];
static uint8_t bitmap[4][24];

int start(void);

int start(void) {
  kv_frame from;
  kv_frame to;
  kv_context* context = NULL;
  kv_find_options find;
  size_t count = 0;
  int i;
  if (kv_abi_version() != 1 || kv_version_string()[0] != '0') return 1;
  for (i = 0; i < 64; ++i) video[i / 16][i % 16] = 128;
  kv_frame_init(&from);
  from.format = KV_FORMAT_UYVY;
  from.width = 8;
  from.height = 4;
  from.planes[0] = video[0];
  from.strides[0] = 16;
  to = from;
  to.format = KV_FORMAT_BGR24;
  to.planes[0] = bitmap[3];
  to.strides[0] = -24;
  if (kv_context_new(NULL, &context) != KV_OK) return 2;
  if (kv_members(NULL, 0, &count) != KV_OK || count == 0) return 3;
  if (kv_convert(context, &from, &to, NULL, NULL) != KV_OK) return 4;
  for (i = 0; i < 96; ++i) {
    if (bitmap[i / 24][i % 24] != 130) return 5;
  }
  if (kv_convert(context, NULL, &to, NULL, NULL) != KV_BAD_ARGUMENT || kv_last_error()[0] != 's') return 6;
  kv_find_options_init(&find);
  if (find.step_x != 0.5) return 7;
  kv_context_free(context);
  return 42;
}
