/* Two threads with independent vector state, run at the same time. */
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>

void t_thread_vectors(uint64_t seed, volatile int* own, volatile int* other, uint8_t* out);

struct job {
  uint64_t seed;
  volatile int *own, *other;
  uint8_t out[128];
};

static void* run(void* p) {
  struct job* j = p;
  t_thread_vectors(j->seed, j->own, j->other, j->out);
  return NULL;
}

int main(void) {
  static volatile int flags[2];
  static struct job jobs[2] = {{5, &flags[0], &flags[1], {0}}, {41, &flags[1], &flags[0], {0}}};
  pthread_t t[2];
  for (int i = 0; i < 2; ++i) pthread_create(&t[i], NULL, run, &jobs[i]);
  for (int i = 0; i < 2; ++i) pthread_join(t[i], NULL);
  for (int i = 0; i < 2; ++i) {
    printf("thread %d z7:", i);
    for (int k = 0; k < 112; ++k) printf(" %d", jobs[i].out[k]);
    printf("\nthread %d p4:", i);
    for (int k = 112; k < 126; ++k) printf(" %02x", jobs[i].out[k]);
    printf("\n");
  }
  return 0;
}
