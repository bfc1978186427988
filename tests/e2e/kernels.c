/* Integer kernels written with SVE intrinsics, the way ported HPC code
 * looks: strided loops under WHILELT, widening loads, reductions, permutes,
 * compares that drive BRK/CNTP, saturating and dot-product arithmetic. */
#include <arm_sve.h>
#include <stdint.h>
#include <stdio.h>

#define N 777

static int64_t sum_widened(const int16_t* x, int n) {
  svint64_t acc = svdup_s64(0);
  for (int i = 0; i < n; i += (int)svcntd()) {
    svbool_t pg = svwhilelt_b64_s32(i, n);
    acc = svadd_s64_m(pg, acc, svld1sh_s64(pg, x + i));
  }
  return svaddv_s64(svptrue_b64(), acc);
}

/* Length of a zero-terminated byte string, vector by vector. */
static size_t vec_strlen(const char* s) {
  size_t len = 0;
  for (;;) {
    svbool_t pg = svptrue_b8();
    svuint8_t v = svld1_u8(pg, (const uint8_t*)s + len);
    svbool_t zero = svcmpeq_n_u8(pg, v, 0);
    if (svptest_any(pg, zero)) return len + svcntp_b8(pg, svbrkb_z(pg, zero));
    len += svcntb();
  }
}

static void clamp_scale(int32_t* out, const int32_t* in, int n, int32_t lo, int32_t hi) {
  for (int i = 0; i < n; i += (int)svcntw()) {
    svbool_t pg = svwhilelt_b32_s32(i, n);
    svint32_t v = svld1_s32(pg, in + i);
    v = svmul_n_s32_x(pg, v, 3);
    v = svmax_n_s32_x(pg, svmin_n_s32_x(pg, v, hi), lo);
    v = svasr_n_s32_x(pg, v, 1);
    svst1_s32(pg, out + i, v);
  }
}

static uint32_t checksum(const uint8_t* x, int n) {
  svuint32_t acc = svdup_u32(0);
  for (int i = 0; i < n; i += (int)svcntb()) {
    svbool_t pg = svwhilelt_b8_s32(i, n);
    svuint8_t v = svld1_u8(pg, x + i);
    acc = svdot_n_u32(acc, svrev_u8(v), 7);
  }
  return (uint32_t)svaddv_u32(svptrue_b32(), acc);
}

static int count_matches(const uint16_t* a, const uint16_t* b, int n) {
  int total = 0;
  for (int i = 0; i < n; i += (int)svcnth()) {
    svbool_t pg = svwhilelt_b16_s32(i, n);
    svuint16_t va = svld1_u16(pg, a + i), vb = svld1_u16(pg, b + i);
    svuint16_t z = svzip1_u16(va, vb);
    total += (int)svcntp_b16(pg, svcmpgt_u16(pg, z, svdup_u16(30000)));
  }
  return total;
}

int main(void) {
  static int16_t h[N];
  static int32_t in[N], out[N];
  static uint8_t bytes[N];
  static uint16_t a[N], b[N];
  static char text[300];
  for (int i = 0; i < N; ++i) {
    h[i] = (int16_t)(i * 97 - 30000);
    in[i] = i * 1237 - 400000;
    bytes[i] = (uint8_t)(i * 13 + 7);
    a[i] = (uint16_t)(i * 331);
    b[i] = (uint16_t)(i * 577 + 11);
  }
  for (int i = 0; i < 257; ++i) text[i] = (char)('a' + i % 26);
  printf("sum of widened halves: %lld\n", (long long)sum_widened(h, N));
  printf("strlen: %zu\n", vec_strlen(text));
  clamp_scale(out, in, N, -500000, 700000);
  long long s = 0;
  for (int i = 0; i < N; ++i) s += out[i] * (long long)(i % 7 + 1);
  printf("clamp/scale weighted sum: %lld\n", s);
  printf("reversed-byte dot checksum: %u\n", checksum(bytes, N));
  printf("zip/compare matches: %d\n", count_matches(a, b, N));
  return 0;
}
