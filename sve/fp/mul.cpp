// FPMul and FPMulX: the exact double-width product, rounded once.
#include "sve/fp/arith.h"

namespace sve {

namespace {

template <class T> [[gnu::always_inline]] inline T mul_finite(FPUnpacked<T> a, FPUnpacked<T> b, int mode, int* flags) {
  using W = typename FPFormat<T>::Wide;
  W product = W(a.mnt) * W(b.mnt);
  return fp_round_wide<T>(a.sign ^ b.sign, a.exp + b.exp - fp_bias<T> - 2 * fp_F<T>, product, mode & MODE_RMODE,
                          mode, flags);
}

template <class T> [[gnu::noinline]] T mul_special(T op1, T op2, bool zero_times_inf_is_two, int mode, int* flags) {
  FPUnpacked<T> a = fp_unpack(op1, mode, flags), b = fp_unpack(op2, mode, flags);
  T nan;
  if (fp_process_nans(op1, op2, mode, flags, &nan)) return nan;
  int sign = a.sign ^ b.sign;
  if ((a.inf() && b.zero()) || (a.zero() && b.inf())) {
    if (zero_times_inf_is_two) return fp_two<T>(sign);
    *flags |= FLAG_IOC;
    return fp_default_nan<T>;
  }
  if (a.inf() || b.inf()) return fp_infinity<T>(sign);
  if (a.zero() || b.zero()) return fp_zero<T>(sign);
  return mul_finite(a, b, mode, flags);
}

template <class T> [[gnu::always_inline]] inline T mul(T op1, T op2, bool zero_times_inf_is_two, int mode, int* flags) {
  if (!(fp_normal(op1) & fp_normal(op2))) [[unlikely]]
    return mul_special(op1, op2, zero_times_inf_is_two, mode, flags);
  return mul_finite(fp_unpack_normal(op1), fp_unpack_normal(op2), mode, flags);
}

}  // namespace

template <class T> T fp_mul(T op1, T op2, bool zero_times_inf_is_two, int mode, int* flags) {
  return mul(op1, op2, zero_times_inf_is_two, mode, flags);
}

template <class T> T FPMul(T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) { return mul(op1, op2, false, mode, flags); });
}

template <class T> T FPMulX(T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) { return mul(op1, op2, true, mode, flags); });
}

#define SVE_FP_INSTANTIATE(T)                         \
  template T fp_mul<T>(T, T, bool, int, int*);        \
  template T FPMul<T>(T, T, FPSCR&);                  \
  template T FPMulX<T>(T, T, FPSCR&);
SVE_FP_INSTANTIATE(unsigned short)
SVE_FP_INSTANTIATE(unsigned int)
SVE_FP_INSTANTIATE(unsigned long)
#undef SVE_FP_INSTANTIATE

}  // namespace sve
