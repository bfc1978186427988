// FPAdd and FPSub: the cases with a zero, denormal, infinite or NaN operand.
#include "sve/fp/add.h"

namespace sve {

namespace {

// The sum of two finite operands, not both zeros of one sign.
template <class T> T add_finite(FPUnpacked<T> a, FPUnpacked<T> b, int mode, int* flags) {
  // Three guard bits; the operand with the smaller exponent loses bits to a
  // sticky bit.
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

}  // namespace

template <class T> [[gnu::noinline]] T fp_add_special(T op1, T op2, bool negate_op2, int mode, int* flags) {
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

template unsigned short fp_add_special<unsigned short>(unsigned short, unsigned short, bool, int, int*);
template unsigned int fp_add_special<unsigned int>(unsigned int, unsigned int, bool, int, int*);
template unsigned long fp_add_special<unsigned long>(unsigned long, unsigned long, bool, int, int*);

}  // namespace sve
