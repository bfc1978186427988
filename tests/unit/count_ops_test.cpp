// Element counts, increments, WHILE, RDVL/ADDVL/ADDPL and CTERM at their
// edges, through the handlers (the harness covers random operands).
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "sve/decode/decode.h"
#include "test_support.h"

namespace {
using namespace test_support;


TEST(CountByPattern, PatternsAtThisLength) {
  cpu_state s = zero_state();
  run(s, 0x04f0e120);  // incd x0, vl16: 16 exceeds the 14 doublewords
  EXPECT_EQ(s.x[0], 0u);
  run(s, 0x04f0e3c0);  // incd x0, mul3
  EXPECT_EQ(s.x[0], 12u);
  s.x[0] = 0;
  run(s, 0x04ffe3e0);  // incd x0, all, mul #16
  EXPECT_EQ(s.x[0], 224u);
  run(s, 0x0420e001);  // cntb x1, pow2
  EXPECT_EQ(s.x[1], 64u);
  run(s, 0x0460e3c1);  // cnth x1, mul3
  EXPECT_EQ(s.x[1], 54u);
  s.x[0] = 100;
  run(s, 0x0430ffe0);  // uqdecb x0
  EXPECT_EQ(s.x[0], 0u);
}

TEST(CountByPattern, SaturatingWordFormsExtendTheirResult) {
  cpu_state s = zero_state();
  s.x[0] = 0xFFFFFFFF80000005ull;  // w0 = INT_MIN + 5
  run(s, 0x04a0fbe0);              // sqdecw x0, w0: saturates at INT_MIN, sign-extended
  EXPECT_EQ(s.x[0], 0xFFFFFFFF80000000ull);
  s.x[0] = 0x12345678FFFFFFF0ull;  // w0 = 0xFFFFFFF0
  run(s, 0x04a0f7e0);              // uqincw w0: saturates at 0xFFFFFFFF, zero-extended
  EXPECT_EQ(s.x[0], 0xFFFFFFFFull);
}

TEST(While, CountsAndFlags) {
  cpu_state s = zero_state();
  s.x[1] = 0;
  s.x[2] = 5;
  run(s, 0x25a21420);  // whilelt p0.s, x1, x2
  for (int k = 0; k < SVE_VL_BYTES; ++k) ASSERT_EQ(s.p[0][k], (k % 4 == 0 && k < 20) ? 1 : 0) << k;
  EXPECT_EQ(flags(s), 8u | 2u);  // N, C
  s.x[2] = 0;
  run(s, 0x25221c20);  // whilelo p0.b, x1, x2 with Rn = Rm
  for (int k = 0; k < SVE_VL_BYTES; ++k) ASSERT_EQ(s.p[0][k], 0) << k;
  EXPECT_EQ(flags(s), 4u | 2u);  // Z, C
  s.x[1] = 0x7FFFFFF0;
  s.x[2] = 0x7FFFFFFF;
  run(s, 0x25a20430);  // whilele p0.s, w1, w2: Rn steps past INT_MAX and wraps, still <= Rm
  for (int k = 0; k < SVE_VL_BYTES; k += 4) ASSERT_EQ(s.p[0][k], 1) << k;
  EXPECT_EQ(flags(s), 8u);  // N only: the last element is true
}

TEST(VectorLength, RdvlAddvlAddpl) {
  cpu_state s = zero_state();
  run(s, 0x04bf57e0);  // rdvl x0, #-1
  EXPECT_EQ(int64_t(s.x[0]), -112);
  s.sp = 0x1000;
  run(s, 0x047f503f);  // addpl sp, sp, #1
  EXPECT_EQ(s.sp, 0x100Eu);
  run(s, 0x043f505f);  // addvl sp, sp, #2
  EXPECT_EQ(s.sp, 0x100Eu + 224);
}

TEST(Cterm, SetsNAndVAndKeepsZAndC) {
  cpu_state s = zero_state();
  s.x[1] = s.x[2] = 7;
  s.nzcv = 0x50000000u;  // Z and V
  run(s, 0x25e22020);    // ctermeq x1, x2
  EXPECT_EQ(flags(s), 8u | 4u);  // N set, V cleared, Z kept
  s.nzcv = 0;
  run(s, 0x25e22030);  // ctermne x1, x2: not terminated and C clear, so V
  EXPECT_EQ(flags(s), 1u);
}

}  // namespace
