// Single and double arithmetic against the host's own floating-point unit in
// each IEEE rounding mode, for operands and results that are not NaNs (hosts
// differ in NaN propagation) with flushing off. UFC is not compared: hosts may
// detect tininess after rounding where the library, like the architecture,
// detects it before.
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <cstring>

#include "sve/fp/fp.h"
#include "tests/fp/ref_gen.h"

namespace {

using namespace sve;
using fpref::Rng;

template <class F, class T> F as_float(T bits) {
  F f;
  std::memcpy(&f, &bits, sizeof f);
  return f;
}
template <class T, class F> T as_bits(F f) {
  T bits;
  std::memcpy(&bits, &f, sizeof bits);
  return bits;
}

uint32_t host_flags() {
  int e = std::fetestexcept(FE_ALL_EXCEPT);
  return (e & FE_INVALID ? FPSCR_IOC : 0) | (e & FE_DIVBYZERO ? FPSCR_DZC : 0) | (e & FE_OVERFLOW ? FPSCR_OFC : 0) |
         (e & FE_INEXACT ? FPSCR_IXC : 0);
}

constexpr int kHostModes[4] = {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};

template <class T, class F> void compare_with_host(uint64_t seed) {
  Rng r(seed);
  volatile F va, vb, vc;
  for (int i = 0; i < 200000; ++i) {
    uint64_t ops[3];
    fpref::gen3<T>(r, ops);
    T a = T(ops[0]), b = T(ops[1]), c = T(ops[2]);
    if (fp_is_nan(a) || fp_is_nan(b) || fp_is_nan(c)) continue;
    int rmode = r.below(4), op = r.below(5);
    va = as_float<F>(a);
    vb = as_float<F>(b);
    vc = as_float<F>(c);
    std::fesetround(kHostModes[rmode]);
    std::feclearexcept(FE_ALL_EXCEPT);
    F host = op == 0 ? va + vb : op == 1 ? va * vb : op == 2 ? va / vb : op == 3 ? std::fma(vb, vc, va) : std::sqrt(va);
    uint32_t hflags = host_flags();
    std::fesetround(FE_TONEAREST);
    FPSCR s = FPSCR(rmode) << FPSCR_RMODE_SHIFT;
    T lib = op == 0 ? FPAdd(a, b, s) : op == 1 ? FPMul(a, b, s) : op == 2 ? FPDiv(a, b, s)
                                                : op == 3 ? FPMulAdd(a, b, c, s) : FPSqrt(a, s);
    if (fp_is_nan(lib)) continue;
    ASSERT_EQ(lib, as_bits<T>(F(host))) << "op " << op << " rmode " << rmode << std::hex << " " << a << " " << b
                                        << " " << c;
    ASSERT_EQ(s & 0x17u, hflags) << "op " << op << " rmode " << rmode << std::hex << " " << a << " "
                                                << b << " " << c;
  }
}

TEST(FPHostOracle, SingleArithmeticMatchesTheHostUnit) { compare_with_host<unsigned int, float>(11); }
TEST(FPHostOracle, DoubleArithmeticMatchesTheHostUnit) { compare_with_host<unsigned long, double>(12); }

}  // namespace
