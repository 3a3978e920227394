/* The calls run on threads that this program makes itself. */
#include <kv/kv.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

enum { most = 4 };

struct job {
  kv_task task;
  void* data;
  int32_t index;
};

static void* work(void* argument) {
  const struct job* job = argument;
  job->task(job->data, job->index);
  return NULL;
}

/* One task for each thread; a real program would hand them to threads that it has already. */
static int32_t run(void* user, int32_t count, kv_task task, void* data) {
  pthread_t threads[most];
  struct job jobs[most];
  int32_t made = 0;
  ++*(int*)user;
  while (made < count - 1 && made < most) {
    jobs[made] = (struct job){task, data, made};
    if (pthread_create(&threads[made], NULL, work, &jobs[made]) != 0) break;
    ++made;
  }
  for (int32_t i = made; i < count; ++i) task(data, i); /* the rest on the caller's thread */
  for (int32_t i = 0; i < made; ++i) pthread_join(threads[i], NULL);
  return 0;
}

int main(void) {
  kv_frame from, to;
  kv_frame_init(&from);
  from.format = KV_FORMAT_GRAY8;
  from.width = 1920;
  from.height = 1080;
  to = from;
  int runs = 0;
  kv_context_options options;
  kv_context_options_init(&options);
  options.threads = most;
  options.run = run;
  options.run_user = &runs;
  kv_context* context = NULL;
  const int isDone = kv_frame_alloc(&from) == KV_OK && kv_frame_alloc(&to) == KV_OK &&
                     kv_context_new(&options, &context) == KV_OK &&
                     kv_box_filter(context, &from, &to, NULL, 15, NULL) == KV_OK;
  printf("%s, %d run%s\n", isDone ? "done" : kv_last_error(), runs, runs == 1 ? "" : "s");
  kv_context_free(context);
  kv_frame_free(&from);
  kv_frame_free(&to);
  return isDone && runs == 1 ? 0 : 1;
}
