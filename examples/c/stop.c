/* A search that would take minutes is given up after 100 ms, from the caller's own thread. */
#include <kv/kv.h>
#include <stdio.h>
#include <time.h>

static int32_t is_late(void* user) {
  const clock_t* begin = user;
  return clock() - *begin > CLOCKS_PER_SEC / 10;
}

static double milliseconds_since(clock_t begin) {
  return 1000.0 * (double)(clock() - begin) / CLOCKS_PER_SEC;
}

int main(void) {
  kv_frame frame;
  kv_frame_init(&frame);
  frame.format = KV_FORMAT_UYVY;
  frame.width = 2000;
  frame.height = 2000;
  kv_context* context = NULL;
  if (kv_frame_alloc(&frame) != KV_OK || kv_context_new(NULL, &context) != KV_OK) {
    fprintf(stderr, "%s\n", kv_last_error());
    return 1;
  }

  kv_find_options options;
  kv_find_options_init(&options);
  options.x = options.y = options.around_x = options.around_y = 1000;
  options.half_width = options.half_height = 400;
  options.range_x = options.range_y = 2000;
  kv_match match;
  kv_match_init(&match);

  clock_t begin = clock();
  kv_call call;
  kv_call_init(&call);
  call.poll = is_late; /* kv_stop(context) does the same from another thread or a signal handler */
  call.poll_user = &begin;
  const kv_status status = kv_find(context, &frame, &frame, &options, &match, &call);
  printf("status %d after %.0f ms: %s\n", (int)status, milliseconds_since(begin), kv_last_error());

  kv_context_free(context);
  kv_frame_free(&frame);
  return status == KV_STOPPED ? 0 : 1;
}
