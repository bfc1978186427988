// Compares (predicate result and flags) and reductions through the handlers,
// and the length-agnostic routines at vector lengths other than 112 bytes.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "sve/decode/decode.h"
#include "test_support.h"
#include "sve/decode/routes.h"

extern "C" void VecU8SubRVVM(uint8_t*, const uint8_t*, const PredV*, const uint8_t*, CpuContext*);
extern "C" void VecS16AbsVM(uint8_t*, const uint8_t*, const PredV*, const uint8_t*, CpuContext*);

namespace {
using namespace test_support;


TEST(IntCompare, EqualVectorsAllTrue) {
  cpu_state s = zero_state();
  std::memset(s.p[1], 1, 112);
  s.nzcv = 0x1F;  // V set and low bits that must survive
  run(s, 0x2401a400);  // cmpeq p0.b, p1/z, z0.b, z1.b
  for (int i = 0; i < 112; ++i) ASSERT_EQ(s.p[0][i], 1);
  EXPECT_EQ(flags(s), N);
  EXPECT_EQ(s.nzcv & 0x0FFFFFFF, 0x1Fu);
}

TEST(IntCompare, NoActiveElementGivesZC) {
  for (uint32_t w : {0x2401a400u, 0x24012400u, 0x25030400u}) {  // vector, wide, agnostic immediate
    cpu_state s = zero_state();
    std::memset(s.p[0], 1, 112);
    s.nzcv = uint64_t(15) << 28;
    run(s, w);
    for (int i = 0; i < 112; ++i) ASSERT_EQ(s.p[0][i], 0);
    EXPECT_EQ(flags(s), Z | C) << std::hex << w;
  }
}

TEST(IntCompare, ImmediateAndWideForms) {
  cpu_state s = zero_state();
  for (int i = 0; i < 112; i += 4) s.p[1][i] = 1;
  for (int i = 0; i < 28; ++i) {
    int32_t v = i % 2 ? -5 : 0;
    std::memcpy(&s.z[0][4 * i], &v, 4);
  }
  run(s, 0x259f0410);  // cmpgt p0.s, p1/z, z0.s, #-1
  for (int i = 0; i < 28; ++i) ASSERT_EQ(s.p[0][4 * i], i % 2 ? 0 : 1) << i;
  EXPECT_EQ(s.p[0][1], 0);
  // cmpeq p0.b, p1/z, z0.b, z1.d: bytes 0-7 against doubleword 0, 8-15 against 1.
  cpu_state t = zero_state();
  std::memset(t.p[1], 1, 112);
  for (int i = 0; i < 112; ++i) t.z[0][i] = uint8_t(i / 8);
  for (int d = 0; d < 14; ++d) {
    uint64_t v = uint64_t(d);
    std::memcpy(&t.z[1][8 * d], &v, 8);
  }
  run(t, 0x24012400);
  for (int i = 0; i < 112; ++i) ASSERT_EQ(t.p[0][i], 1) << i;
}

TEST(IntReduce, SumsAndEmptyPredicates) {
  cpu_state s = zero_state();
  std::memset(s.p[0], 1, 112);
  std::memset(s.z[1], 0xFF, 112);
  std::memset(s.z[0], 0xAA, 112);
  run(s, 0x04012020);  // uaddv d0, p0, z1.b
  uint64_t v;
  std::memcpy(&v, s.z[0], 8);
  EXPECT_EQ(v, 28560u);
  for (int i = 16; i < 112; ++i) ASSERT_EQ(s.z[0][i], 0);
  run(s, 0x04002020);  // saddv d0, p0, z1.b
  std::memcpy(&v, s.z[0], 8);
  EXPECT_EQ(int64_t(v), -112);
  std::memset(s.p[0], 0, 112);
  run(s, 0x04882020);  // smaxv s0, p0, z1.s
  uint32_t w;
  std::memcpy(&w, s.z[0], 4);
  EXPECT_EQ(w, 0x80000000u);
  run(s, 0x044b2020);  // uminv h0, p0, z1.h
  EXPECT_EQ(s.z[0][0] | (s.z[0][1] << 8), 0xFFFF);
  run(s, 0x04da2020);  // andv d0, p0, z1.d
  std::memcpy(&v, s.z[0], 8);
  EXPECT_EQ(v, ~uint64_t(0));
}

// The routines serve any length up to 2048 bits: at every length, active
// elements take the operation and inactive ones the destination's old value.
TEST(IntAgnostic, RoutinesFollowTheContextLength) {
  std::mt19937 g(3);
  for (int units : {2, 4, 14, 15, 32}) {
    int vl = units * 8;
    VecImage a, b, d;
    PredV p{};
    for (int i = 0; i < 256; ++i) a.b[i] = uint8_t(g()), b.b[i] = uint8_t(g());
    for (int i = 0; i < vl; ++i) p.set(i, g() & 1);
    std::memset(d.b, 0xEE, 256);
    CpuContext c{};
    c.vl = uint32_t(units);
    VecU8SubRVVM(d.b, a.b, &p, b.b, &c);
    for (int i = 0; i < vl; ++i) ASSERT_EQ(d.b[i], p.bit(i) ? uint8_t(b.b[i] - a.b[i]) : a.b[i]) << units << " " << i;
    for (int i = vl; i < 256; ++i) ASSERT_EQ(d.b[i], 0xEE);
    VecS16AbsVM(d.b, a.b, &p, b.b, &c);
    for (int i = 0; i < vl / 2; ++i) {
      int16_t x, old, got;
      std::memcpy(&x, &b.b[2 * i], 2);
      std::memcpy(&old, &a.b[2 * i], 2);
      std::memcpy(&got, &d.b[2 * i], 2);
      ASSERT_EQ(got, p.bit(2 * i) ? int16_t(x < 0 ? -x : x) : old);
    }
  }
}

}  // namespace
