/* Mixes two 8-bit audio tracks with saturation and computes a dot-product
 * correlation of the result, with SVE intrinsics: the kind of loop that
 * vectorises to SQADD, SDOT, WHILELT and predicated loads and stores. */
#include <arm_sve.h>
#include <stdint.h>
#include <stdio.h>

#define N 1000

static void mix(int8_t* out, const int8_t* a, const int8_t* b, int n) {
  for (int i = 0; i < n; i += (int)svcntb()) {
    svbool_t pg = svwhilelt_b8_s32(i, n);
    svint8_t va = svld1_s8(pg, a + i), vb = svld1_s8(pg, b + i);
    svst1_s8(pg, out + i, svqadd_s8(va, vb));
  }
}

static int64_t correlate(const int8_t* x, const int8_t* y, int n) {
  svint32_t acc = svdup_s32(0);
  for (int i = 0; i < n; i += (int)svcntb()) {
    svbool_t pg = svwhilelt_b8_s32(i, n);
    svint8_t vx = svld1_s8(pg, x + i), vy = svld1_s8(pg, y + i);
    acc = svdot_s32(acc, vx, vy);
  }
  return svaddv_s32(svptrue_b32(), acc);
}

int main(void) {
  static int8_t a[N], b[N], out[N];
  for (int i = 0; i < N; ++i) {
    a[i] = (int8_t)((i * 37) % 251 - 125);
    b[i] = (int8_t)((i * 91) % 241 - 120);
  }
  mix(out, a, b, N);
  long clipped = 0;
  for (int i = 0; i < N; ++i) clipped += out[i] == 127 || out[i] == -128;
  printf("vector length: %d bytes\n", (int)svcntb());
  printf("mixed %d samples, %ld clipped\n", N, clipped);
  printf("correlation: %lld\n", (long long)correlate(out, a, N));
  return 0;
}
