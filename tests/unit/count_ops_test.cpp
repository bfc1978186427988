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

// Every WHILE form against the element-by-element rule, at the bounds where
// Rn wraps at its width: the lowest and highest values of W and X, signed and
// unsigned, as Rn and as Rm.
TEST(While, FormsFollowTheElementRule) {
  const uint64_t edges[] = {0, 1, 2, 5, 27, 0x7FFFFFF0, 0x7FFFFFFE, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF0, 0xFFFFFFFF,
                            0x7FFFFFFFFFFFFFF0, 0x7FFFFFFFFFFFFFFF, 0x8000000000000000, 0xFFFFFFFFFFFFFFF0,
                            ~uint64_t(0)};
  for (unsigned size = 0; size < 4; ++size)
    for (unsigned sf = 0; sf < 2; ++sf)
      for (unsigned u = 0; u < 2; ++u)
        for (unsigned eq = 0; eq < 2; ++eq) {
          const int bits = sf ? 64 : 32, sh = 64 - bits, ebytes = 1 << size;
          uint32_t word = 0x25200400u | size << 22 | 2u << 16 | sf << 12 | u << 11 | 1u << 5 | eq << 4;
          auto holds = [&](uint64_t a, uint64_t b) {
            if (u) {
              a = (a << sh) >> sh, b = (b << sh) >> sh;
              return eq ? a <= b : a < b;
            }
            int64_t x = int64_t(a << sh) >> sh, y = int64_t(b << sh) >> sh;
            return eq ? x <= y : x < y;
          };
          for (uint64_t rn : edges)
            for (uint64_t rm : edges) {
              cpu_state s = zero_state();
              s.x[1] = rn, s.x[2] = rm;
              run(s, word);
              bool on = true;
              for (int e = 0; e < SVE_VL_BYTES / ebytes; ++e) {
                on = on && holds(rn + uint64_t(e), rm);
                ASSERT_EQ(s.p[0][e * ebytes], on ? 1 : 0) << std::hex << word << " " << rn << " " << rm << " " << e;
              }
              bool first = s.p[0][0], last = s.p[0][SVE_VL_BYTES - ebytes];
              EXPECT_EQ(flags(s), (first ? 8u : 0u) | (first ? 0u : 4u) | (last ? 0u : 2u)) << std::hex << word;
            }
        }
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
