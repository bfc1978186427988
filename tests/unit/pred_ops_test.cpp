// Predicate operations through their handlers: UZP against the architecture's
// definition (the reference CPU is wrong for it at this length), agreement of
// the fixed and length-agnostic routes, and the flag bits they may touch.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "sve/decode/decode.h"
#include "test_support.h"
#include "sve/int/pred_drivers.h"

// Length-agnostic routines, called directly at other vector lengths.
extern "C" void VecP8TrueFlgI(PredV*, int, CpuContext*);
extern "C" void VecP16TrueFlgI(PredV*, int, CpuContext*);
extern "C" void VecPBreakAFlgPZ(PredV*, const PredV*, const PredV*, const PredV*, CpuContext*);

namespace {
using namespace test_support;

const DecodeEntry& entry_of(const std::string& name) {
  for (const DecodeEntry& e : kDecodeEntries)
    if (entry_name(e) == name) return e;
  ADD_FAILURE() << "no entry " << name;
  return kDecodeEntries[0];
}
uint32_t word_of(const std::string& name) { return entry_of(name).word; }
// Pd = bits 3-0, Pn = bits 8-5, Pg = bits 13-10, Pm = bits 19-16.
// Fields that the encoding does not have stay clear.
uint32_t pword(const std::string& name, unsigned d, unsigned n, unsigned g, unsigned m) {
  const DecodeEntry& e = entry_of(name);
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

TEST(PredicateRoutes, PtrueAndPtruesWriteTheSamePredicate) {
  std::mt19937_64 rng(6);
  for (int es = 0; es < 4; ++es)
    for (unsigned pattern = 0; pattern < 32; ++pattern) {
      cpu_state a = random_state(rng), b = a;
      uint32_t field = pattern << 5 | 7;
      run(a, word_of(std::string("Vec") + kSizes[es] + "TrueI") | field);
      run(b, word_of(std::string("Vec") + kSizes[es] + "TrueFlgI") | field);
      ASSERT_EQ(std::memcmp(a.p[7], b.p[7], SVE_VL_BYTES), 0) << es << " " << pattern;
      bool any = sve::first_true(a.p[7], 1 << es) >= 0;
      EXPECT_EQ(b.nzcv >> 28, any ? 8u : 6u) << es << " " << pattern;  // N, or Z and C
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
      const DecodeEntry& e = entry_of(name);
      run(s, e.word | (uint32_t(rng()) & e.operand_mask));
      ASSERT_EQ(s.nzcv & ~uint64_t(0xF0000000u), low) << name;
    }
}

TEST(PredicateEdges, PnextBrkAndPfirst) {
  cpu_state s;
  std::memset(&s, 0, sizeof s);
  for (int k = 0; k < SVE_VL_BYTES; k += 4) s.p[1][k] = k >= 40;  // Pv: words from element 10
  run(s, pword("VecP32GenNextP", 2, 1, 0, 0));                    // Pdn all false: first of Pv
  EXPECT_EQ(sve::first_true(s.p[2], 4), 10);
  EXPECT_EQ(sve::count_true(s.p[2], 1), 1);
  std::memset(s.p[3], 1, SVE_VL_BYTES);
  std::memset(s.p[4], 0, SVE_VL_BYTES);
  run(s, pword("VecPBreakAPZ", 5, 4, 3, 0));  // Pn false everywhere: all true
  EXPECT_EQ(sve::count_true(s.p[5], 1), SVE_VL_BYTES);
  s.p[4][0] = 1;
  run(s, pword("VecPBreakBPZ", 5, 4, 3, 0));  // Pn[0] true: all false
  EXPECT_EQ(sve::count_true(s.p[5], 1), 0);
  std::memset(s.p[6], 1, SVE_VL_BYTES);
  std::memset(s.p[7], 0, SVE_VL_BYTES);
  run(s, pword("VecPBreakNextPZ", 6, 4, 7, 0));  // Pg all false clears Pdm
  EXPECT_EQ(sve::count_true(s.p[6], 1), 0);
}

}  // namespace
