// What the differential harness cannot see: predicate UZP (the reference CPU
// is wrong for it at this length), the length-agnostic routines at other
// vector lengths and against their fixed-length twins, WHILE at the points
// where its operand wraps, and the nzcv bits that flag setting must keep.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "sve/decode/decode.h"
#include "test_support.h"
#include "sve/decode/routes.h"
#include "sve/int/pred_drivers.h"

// Length-agnostic routines, called directly at other vector lengths.
extern "C" void VecP8TrueFlgI(PredV*, int, CpuContext*);
extern "C" void VecP16TrueFlgI(PredV*, int, CpuContext*);
extern "C" void VecPBreakAFlgPZ(PredV*, const PredV*, const PredV*, const PredV*, CpuContext*);
extern "C" void VecU8SubRVVM(uint8_t*, const uint8_t*, const PredV*, const uint8_t*, CpuContext*);
extern "C" void VecS16AbsVM(uint8_t*, const uint8_t*, const PredV*, const uint8_t*, CpuContext*);
extern "C" void VecS16UnpackLoV(uint8_t*, const uint8_t*, const PredV*, uint64_t, CpuContext*);
extern "C" void VecS16UnpackHiV(uint8_t*, const uint8_t*, const PredV*, uint64_t, CpuContext*);

namespace {
using namespace test_support;

// Pd = bits 3-0, Pn = bits 8-5, Pg = bits 13-10, Pm = bits 19-16.
// Fields that the encoding does not have stay clear.
uint32_t pword(const std::string& name, unsigned d, unsigned n, unsigned g, unsigned m) {
  const DecodeEntry& e = entry_named(name);
  return e.word | ((d | n << 5 | g << 10 | m << 16) & e.operand_mask);
}
cpu_state random_state(std::mt19937_64& rng) {
  cpu_state s;
  std::memset(&s, 0, sizeof s);
  for (auto& p : s.p) {
    int density = int(rng() % 4);  // all false, sparse, half, all true
    for (auto& l : p) l = density == 3 ? 1 : density == 0 ? 0 : (rng() % (density == 1 ? 8 : 2)) == 0;
  }
  for (auto& l : s.ffr) l = rng() & 1;
  s.nzcv = rng() & 0xFFFFFFFFu;
  return s;
}

const char* kSizes[] = {"P8", "P16", "P32", "P64"};

TEST(PredicateUzp, EvenAndOddElementsOfTheConcatenation) {
  std::mt19937_64 rng(11);
  for (int es = 0; es < 4; ++es) {
    int E = 1 << es, n = SVE_VL_BYTES / E;
    for (int odd = 0; odd < 2; ++odd) {
      std::string name = std::string("Vec") + kSizes[es] + (odd ? "Uzp2PP" : "Uzp1PP");
      for (int round = 0; round < 50; ++round) {
        cpu_state s = random_state(rng);
        cpu_state before = s;
        unsigned d = round % 3 == 0 ? 1 : 4;  // sometimes Pd = Pn
        run(s, pword(name, d, 1, 0, 2));
        for (int i = 0; i < n; ++i) {
          int j = 2 * i + odd;
          const uint8_t* src = j < n ? before.p[1] + j * E : before.p[2] + (j - n) * E;
          for (int k = 0; k < E; ++k) ASSERT_EQ(s.p[d][i * E + k], src[k] & 1) << name << " element " << i;
        }
      }
    }
  }
}

// Pairs of handlers that compute the same predicate, one per route.
struct RoutePair {
  const char* fixed;
  const char* agnostic;
};
const RoutePair kPairs[] = {
    {"VecPAndPPZ", "VecPAndFlgPPZ"},   {"VecPBicPPZ", "VecPBicFlgPPZ"}, {"VecPXorPPZ", "VecPXorFlgPPZ"},
    {"VecPOrPPZ", "VecPOrFlgPPZ"},     {"VecPNorPPZ", "VecPNorFlgPPZ"}, {"VecPBreakAPZ", "VecPBreakAFlgPZ"},
    {"VecPBreakBPZ", "VecPBreakBFlgPZ"}, {"VecPBreakPrevBPZ", "VecPBreakPrevBFlgPZ"},
};

TEST(PredicateRoutes, FixedAndAgnosticFormsAgreeAndFlagsArePtestOfTheResult) {
  std::mt19937_64 rng(5);
  for (const RoutePair& p : kPairs)
    for (int round = 0; round < 200; ++round) {
      cpu_state a = random_state(rng);
      cpu_state b = a;
      unsigned d = 3, n = 4, g = round % 5 == 0 ? 3 : 5, m = 6;  // sometimes Pd = Pg
      uint8_t gov[SVE_VL_BYTES];
      std::memcpy(gov, a.p[g], SVE_VL_BYTES);
      run(a, pword(p.fixed, d, n, g, m));
      run(b, pword(p.agnostic, d, n, g, m));
      ASSERT_EQ(std::memcmp(a.p, b.p, sizeof a.p), 0) << p.fixed;
      sve::ptest_esize(&a, 0, gov, a.p[d]);
      ASSERT_EQ(a.nzcv >> 28, b.nzcv >> 28) << p.agnostic;
    }
}

TEST(PredicateRoutes, AgnosticRoutinesFollowTheContextLength) {
  CpuContext c{};
  c.vl = 32;  // 2048-bit vectors
  PredV d;
  VecP16TrueFlgI(&d, 31, &c);  // ALL: 128 halfwords
  for (int k = 0; k < 256; ++k) ASSERT_EQ(d.bit(k), k % 2 == 0) << k;
  VecP8TrueFlgI(&d, 0, &c);  // POW2 of 256 bytes
  for (int k = 0; k < 256; ++k) ASSERT_EQ(d.bit(k), true);
  PredV g{}, n{}, m{};
  for (int k = 0; k < 256; ++k) g.set(k, true);
  n.set(200, true);
  VecPBreakAFlgPZ(&d, &g, &n, &m, &c);  // true up to and including byte 200
  for (int k = 0; k < 256; ++k) ASSERT_EQ(d.bit(k), k <= 200) << k;
  EXPECT_EQ(c.flags >> 28, 8u | 2u);  // N; last element false so C set
}

// Every flag-setting handler rewrites bits 31-28 of nzcv and keeps the rest.
TEST(PredicateFlags, OnlyBits31To28Change) {
  const char* names[] = {"VecPTestPZ",        "VecPAndFlgPPZ",     "VecPNandFlgPPZ",     "VecPOrNFlgPPZ",
                         "VecPSetFirstActiveP", "VecP32GenNextP",  "VecPBreakAFlgPZ",    "VecPBreakNextFlgPZ",
                         "VecPBreakPrevAFlgPZ", "VecPBreakPrevBFlgPZ", "VecP16TrueFlgI", "VecS32While4LTSS",
                         "VecU8While8LTSS",   "VecS16While8LESS",  "VecU64While4LESS",   "VecU32CTermEQ",
                         "VecU64CTermNE"};
  std::mt19937_64 rng(8);
  for (const char* name : names)
    for (int round = 0; round < 20; ++round) {
      cpu_state s = random_state(rng);
      uint64_t low = s.nzcv & ~uint64_t(0xF0000000u);
      const DecodeEntry& e = entry_named(name);
      run(s, e.word | (uint32_t(rng()) & e.operand_mask));
      ASSERT_EQ(s.nzcv & ~uint64_t(0xF0000000u), low) << name;
    }
}

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

// SUNPKLO/HI at lengths whose half ends in a piece of eight bytes or not,
// into another vector and in place; nothing past the length is written.
TEST(IntAgnostic, UnpackFollowsTheContextLengthAndMayWorkInPlace) {
  std::mt19937 g(4);
  for (int units : {2, 4, 6, 14, 32})  // vector lengths are multiples of 16 bytes
    for (bool hi : {false, true})
      for (bool in_place : {false, true}) {
        const int vl = units * 8;
        VecImage a, d;
        for (auto& x : a.b) x = uint8_t(g());
        const VecImage src = a;
        std::memset(d.b, 0xEE, 256);
        uint8_t* out = in_place ? a.b : d.b;
        CpuContext c{};
        c.vl = uint32_t(units);
        (hi ? VecS16UnpackHiV : VecS16UnpackLoV)(out, a.b, nullptr, 0, &c);
        for (int i = 0; i < vl / 2; ++i) {
          int16_t got;
          std::memcpy(&got, out + 2 * i, 2);
          ASSERT_EQ(got, int16_t(int8_t(src.b[(hi ? vl / 2 : 0) + i]))) << units << hi << in_place << " " << i;
        }
        for (int i = vl; i < 256; ++i) ASSERT_EQ(out[i], in_place ? src.b[i] : 0xEE);
      }
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

}  // namespace
