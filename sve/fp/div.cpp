// FPDiv: an integer quotient with three bits beyond the rounding position and
// a sticky bit for the remainder, rounded once.
#include "sve/fp/arith.h"

namespace sve {

namespace {

// Non-zero finite operands with their leading ones at bit F.
template <class T> [[gnu::always_inline]] inline T div_finite(FPUnpacked<T> a, FPUnpacked<T> b, int mode, int* flags) {
  using W = typename FPFormat<T>::Wide;
  constexpr int F = fp_F<T>;
  W n = W(a.mnt) << (F + 3);
  W q = n / b.mnt;
  q |= W(n - q * b.mnt != 0);
  return fp_round_wide<T>(a.sign ^ b.sign, a.exp - b.exp + fp_bias<T> - F - 3, q, mode & MODE_RMODE, mode, flags);
}

template <class T> [[gnu::noinline]] T div_special(T op1, T op2, int mode, int* flags) {
  FPUnpacked<T> a = fp_unpack(op1, mode, flags), b = fp_unpack(op2, mode, flags);
  T nan;
  if (fp_process_nans(op1, op2, mode, flags, &nan)) return nan;
  int sign = a.sign ^ b.sign;
  if ((a.inf() && b.inf()) || (a.zero() && b.zero())) {
    *flags |= FLAG_IOC;
    return fp_default_nan<T>;
  }
  if (a.inf()) return fp_infinity<T>(sign);
  if (b.zero()) {
    *flags |= FLAG_DZC;
    return fp_infinity<T>(sign);
  }
  if (a.zero() || b.inf()) return fp_zero<T>(sign);
  fp_normalise(a);
  fp_normalise(b);
  return div_finite(a, b, mode, flags);
}

template <class T> T fp_div(T op1, T op2, int mode, int* flags) {
  if (!(fp_normal(op1) & fp_normal(op2))) [[unlikely]]
    return div_special(op1, op2, mode, flags);
  return div_finite(fp_unpack_normal(op1), fp_unpack_normal(op2), mode, flags);
}

}  // namespace

template <class T> T FPDiv(T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) { return fp_div(op1, op2, mode, flags); });
}

template unsigned short FPDiv<unsigned short>(unsigned short, unsigned short, FPSCR&);
template unsigned int FPDiv<unsigned int>(unsigned int, unsigned int, FPSCR&);
template unsigned long FPDiv<unsigned long>(unsigned long, unsigned long, FPSCR&);

}  // namespace sve
