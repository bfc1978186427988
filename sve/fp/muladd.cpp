// FPMulAdd: the cases with a zero, denormal, infinite or NaN operand, and the
// fpN_muladd primitives.
#include "sve/fp/muladd.h"

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

// Finite operands, not an addend and a product that are both zero.
template <class T> T muladd_finite(FPUnpacked<T> a, FPUnpacked<T> b, FPUnpacked<T> c, int scale, int mode, int* flags) {
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
  return fp_add_terms<T>(p, ep, psign, q, eq, a.sign, scale - (fp_width<W> - 3), mode, flags);
}

}  // namespace

template <class T> [[gnu::noinline]] T fp_muladd_special(T addend, T op1, T op2, int scale, int mode, int* flags) {
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

unsigned short fp16_muladd(unsigned short a, unsigned short b, unsigned short c, int scale, int mode, int* flags) {
  return fp_muladd(a, b, c, scale, mode, flags);
}
unsigned int fp32_muladd(unsigned int a, unsigned int b, unsigned int c, int scale, int mode, int* flags) {
  return fp_muladd(a, b, c, scale, mode, flags);
}
unsigned long fp64_muladd(unsigned long a, unsigned long b, unsigned long c, int scale, int mode, int* flags) {
  return fp_muladd(a, b, c, scale, mode, flags);
}

template unsigned short fp_muladd_special<unsigned short>(unsigned short, unsigned short, unsigned short, int, int,
                                                          int*);
template unsigned int fp_muladd_special<unsigned int>(unsigned int, unsigned int, unsigned int, int, int, int*);
template unsigned long fp_muladd_special<unsigned long>(unsigned long, unsigned long, unsigned long, int, int, int*);

}  // namespace sve
