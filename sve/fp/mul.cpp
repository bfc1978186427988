// FPMul and FPMulX: the cases with a zero, denormal, infinite or NaN operand.
#include "sve/fp/mul.h"

namespace sve {

template <class T> [[gnu::noinline]] T fp_mul_special(T op1, T op2, bool zero_times_inf_is_two, int mode, int* flags) {
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
  return fp_mul_finite(a, b, mode, flags);
}

template unsigned short fp_mul_special<unsigned short>(unsigned short, unsigned short, bool, int, int*);
template unsigned int fp_mul_special<unsigned int>(unsigned int, unsigned int, bool, int, int*);
template unsigned long fp_mul_special<unsigned long>(unsigned long, unsigned long, bool, int, int*);

}  // namespace sve
