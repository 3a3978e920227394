/* Where has the bright spot of one frame gone in the next? */
#include <kv/kv.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

static void check(kv_status status) {
  if (status == KV_OK) return;
  fprintf(stderr, "%s\n", kv_last_error());
  exit(1);
}

/* A YUY2 frame of 320 x 240 with a soft spot at (x, y). */
static kv_frame spot(double x, double y) {
  kv_frame frame;
  kv_frame_init(&frame);
  frame.format = KV_FORMAT_YUY2;
  frame.width = 320;
  frame.height = 240;
  check(kv_frame_alloc(&frame));
  for (int row = 0; row < frame.height; ++row) {
    for (int column = 0; column < frame.width; ++column) {
      const double distance = (column - x) * (column - x) + (row - y) * (row - y);
      uint8_t* pixel = frame.planes[0] + row * frame.strides[0] + 2 * column;
      pixel[0] = (uint8_t)(40 + 180 * exp(-distance / 40)); /* luma */
      pixel[1] = 128;                                       /* Cb or Cr */
    }
  }
  return frame;
}

int main(void) {
  kv_frame first = spot(100, 80), second = spot(112.5, 75.25);
  kv_context* context;
  check(kv_context_new(NULL, &context));

  kv_find_options options;
  kv_find_options_init(&options);
  options.x = options.around_x = 100;
  options.y = options.around_y = 80;
  options.levels = 3; /* steps of 1/2, 1/4, 1/8 */
  kv_match match;
  kv_match_init(&match);
  check(kv_find_subpixel(context, &first, &second, &options, &match, NULL));
  printf("found at %.3f, %.3f, score %.2f\n", match.x, match.y, match.score);

  kv_context_free(context);
  kv_frame_free(&first);
  kv_frame_free(&second);
  return match.is_found && fabs(match.x - 112.5) < 0.2 && fabs(match.y - 75.25) < 0.2 ? 0 : 1;
}
