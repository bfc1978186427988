// FPMul and FPMulX: the exact double-width product, rounded once. The
// two-normal-operand path is inline; the other cases go out of line.
#pragma once
#include "sve/fp/format.h"
#include "sve/fp/round.h"

namespace sve {

template <class T> T fp_mul_special(T op1, T op2, bool zero_times_inf_is_two, int mode, int* flags);

template <class T> [[gnu::always_inline]] inline T fp_mul_finite(FPUnpacked<T> a, FPUnpacked<T> b, int mode, int* flags) {
  using W = typename FPFormat<T>::Wide;
  W product = W(a.mnt) * W(b.mnt);
  return fp_round_wide<T>(a.sign ^ b.sign, a.exp + b.exp - fp_bias<T> - 2 * fp_F<T>, product, mode & MODE_RMODE,
                          mode, flags);
}

template <class T>
[[gnu::always_inline]] inline T fp_mul(T op1, T op2, bool zero_times_inf_is_two, int mode, int* flags) {
  if (!(fp_normal(op1) & fp_normal(op2))) [[unlikely]]
    return fp_mul_special(op1, op2, zero_times_inf_is_two, mode, flags);
  return fp_mul_finite(fp_unpack_normal(op1), fp_unpack_normal(op2), mode, flags);
}

template <class T> [[gnu::always_inline]] inline T FPMul(T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) SVE_FP_INLINE { return fp_mul(op1, op2, false, mode, flags); });
}
template <class T> [[gnu::always_inline]] inline T FPMulX(T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) SVE_FP_INLINE { return fp_mul(op1, op2, true, mode, flags); });
}

}  // namespace sve
