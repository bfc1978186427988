// FPMulAdd and the fpN_muladd primitives: addend + op1 * op2 with the exact
// product, one alignment with a sticky bit, an optional power-of-two scale and
// one rounding.
#include "sve/fp/arith.h"

namespace sve {

namespace {

// The non-zero mantissa m, whose bit 0 has biased exponent e, placed with its
// leading one at bit width-3 (two bits of headroom for the sum); returns the
// biased exponent of that leading one.
template <class W> int place(W& m, int e) {
  int lz = fp_clz(m);
  m = W(m << lz) >> 2;
  return e + fp_width<W> - 1 - lz;
}

// The product term p (exponent ep, sign ps) plus the addend term q (eq, qs),
// both with their leading one at bit width-3: the term with the smaller
// exponent is aligned with a sticky bit; a difference takes the sign of the
// larger magnitude. Rounded at exponent `exp0` + the aligned exponent.
template <class T, class W>
[[gnu::always_inline]] inline T add_terms(W p, int ep, int ps, W q, int eq, int qs, int exp0, int mode, int* flags) {
  bool swap = eq > ep;
  W x = fp_select(swap, p, q), y = fp_select(swap, q, p);
  int exp = fp_select(swap, ep, eq), sign = fp_select(swap, ps, qs);
  y = fp_shr_sticky(y, exp - fp_select(swap, eq, ep));
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

// Finite operands, not an addend and a product that are both zero.
template <class T>
[[gnu::always_inline]] inline T muladd_finite(FPUnpacked<T> a, FPUnpacked<T> b, FPUnpacked<T> c, int scale,
                                              int mode, int* flags) {
  using W = typename FPFormat<T>::Wide;
  constexpr int F = fp_F<T>, bias = fp_bias<T>;
  bool pzero = b.zero() || c.zero();
  int psign = b.sign ^ c.sign;
  // A zero term takes an exponent that never wins the alignment.
  constexpr int kNever = -(1 << 28);
  W p = pzero ? W(0) : W(b.mnt) * W(c.mnt), q = a.mnt;
  int ep = pzero ? kNever : place(p, b.exp + c.exp - bias - 2 * F);
  int eq = a.zero() ? kNever : place(q, a.exp - F);
  // The leading one of the terms sits at bit width-3.
  return add_terms<T>(p, ep, psign, q, eq, a.sign, scale - (fp_width<W> - 3), mode, flags);
}

template <class T> [[gnu::noinline]] T muladd_special(T addend, T op1, T op2, int scale, int mode, int* flags) {
  FPUnpacked<T> a = fp_unpack(addend, mode, flags), b = fp_unpack(op1, mode, flags),
                c = fp_unpack(op2, mode, flags);
  bool invalid_product = (b.inf() && c.zero()) || (b.zero() && c.inf());
  T nan;
  if (fp_process_nans3(addend, op1, op2, mode, flags, &nan)) {
    if (fp_is_qnan(addend) && invalid_product) {
      *flags |= FLAG_IOC;
      return fp_default_nan<T>;
    }
    return nan;
  }
  int psign = b.sign ^ c.sign;
  bool pinf = b.inf() || c.inf(), pzero = b.zero() || c.zero();
  if (invalid_product || (a.inf() && pinf && a.sign != psign)) {
    *flags |= FLAG_IOC;
    return fp_default_nan<T>;
  }
  if (a.inf()) return fp_infinity<T>(a.sign);
  if (pinf) return fp_infinity<T>(psign);
  int rm = mode & MODE_RMODE;
  if (a.zero() && pzero) return fp_zero<T>(a.sign == psign ? a.sign : rm == 2);

  return muladd_finite(a, b, c, scale, mode, flags);
}

// Three normal operands: the leading ones are known to within a bit, so the
// terms take fixed places (the product's highest possible bit, the addend's
// one, both at bit width-3) without counting zeros. The low free bits of the
// wide type keep every alignment that can change the larger term exact.
template <class T>
[[gnu::always_inline]] inline T muladd_normal(T addend, T op1, T op2, int scale, int mode, int* flags) {
  using W = typename FPFormat<T>::Wide;
  constexpr int F = fp_F<T>, top = fp_width<W> - 3;
  constexpr T one = T(T(1) << F);
  W p = W(W(fp_frac(op1) | one) * W(fp_frac(op2) | one)) << (top - 2 * F - 1);
  W q = W(fp_frac(addend) | one) << (top - F);
  int ep = fp_exp(op1) + fp_exp(op2) - fp_bias<T> + 1, eq = fp_exp(addend);
  return add_terms<T>(p, ep, fp_sign(op1) ^ fp_sign(op2), q, eq, fp_sign(addend), scale - top, mode, flags);
}

}  // namespace

template <class T> T fp_muladd(T addend, T op1, T op2, int scale, int mode, int* flags) {
  if (!(fp_normal(addend) & fp_normal(op1) & fp_normal(op2))) [[unlikely]]
    return muladd_special(addend, op1, op2, scale, mode, flags);
  return muladd_normal(addend, op1, op2, scale, mode, flags);
}

template <class T> T FPMulAdd(T addend, T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) { return fp_muladd(addend, op1, op2, 0, mode, flags); });
}

unsigned short fp16_muladd(unsigned short a, unsigned short b, unsigned short c, int scale, int mode, int* flags) {
  return fp_muladd(a, b, c, scale, mode, flags);
}
unsigned int fp32_muladd(unsigned int a, unsigned int b, unsigned int c, int scale, int mode, int* flags) {
  return fp_muladd(a, b, c, scale, mode, flags);
}
unsigned long fp64_muladd(unsigned long a, unsigned long b, unsigned long c, int scale, int mode, int* flags) {
  return fp_muladd(a, b, c, scale, mode, flags);
}

#define SVE_FP_INSTANTIATE(T)                           \
  template T fp_muladd<T>(T, T, T, int, int, int*);     \
  template T FPMulAdd<T>(T, T, T, FPSCR&);
SVE_FP_INSTANTIATE(unsigned short)
SVE_FP_INSTANTIATE(unsigned int)
SVE_FP_INSTANTIATE(unsigned long)
#undef SVE_FP_INSTANTIATE

}  // namespace sve
