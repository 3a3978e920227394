/* Where do two spots go in ten frames? */
#include <kv/kv.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

static void check(kv_status status) {
  if (status == KV_OK) return;
  fprintf(stderr, "%s\n", kv_last_error());
  exit(1);
}

static double spot(double x, double y) {
  return 90 * exp(-(x * x + y * y) / 60);
}

/* Luma of a UYVY frame: two soft spots, one moving to the right and up, one down. */
static void draw(const kv_frame* frame, int number) {
  for (int y = 0; y < frame->height; ++y) {
    uint8_t* row = frame->planes[0] + y * frame->strides[0];
    for (int x = 0; x < frame->width; ++x) {
      row[2 * x] = 128;
      row[2 * x + 1] = (uint8_t)(40 + spot(x - 60 - 1.3 * number, y - 80 + 0.65 * number) +
                                 spot(x - 120, y - 40 - 2.5 * number));
    }
  }
}

int main(void) {
  kv_context* context;
  check(kv_context_new(NULL, &context));
  kv_frame frame;
  kv_frame_init(&frame);
  frame.format = KV_FORMAT_UYVY;
  frame.width = 180;
  frame.height = 120;
  check(kv_frame_alloc(&frame));

  const double points[] = {60, 80, 120, 40}; /* x, y of each in the first frame */
  kv_track* track;
  check(kv_track_new(points, 2, NULL, &track)); /* 33 x 33 pixels, searched 16 to every side, then to 1/8 */
  kv_match spots[2];
  kv_match_init(&spots[0]);
  kv_match_init(&spots[1]);
  for (int number = 0; number <= 10; ++number) {
    draw(&frame, number);
    check(kv_track_next(context, track, &frame, spots, 2, NULL));
    printf("%2d: %.3f, %.3f  %.3f, %.3f\n", number, spots[0].x, spots[0].y, spots[1].x, spots[1].y);
  }
  kv_track_free(track);
  kv_frame_free(&frame);
  kv_context_free(context);
  return fabs(spots[0].x - 73) < 0.2 && fabs(spots[0].y - 73.5) < 0.2 && fabs(spots[1].y - 65) < 0.2 ? 0 : 1;
}
