/* Memory trace through the start/stop markers: one fully active load, one
 * predicated store of three single-element runs, a store outside the traced
 * region, and a
 * second thread tracing on its own. The program writes the records; the
 * test reads them back with the trace reader. */
#include <arm_sve.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>

#define TRACE_START() __asm__ volatile(".inst 0x2520e020" ::: "memory") /* add z0.b, z0.b, #1, lsl #8 */
#define TRACE_STOP() __asm__ volatile(".inst 0x2520e040" ::: "memory")  /* add z0.b, z0.b, #2, lsl #8 */

static uint32_t data[64];

static void* traced_work(void* arg) {
  (void)arg;
  TRACE_START();
  svuint32_t v = svld1_u32(svptrue_b32(), data);
  svbool_t all = svptrue_b32();
  svbool_t even = svand_b_z(all, svtrn1_b32(all, svpfalse_b()), svwhilelt_b32_s32(0, 6));
  svst1_u32(even, data + 32, svadd_n_u32_x(all, v, 1));  /* elements 0, 2, 4 */
  TRACE_STOP();
  svst1_u32(svptrue_b32(), data, v);  /* outside the region: not traced */
  return NULL;
}

int main(void) {
  for (int i = 0; i < 64; ++i) data[i] = (uint32_t)i;
  traced_work(NULL);
  pthread_t t;
  pthread_create(&t, NULL, traced_work, NULL);
  pthread_join(t, NULL);
  printf("data[32] = %u\n", data[32]);
  return 0;
}
