// FPMulAdd and the fpN_muladd primitives: addend + op1 * op2 with the exact
// product, one alignment with a sticky bit, an optional power-of-two scale and
// one rounding. Three normal operands take the inline path.
#pragma once
#include "sve/fp/format.h"
#include "sve/fp/round.h"

namespace sve {

// The product term p (exponent ep, sign ps) plus the addend term q (eq, qs),
// both with their leading one at bit width-3: the term with the smaller
// exponent is aligned with a sticky bit; a difference takes the sign of the
// larger magnitude. Rounded at exponent `exp0` + the aligned exponent.
template <class T, class W>
[[gnu::always_inline]] inline T fp_add_terms(W p, int ep, int ps, W q, int eq, int qs, int exp0, int mode,
                                             int* flags) {
  // Arithmetic rather than selections: the compiler turns those into a
  // branch on the order of the terms, which is data-dependent.
  int d = ep - eq, neg = d >> 31;  // neg: all ones when the addend term is larger
  W x = fp_select(neg != 0, p, q), y = fp_select(neg != 0, q, p);
  int exp = ep - (d & neg), sign = ps ^ ((ps ^ qs) & neg);
  y = fp_shr_sticky_nonneg(y, (d ^ neg) - neg);
  W sum;
  if (qs == ps) {
    sum = x + y;
  } else {
    bool flip = y > x;
    sum = fp_select(flip, W(x - y), W(y - x));
    sign ^= int(flip);
  }
  int rm = mode & MODE_RMODE;
  if (sum == 0) return fp_zero<T>(rm == 2);
  return fp_round_wide<T>(sign, exp + exp0, sum, rm, mode, flags);
}

template <class T> T fp_muladd_special(T addend, T op1, T op2, int scale, int mode, int* flags);

// Three normal operands: the leading ones are known to within a bit, so the
// terms take fixed places (the product's highest possible bit, the addend's
// one, both at bit width-3) without counting zeros. The low free bits of the
// wide type keep every alignment that can change the larger term exact.
template <class T>
[[gnu::always_inline]] inline T fp_muladd_normal(T addend, T op1, T op2, int scale, int mode, int* flags) {
  using W = typename FPFormat<T>::Wide;
  constexpr int F = fp_F<T>, top = fp_width<W> - 3;
  constexpr T one = T(T(1) << F);
  W p = W(W(fp_frac(op1) | one) * W(fp_frac(op2) | one)) << (top - 2 * F - 1);
  W q = W(fp_frac(addend) | one) << (top - F);
  int ep = fp_exp(op1) + fp_exp(op2) - fp_bias<T> + 1, eq = fp_exp(addend);
  return fp_add_terms<T>(p, ep, fp_sign(op1) ^ fp_sign(op2), q, eq, fp_sign(addend), scale - top, mode, flags);
}

// addend + op1 * op2, times 2^scale, rounded once.
template <class T>
[[gnu::always_inline]] inline T fp_muladd(T addend, T op1, T op2, int scale, int mode, int* flags) {
  if (!(fp_normal(addend) & fp_normal(op1) & fp_normal(op2))) [[unlikely]]
    return fp_muladd_special(addend, op1, op2, scale, mode, flags);
  return fp_muladd_normal(addend, op1, op2, scale, mode, flags);
}

template <class T> [[gnu::always_inline]] inline T FPMulAdd(T addend, T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) SVE_FP_INLINE { return fp_muladd(addend, op1, op2, 0, mode, flags); });
}

unsigned short fp16_muladd(unsigned short a, unsigned short b, unsigned short c, int scale, int mode, int* flags);
unsigned int fp32_muladd(unsigned int a, unsigned int b, unsigned int c, int scale, int mode, int* flags);
unsigned long fp64_muladd(unsigned long a, unsigned long b, unsigned long c, int scale, int mode, int* flags);

}  // namespace sve
