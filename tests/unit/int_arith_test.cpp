// Integer data processing through the decode lookup and the handlers: the
// corner cases where the emulator's rules are easy to get wrong (predicate
// bytes, aliasing, division, shift amounts, immediates, MOVPRFX, markers).
#include <gtest/gtest.h>

#include <cstring>

#include "sve/decode/decode.h"
#include "test_support.h"

namespace {
using namespace test_support;

void run(cpu_state& s, uint32_t w) {
  Handler h = get_sve_handler(w);
  ASSERT_NE(h, nullptr) << std::hex << w;
  ASSERT_EQ(h(&s, w), DECODE_OK) << std::hex << w;
  ASSERT_EQ(s.insn, w);
}
template <class T> T get(const cpu_state& s, int z, int i) {
  T v;
  std::memcpy(&v, &s.z[z][i * sizeof(T)], sizeof(T));
  return v;
}
template <class T> void fill(cpu_state& s, int z, T v) {
  for (size_t i = 0; i < 112 / sizeof(T); ++i) std::memcpy(&s.z[z][i * sizeof(T)], &v, sizeof(T));
}
void all_true(cpu_state& s, int p, int ebytes) {
  std::memset(s.p[p], 0, 112);
  for (int i = 0; i < 112; i += ebytes) s.p[p][i] = 1;
}

TEST(IntPredication, EorWithItselfFollowsThePredicate) {
  cpu_state s = zero_state();
  fill<uint8_t>(s, 0, 0x5A);
  run(s, 0x04190000);  // eor z0.b, p0/m, z0.b, z0.b with p0 all false
  EXPECT_EQ(get<uint8_t>(s, 0, 7), 0x5A);
  all_true(s, 0, 1);
  run(s, 0x04190000);
  for (int i = 0; i < 112; ++i) ASSERT_EQ(s.z[0][i], 0);
}

TEST(IntPredication, OnlyBitZeroOfTheFirstLaneByteGoverns) {
  cpu_state s = zero_state();
  fill<uint64_t>(s, 0, 10);
  fill<uint64_t>(s, 1, 1);
  for (int i = 0; i < 112; i += 8) {
    s.p[0][i] = (i / 8) % 2 ? 0x02 : 0x01;  // odd elements: bit 1 only, inactive
    s.p[0][i + 1] = 1;                      // never consulted
  }
  run(s, 0x04c00020);  // add z0.d, p0/m, z0.d, z1.d
  for (int i = 0; i < 14; ++i) ASSERT_EQ(get<uint64_t>(s, 0, i), i % 2 ? 10u : 11u) << i;
}

TEST(IntDivide, ZeroDivisorAndMostNegativeByMinusOne) {
  cpu_state s = zero_state();
  all_true(s, 0, 4);
  fill<uint32_t>(s, 0, 0x80000000u);
  fill<uint32_t>(s, 1, 0xFFFFFFFFu);
  run(s, 0x04940020);  // sdiv z0.s, p0/m, z0.s, z1.s
  EXPECT_EQ(get<uint32_t>(s, 0, 0), 0x80000000u);
  fill<uint32_t>(s, 1, 0);
  run(s, 0x04940020);
  EXPECT_EQ(get<uint32_t>(s, 0, 3), 0u);
  fill<uint32_t>(s, 0, 0);
  fill<uint32_t>(s, 1, 7);
  run(s, 0x04970020);  // udivr z0.s, p0/m, z0.s, z1.s: 7 / 0
  EXPECT_EQ(get<uint32_t>(s, 0, 27), 0u);
}

TEST(IntShift, AmountsPastTheWidth) {
  cpu_state s = zero_state();
  all_true(s, 0, 1);
  fill<uint8_t>(s, 0, 0xFF);
  fill<uint8_t>(s, 1, 8);
  run(s, 0x04138020);  // lsl z0.b, p0/m, z0.b, z1.b by 8
  EXPECT_EQ(get<uint8_t>(s, 0, 5), 0);
  for (int i = 0; i < 112; ++i) s.z[0][i] = i % 2 ? 0x80 : 0x40;
  fill<uint8_t>(s, 1, 200);
  run(s, 0x04108020);  // asr z0.b, p0/m, z0.b, z1.b by 200
  EXPECT_EQ(get<uint8_t>(s, 0, 0), 0x00);
  EXPECT_EQ(get<uint8_t>(s, 0, 1), 0xFF);
  fill<uint8_t>(s, 0, 0x81);
  run(s, 0x04038100);  // lsl z0.b, p0/m, z0.b, #0
  EXPECT_EQ(get<uint8_t>(s, 0, 9), 0x81);
  run(s, 0x04008100);  // asr z0.b, p0/m, z0.b, #8 (field 0)
  EXPECT_EQ(get<uint8_t>(s, 0, 9), 0xFF);
}

TEST(IntShift, AsrdRoundsTowardZero) {
  cpu_state s = zero_state();
  all_true(s, 0, 1);
  for (int i = 0; i < 112; ++i) s.z[0][i] = uint8_t(i % 2 ? -3 : -1);
  run(s, 0x040481e0);  // asrd z0.b, p0/m, z0.b, #1
  EXPECT_EQ(int8_t(get<uint8_t>(s, 0, 0)), 0);
  EXPECT_EQ(int8_t(get<uint8_t>(s, 0, 1)), -1);
}

TEST(IntShift, WideAmountCoversTheSameBytes) {
  cpu_state s = zero_state();
  fill<uint8_t>(s, 1, 1);
  for (int d = 0; d < 14; ++d) {
    uint64_t n = d;
    std::memcpy(&s.z[2][8 * d], &n, 8);
  }
  run(s, 0x04228c20);  // lsl z0.b, z1.b, z2.d
  for (int i = 0; i < 112; ++i) ASSERT_EQ(s.z[0][i], (i / 8) < 8 ? uint8_t(1u << (i / 8)) : 0) << i;
}

TEST(IntImmediate, ShiftedAddAndTraceMarkers) {
  cpu_state s = zero_state();
  fill<uint16_t>(s, 0, 1);
  run(s, 0x2560e060);  // add z0.h, z0.h, #3, lsl #8
  EXPECT_EQ(get<uint16_t>(s, 0, 55), 1 + 3 * 256);
  fill<uint8_t>(s, 0, 9);
  run(s, 0x2520e020);  // byte add of 256: the trace start marker
  run(s, 0x2520e040);  // 512: the stop marker
  EXPECT_EQ(get<uint8_t>(s, 0, 0), 9);
}

TEST(IntImmediate, BitmaskPatterns) {
  cpu_state s = zero_state();
  run(s, 0x05c20000);  // dupm z0.d, #1 (N=1, immr=0, imms=0)
  EXPECT_EQ(get<uint64_t>(s, 0, 13), 1u);
  run(s, 0x05c00780);  // N=0, immr=0, imms=0b111100
  EXPECT_EQ(get<uint64_t>(s, 0, 0), 0x5555555555555555ull);
}

TEST(IntMovprfx, ZeroingClearsMergingKeeps) {
  cpu_state s = zero_state();
  fill<uint8_t>(s, 0, 7);
  fill<uint8_t>(s, 1, 1);
  run(s, 0x04112020);  // movprfx z0.b, p0/m, z1.b with p0 all false
  EXPECT_EQ(get<uint8_t>(s, 0, 3), 7);
  run(s, 0x04102020);  // movprfx z0.b, p0/z, z1.b
  for (int i = 0; i < 112; ++i) ASSERT_EQ(s.z[0][i], 0);
}

}  // namespace
