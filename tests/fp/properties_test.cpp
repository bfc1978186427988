// Algebraic properties that tie the operations of the library to each other,
// over random edge-weighted operands and random control words in all three
// formats. They hold on any host; the reference comparison covers the
// individual results.
#include <gtest/gtest.h>

#include "sve/fp/fp.h"
#include "tests/fp/ref_gen.h"

namespace {

using namespace sve;
using fpref::edge;
using fpref::Rng;

uint32_t random_fpscr(Rng& r) {
  return uint32_t(r.below(4)) << FPSCR_RMODE_SHIFT | (r.chance(50) ? FPSCR_FZ : 0) |
         (r.chance(50) ? FPSCR_DN : 0) | (r.chance(50) ? FPSCR_FZ16 : 0);
}

template <class T> class FPProperties : public ::testing::Test {};
using Carriers = ::testing::Types<unsigned short, unsigned int, unsigned long>;
TYPED_TEST_SUITE(FPProperties, Carriers);

constexpr int kCases = 100000;

TYPED_TEST(FPProperties, SubtractionIsAdditionOfTheNegationAndAdditionCommutes) {
  using T = TypeParam;
  Rng r(1);
  for (int i = 0; i < kCases; ++i) {
    T a = edge<T>(r), b = r.chance(40) ? fpref::related(r, a) : edge<T>(r);
    if (fp_is_nan(a) || fp_is_nan(b)) continue;
    const FPSCR control = random_fpscr(r);
    FPSCR s1 = control, s2 = control;
    ASSERT_EQ(FPSub(a, b, s1), FPAdd(a, FPNeg(b), s2)) << std::hex << a << " " << b << " " << control;
    ASSERT_EQ(s1, s2);
    s1 = s2 = control;
    ASSERT_EQ(FPAdd(a, b, s1), FPAdd(b, a, s2)) << std::hex << a << " " << b << " " << control;
    ASSERT_EQ(s1, s2);
  }
}

// A unit multiplicand makes the fused multiply-add an addition, and a -0
// addend makes it a multiplication: the fused path must agree with both.
TYPED_TEST(FPProperties, FusedMultiplyAddReducesToAddAndMultiply) {
  using T = TypeParam;
  Rng r(2);
  for (int i = 0; i < kCases; ++i) {
    T a = edge<T>(r), b = r.chance(40) ? fpref::related(r, a) : edge<T>(r);
    if (fp_is_nan(a) || fp_is_nan(b)) continue;
    FPSCR s1 = random_fpscr(r), s2 = s1;
    ASSERT_EQ(FPMulAdd(a, b, fp_one<T>(0), s1), FPAdd(a, b, s2)) << std::hex << a << " " << b << " " << s1;
    ASSERT_EQ(s1, s2);
    T product = FPMul(a, b, s1);
    if ((product & ~fp_sign_bit<T>) == 0) continue;  // -0 + -0 and -0 + +0 differ from a product by design
    ASSERT_EQ(FPMulAdd(fp_zero<T>(1), a, b, s2), product) << std::hex << a << " " << b << " " << s1;
    ASSERT_EQ(s1, s2);
  }
}

// Under round-toward-zero the quotient q and root q satisfy |q*b| <= |a| <
// |next(q)*b|: the exact residual a - q*b, from one fused operation, never
// changes sign between q and its successor the wrong way.
TYPED_TEST(FPProperties, QuotientAndRootAreTruncationsUnderRoundTowardZero) {
  using T = TypeParam;
  Rng r(3);
  const FPSCR rz = FPSCR(3) << FPSCR_RMODE_SHIFT;
  auto residual_sign = [&](T a, T q, T b) {  // sign of a - q*b, or -1 when zero
    FPSCR s = rz;
    T res = FPMulAdd(a, FPNeg(q), b, s);
    return (res & ~fp_sign_bit<T>) == 0 ? -1 : fp_sign(res);
  };
  for (int i = 0; i < kCases; ++i) {
    // In [1, 16): every residual is a multiple of the smallest half denormal.
    T a = fp_pack<T>(0, fp_bias<T> + r.below(4), T(r.next() & fp_frac_mask<T>));
    T b = fp_pack<T>(0, fp_bias<T> + r.below(4), T(r.next() & fp_frac_mask<T>));
    FPSCR s = rz;
    T q = FPDiv(a, b, s), root = FPSqrt(a, s);
    ASSERT_NE(residual_sign(a, q, b), 1) << std::hex << a << " / " << b;
    ASSERT_EQ(residual_sign(a, T(q + 1), b), 1) << std::hex << a << " / " << b;
    ASSERT_NE(residual_sign(a, root, root), 1) << std::hex << a;
    ASSERT_EQ(residual_sign(a, T(root + 1), T(root + 1)), 1) << std::hex << a;
  }
}

TYPED_TEST(FPProperties, ComparisonsAreATrichotomy) {
  using T = TypeParam;
  Rng r(4);
  for (int i = 0; i < kCases; ++i) {
    T a = edge<T>(r), b = r.chance(30) ? fpref::related(r, a) : edge<T>(r);
    FPSCR s = random_fpscr(r);
    int outcomes = FPCompareUN(a, b, s) + FPCompareGT(a, b, s) + FPCompareGT(b, a, s) + FPCompareEQ(a, b, s);
    ASSERT_EQ(outcomes, 1) << std::hex << a << " " << b;
    ASSERT_EQ(FPCompareGE(a, b, s), FPCompareGT(a, b, s) || FPCompareEQ(a, b, s));
    T hi = FPMax(a, b, s), lo = FPMin(a, b, s);
    if (fp_is_nan(a) || fp_is_nan(b)) continue;
    ASSERT_TRUE(FPCompareGE(hi, a, s) && FPCompareGE(hi, b, s) && FPCompareGE(a, lo, s) && FPCompareGE(b, lo, s));
  }
}

TYPED_TEST(FPProperties, RoundToIntegralIsIdempotentAndWithinOne) {
  using T = TypeParam;
  Rng r(5);
  for (int i = 0; i < kCases; ++i) {
    T a = edge<T>(r);
    FPSCR s = random_fpscr(r);
    FPRounding rm = r.below(5);
    T x = FPRoundInt(a, rm, true, s);
    FPSCR s2 = 0;
    ASSERT_EQ(FPRoundInt(x, rm, true, s2), x) << std::hex << a;
    if (fp_is_nan(a) || fp_is_inf(a)) continue;
    FPSCR s3 = FPSCR(3) << FPSCR_RMODE_SHIFT;  // |x - a| rounded down stays below 1
    int flags = 0;
    T diff = FPAbs(FPSub(x, fp_flushed(a, fp_mode(s), &flags), s3));
    ASSERT_TRUE(FPCompareGT(fp_one<T>(0), diff, s3)) << std::hex << a << " " << x;
  }
}

TEST(FPConversions, EveryHalfSurvivesWideningAndNarrowing) {
  for (uint32_t v = 0; v < 0x10000; ++v) {
    unsigned short h = uint16_t(v);
    FPSCR s = 0;
    unsigned short via_single = FPConvert<unsigned short>(FPConvert<unsigned int>(h, 0, s), 0, s);
    unsigned short via_double = FPConvert<unsigned short>(FPConvert<unsigned long>(h, 0, s), 0, s);
    unsigned short expect = fp_is_nan(h) ? uint16_t(h | fp_quiet_bit<unsigned short>) : h;
    ASSERT_EQ(via_single, expect) << std::hex << v;
    ASSERT_EQ(via_double, expect) << std::hex << v;
    ASSERT_EQ(s & ~uint32_t(FPSCR_IOC), 0u) << std::hex << v;
  }
}

TEST(FPConversions, IntegersSurviveTheRoundTrip) {
  Rng r(6);
  for (int i = 0; i < kCases; ++i) {
    int64_t v = int64_t(r.next()) >> (11 + r.below(53));  // at most 53 significant bits
    FPSCR s = random_fpscr(r);
    unsigned long d = fplibFixedToFP<unsigned long>(uint64_t(v), 0, false, 0, s);
    ASSERT_EQ(int64_t(fplibFPToFixed<unsigned long, unsigned long>(d, 0, false, 3, s)), v);
    ASSERT_EQ(s & 0x9F, 0u) << v;
  }
}

}  // namespace
