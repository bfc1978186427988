// The integer helper library: edge behaviour and properties against plain
// 128-bit arithmetic.
#include <gtest/gtest.h>

#include <random>

#include "sve/int/helpers.h"
#include "tests/common/edges.h"

namespace {
using namespace sve;

const int kWidths[] = {8, 16, 32, 64};

int128 clamp(int128 v, int N, bool u) {
  int128 lo = u ? 0 : -(int128(1) << (N - 1));
  int128 hi = u ? (int128(1) << N) - 1 : (int128(1) << (N - 1)) - 1;
  return v < lo ? lo : v > hi ? hi : v;
}

using refcommon::edge_int;

// The clamps of SatAdd and SatSub are covered by the property below.
TEST(IntHelpers, SaturatingEdgeCases) {
  EXPECT_EQ(SatAdd(0xFF, 0, 8, false), ~uint64_t(0));  // -1 + 0 comes back sign-extended
  EXPECT_EQ(SatQ(int128(300), 8, true), std::make_pair(uint64_t(0xFF), true));
  EXPECT_EQ(SatQ(int128(-1), 8, true), std::make_pair(uint64_t(0), true));
  EXPECT_EQ(SatQ(int128(-129), 8, false), std::make_pair(uint64_t(0x80), true));
  EXPECT_EQ(SatQ(int128(-128), 8, false), std::make_pair(uint64_t(0x80), false));
  EXPECT_EQ(SatMult(0x80, 0x80, 8, false), 0x4000u);  // the wrapped product, not a clamp
}

TEST(IntHelpers, SaturatingMatchesClampedArithmetic) {
  std::mt19937_64 rng(42);
  for (int N : kWidths)
    for (bool u : {false, true})
      for (int k = 0; k < 20000; ++k) {
        uint64_t a = edge_int(rng, N), b = edge_int(rng, N);
        int128 wa = u ? UInt(a, N) : SInt(a, N), wb = u ? UInt(b, N) : SInt(b, N);
        ASSERT_EQ(SatAdd(a, b, N, u) & ones(N), bits(clamp(wa + wb, N, u)) & ones(N)) << N << u << a << " " << b;
        ASSERT_EQ(SatSub(a, b, N, u), bits(clamp(wa - wb, N, u)) & ones(N)) << N << u << a << " " << b;
      }
}

TEST(IntHelpers, BitCounting) {
  EXPECT_EQ(HighestBitSet(0, 64), -1);
  EXPECT_EQ(HighestBitSet(1, 0), -1);
  EXPECT_EQ(CountLeadingZeroBits(0, 64), 64);
  EXPECT_EQ(CountLeadingSignBits(0xFF, 8), 7);
  EXPECT_EQ(CountLeadingSignBits(0x7F, 8), 0);
  EXPECT_EQ(CountLeadingSignBits(0x01, 8), 6);
  EXPECT_EQ(BitCount(0xFFFF, 8), 8);
  EXPECT_EQ(BitCount(0xFF, 0), 0);
  std::mt19937_64 rng(7);
  for (int N : kWidths)
    for (int k = 0; k < 2000; ++k) {
      uint64_t x = edge_int(rng, N);
      int clz = 0;
      while (clz < N && !((x >> (N - 1 - clz)) & 1)) ++clz;
      ASSERT_EQ(CountLeadingZeroBits(x, N), clz);
      ASSERT_EQ(BitReverse(BitReverse(x, N), N), x);
      ASSERT_EQ(BitCount(BitReverse(x, N), N), BitCount(x, N));
    }
}

TEST(IntHelpers, ReverseUnits) {
  EXPECT_EQ(Reverse(0x0102030405060708ull, 64, 1), 0x0807060504030201ull);
  EXPECT_EQ(Reverse(0x0102030405060708ull, 64, 2), 0x0708050603040102ull);
  EXPECT_EQ(Reverse(0x0102030405060708ull, 64, 4), 0x0506070801020304ull);
  EXPECT_EQ(Reverse(0x0102030405060708ull, 64, 3), 0u);
  EXPECT_EQ(Reverse(0x1234, 16, 1), 0x3412u);
}

TEST(IntHelpers, MaxMinAndExtension) {
  EXPECT_EQ(Max(5, 5, 8, false), 5u);
  EXPECT_EQ(Max(1, 2, 12, false), 0u);
  EXPECT_EQ(Max(0x80, 0x7F, 8, false), 0x7Fu);
  EXPECT_EQ(Max(0x80, 0x7F, 8, true), 0x80u);
  EXPECT_EQ(Min(0x80, 0x7F, 8, false), 0x80u);
  EXPECT_EQ(SInt(0x80, 8), int128(-128));
  EXPECT_EQ(SInt(0x80, 12), int128(0));
  EXPECT_EQ(Int(0x800, 12, false), int128(-2048));
  EXPECT_EQ(Int(0x800, 12, true), int128(2048));
  for (int N = 1; N <= 64; ++N) {
    EXPECT_EQ(Int(ones(N), N, true), int128(ones(N)));
    EXPECT_EQ(Int(ones(N), N, false), int128(-1));
  }
}

TEST(IntHelpers, OnesAndWideShifts) {
  EXPECT_EQ(ones(0), ~uint64_t(0));
  EXPECT_EQ(ones(64), ~uint64_t(0));
  EXPECT_EQ(ones(1), 1u);
  EXPECT_EQ(ShiftRightInt(-8, 1), int128(-4));
  EXPECT_EQ(ShiftRightInt(-8, 200), int128(-1));
  EXPECT_EQ(ShiftLeftInt(1, 127) < 0, true);
  EXPECT_EQ(PolynomialMult(0b11, 0b11), uint128(0b101));
}

TEST(IntHelpers, EstimatesStayInRange) {
  for (int a = 256; a < 512; ++a) {
    int r = recip_estimate(a);
    EXPECT_GE(r, 256);
    EXPECT_LT(r, 512);
  }
  for (int a = 128; a < 512; ++a) {
    int r = recip_sqrt_estimate(a);
    EXPECT_GE(r, 256);
    EXPECT_LT(r, 512);
  }
  EXPECT_EQ(UnsignedRecipEstimate(0x7FFFFFFF), 0xFFFFFFFFu);
  EXPECT_EQ(UnsignedRecipEstimate(0x80000000), uint32_t(recip_estimate(256)) << 23);
  EXPECT_EQ(UnsignedRSqrtEstimate(0x3FFFFFFF), 0xFFFFFFFFu);
}

}  // namespace
