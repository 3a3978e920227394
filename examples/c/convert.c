/* A 4:2:2 frame in memory of this program's own becomes a bottom-up bitmap. */
#include <kv/kv.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { width = 720, height = 576 };
static uint8_t video[height][width * 2];
static uint8_t bitmap[height][width * 3 + 16]; /* rows may be padded */

static void check(kv_status status) {
  if (status == KV_OK) return;
  fprintf(stderr, "%s\n", kv_last_error());
  exit(1);
}

int main(void) {
  memset(video, 128, sizeof video); /* grey: Y, Cb and Cr 128 */
  memset(bitmap, 77, sizeof bitmap);

  kv_frame from;
  kv_frame_init(&from);
  from.format = KV_FORMAT_UYVY;
  from.width = width;
  from.height = height;
  from.planes[0] = video[0];
  from.strides[0] = sizeof video[0];
  from.matrix = KV_MATRIX_BT601;

  kv_frame to;
  kv_frame_init(&to);
  to.format = KV_FORMAT_BGR24;
  to.width = width;
  to.height = height;
  to.planes[0] = bitmap[height - 1]; /* the top row is the last one in memory */
  to.strides[0] = -(int64_t)sizeof bitmap[0];

  kv_context* context;
  check(kv_context_new(NULL, &context));
  check(kv_convert(context, &from, &to, NULL, NULL));
  kv_context_free(context);

  printf("library %s: blue %d, green %d, red %d\n", kv_version_string(), bitmap[0][0], bitmap[0][1], bitmap[0][2]);
  return bitmap[0][0] == 130 && bitmap[0][width * 3] == 77 ? 0 : 1;
}
