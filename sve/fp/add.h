// FPAdd and FPSub: the two-normal-operand path is inline, so that element
// loops carry it; zeros, denormals, infinities and NaNs go out of line.
#pragma once
#include "sve/fp/format.h"
#include "sve/fp/round.h"

namespace sve {

template <class T> T fp_add_special(T op1, T op2, bool negate_op2, int mode, int* flags);

// Ordered by magnitude straight from the bit patterns, so the larger operand
// is known before alignment and a difference never changes sign; the same
// magnitudes tell whether both operands are normal.
template <class T> [[gnu::always_inline]] inline T fp_add(T op1, T op2, bool negate_op2, int mode, int* flags) {
  T b = T(op2 ^ (negate_op2 ? fp_sign_bit<T> : T(0)));
  T mag1 = T(op1 & ~fp_sign_bit<T>), mag2 = T(b & ~fp_sign_bit<T>);
  bool swap = mag2 > mag1;
  T big = fp_select(swap, op1, b), small = fp_select(swap, b, op1);
  T mag_big = fp_select(swap, mag1, mag2), mag_small = fp_select(swap, mag2, mag1);
  constexpr T one = T(T(1) << fp_F<T>);  // also the smallest normal magnitude
  if (!((mag_big < fp_exp_mask<T>) & (mag_small >= one))) [[unlikely]]
    return fp_add_special(op1, op2, negate_op2, mode, flags);
  uint64_t x = uint64_t(fp_frac(big) | one) << 3, y = uint64_t(fp_frac(small) | one) << 3;
  y = fp_shr_sticky_nonneg(y, fp_exp(big) - fp_exp(small));
  uint64_t sum = fp_sign(big) == fp_sign(small) ? x + y : x - y;
  if (sum == 0) return fp_zero<T>((mode & MODE_RMODE) == 2);
  return fp_round_wide<T>(fp_sign(big), fp_exp(big) - fp_F<T> - 3, sum, mode & MODE_RMODE, mode, flags);
}

template <class T> [[gnu::always_inline]] inline T FPAdd(T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) SVE_FP_INLINE { return fp_add(op1, op2, false, mode, flags); });
}
template <class T> [[gnu::always_inline]] inline T FPSub(T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) SVE_FP_INLINE { return fp_add(op1, op2, true, mode, flags); });
}

}  // namespace sve
