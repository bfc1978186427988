// FPAdd and FPSub.
#include "sve/fp/arith.h"

namespace sve {

namespace {

// The sum of two finite operands, not both zeros of one sign.
template <class T> [[gnu::always_inline]] inline T add_finite(FPUnpacked<T> a, FPUnpacked<T> b, int mode, int* flags) {
  // Three guard bits; the operand with the smaller exponent loses bits to a
  // sticky bit. Selections rather than branches: the order is data-dependent.
  bool swap = b.exp > a.exp;
  uint64_t ma = uint64_t(a.mnt) << 3, mb = uint64_t(b.mnt) << 3;
  uint64_t x = fp_select(swap, ma, mb), y = fp_select(swap, mb, ma);
  int exp = fp_select(swap, a.exp, b.exp), sign = fp_select(swap, a.sign, b.sign);
  y = fp_shr_sticky(y, exp - fp_select(swap, b.exp, a.exp));
  uint64_t sum;
  if (a.sign == b.sign) {
    sum = x + y;
  } else {
    bool flip = y > x;  // the smaller-exponent operand is the larger only when exponents tie
    sum = fp_select(flip, x - y, y - x);
    sign ^= int(flip);
  }
  if (sum == 0) return fp_zero<T>((mode & MODE_RMODE) == 2);
  return fp_round_wide<T>(sign, exp - fp_F<T> - 3, sum, mode & MODE_RMODE, mode, flags);
}

// Zeros, denormals, infinities and NaNs: out of line, so that the common
// path stays a short leaf.
template <class T> [[gnu::noinline]] T add_special(T op1, T op2, bool negate_op2, int mode, int* flags) {
  FPUnpacked<T> a = fp_unpack(op1, mode, flags), b = fp_unpack(op2, mode, flags);
  T nan;
  if (fp_process_nans(op1, op2, mode, flags, &nan)) return nan;
  b.sign ^= int(negate_op2);
  if (a.inf() && b.inf() && a.sign != b.sign) {
    *flags |= FLAG_IOC;
    return fp_default_nan<T>;
  }
  if (a.inf()) return fp_infinity<T>(a.sign);
  if (b.inf()) return fp_infinity<T>(b.sign);
  if (a.zero() && b.zero() && a.sign == b.sign) return fp_zero<T>(a.sign);
  return add_finite(a, b, mode, flags);
}

// Two normal operands: ordered by magnitude straight from the bit patterns,
// so the larger one is known before alignment and a difference never
// changes sign.
template <class T> [[gnu::always_inline]] inline T add_normal(T op1, T op2, int mode, int* flags) {
  bool swap = T(op2 & ~fp_sign_bit<T>) > T(op1 & ~fp_sign_bit<T>);
  T big = fp_select(swap, op1, op2), small = fp_select(swap, op2, op1);
  constexpr T one = T(T(1) << fp_F<T>);
  uint64_t x = uint64_t(fp_frac(big) | one) << 3, y = uint64_t(fp_frac(small) | one) << 3;
  y = fp_shr_sticky(y, fp_exp(big) - fp_exp(small));
  uint64_t sum = fp_sign(big) == fp_sign(small) ? x + y : x - y;
  if (sum == 0) return fp_zero<T>((mode & MODE_RMODE) == 2);
  return fp_round_wide<T>(fp_sign(big), fp_exp(big) - fp_F<T> - 3, sum, mode & MODE_RMODE, mode, flags);
}

template <class T> [[gnu::always_inline]] inline T add(T op1, T op2, bool negate_op2, int mode, int* flags) {
  if (!(fp_normal(op1) & fp_normal(op2))) [[unlikely]]
    return add_special(op1, op2, negate_op2, mode, flags);
  return add_normal(op1, T(op2 ^ (negate_op2 ? fp_sign_bit<T> : T(0))), mode, flags);
}

}  // namespace

template <class T> T fp_add(T op1, T op2, bool negate_op2, int mode, int* flags) {
  return add(op1, op2, negate_op2, mode, flags);
}

template <class T> T FPAdd(T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) { return add(op1, op2, false, mode, flags); });
}

template <class T> T FPSub(T op1, T op2, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) { return add(op1, op2, true, mode, flags); });
}

#define SVE_FP_INSTANTIATE(T)                                  \
  template T fp_add<T>(T, T, bool, int, int*);                 \
  template T FPAdd<T>(T, T, FPSCR&);                           \
  template T FPSub<T>(T, T, FPSCR&);
SVE_FP_INSTANTIATE(unsigned short)
SVE_FP_INSTANTIATE(unsigned int)
SVE_FP_INSTANTIATE(unsigned long)
#undef SVE_FP_INSTANTIATE

}  // namespace sve
