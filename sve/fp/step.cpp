// FPRecipStepFused and FPRSqrtStepFused: one fused multiply-add of the
// negated first operand, the second operand and a constant, rounded once.
#include "sve/fp/arith.h"
#include "sve/fp/estimate.h"

namespace sve {

namespace {

// constant + (-op1) * op2, times 2^scale; infinity times zero gives `special`.
template <class T> T step(T op1, T op2, T constant, int scale, T special, FPSCR& fpscr) {
  int mode = fp_mode(fpscr), flags = 0;
  T neg1 = FPNeg(op1);
  FPUnpacked<T> a = fp_unpack(neg1, mode, &flags), b = fp_unpack(op2, mode, &flags);
  T r;
  if (fp_process_nans(neg1, op2, mode, &flags, &r)) {
  } else if ((a.inf() && b.zero()) || (a.zero() && b.inf())) {
    r = special;
  } else {
    r = fp_muladd(constant, neg1, op2, scale, mode, &flags);
  }
  fpscr |= FPSCR(flags);
  return r;
}

}  // namespace

template <class T> T FPRecipStepFused(T op1, T op2, FPSCR& fpscr) {
  return step(op1, op2, fp_two<T>(0), 0, fp_two<T>(0), fpscr);
}

template <class T> T FPRSqrtStepFused(T op1, T op2, FPSCR& fpscr) {
  constexpr T half_fraction = T(T(1) << (fp_F<T> - 1));  // 1.5 times the power of two
  constexpr T three = fp_pack<T>(0, fp_bias<T> + 1, half_fraction);
  constexpr T one_point_five = fp_pack<T>(0, fp_bias<T>, half_fraction);
  return step(op1, op2, three, -1, one_point_five, fpscr);
}

#define SVE_FP_INSTANTIATE(T)                       \
  template T FPRecipStepFused<T>(T, T, FPSCR&);     \
  template T FPRSqrtStepFused<T>(T, T, FPSCR&);
SVE_FP_INSTANTIATE(unsigned short)
SVE_FP_INSTANTIATE(unsigned int)
SVE_FP_INSTANTIATE(unsigned long)
#undef SVE_FP_INSTANTIATE

}  // namespace sve
