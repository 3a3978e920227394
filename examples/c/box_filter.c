/* A grey frame, smoothed by a window of 9 x 9 inside a circle, on as many threads as there are processors. */
#include <kv/kv.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

static void check(kv_status status) {
  if (status == KV_OK) return;
  fprintf(stderr, "%s\n", kv_last_error());
  exit(1);
}

int main(void) {
  enum { size = 512, corners = 90 };
  kv_frame from, to;
  kv_frame_init(&from);
  from.format = KV_FORMAT_GRAY8;
  from.width = from.height = size;
  to = from;
  check(kv_frame_alloc(&from)); /* for those who have no memory of their own */
  check(kv_frame_alloc(&to));
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) from.planes[0][y * from.strides[0] + x] = (x / 8 + y / 8) % 2 ? 255 : 0;
  }

  double circle[2 * corners];
  for (int i = 0; i < corners; ++i) {
    circle[2 * i] = 256 + 200 * cos(i * 6.283185307 / corners);
    circle[2 * i + 1] = 256 + 200 * sin(i * 6.283185307 / corners);
  }
  kv_region* region;
  check(kv_region_polygon(circle, corners, &region));

  kv_context_options options;
  kv_context_options_init(&options);
  options.threads = 0;
  kv_context* context;
  check(kv_context_new(&options, &context));
  check(kv_box_filter(context, &from, &to, region, 9, NULL));

  const int inside = to.planes[0][256 * to.strides[0] + 256];
  printf("inside %d, outside %d\n", inside, to.planes[0][0]);
  kv_region_free(region);
  kv_context_free(context);
  kv_frame_free(&from);
  kv_frame_free(&to);
  return inside > 90 && inside < 165 ? 0 : 1;
}
