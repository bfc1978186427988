// FPRoundInt: rounding to an integral value in the same format.
#include "sve/fp/convert.h"
#include "sve/fp/round.h"

namespace sve {

template <class T> T FPRoundInt(T op, FPRounding rm, bool exact, FPSCR& fpscr) {
  int mode = fp_mode(fpscr), flags = 0;
  FPUnpacked<T> u = fp_unpack(op, mode, &flags);
  T r;
  if (fp_process_nan(op, mode, &flags, &r)) {
  } else if (u.inf()) {
    r = op;
  } else if (u.zero()) {
    r = fp_zero<T>(u.sign);
  } else if (u.exp >= fp_bias<T> + fp_F<T>) {
    r = op;  // already integral
  } else {
    FPIntPart p = fp_int_part(u.mnt, fp_bias<T> + fp_F<T> - u.exp);
    uint64_t m = p.magnitude + fp_round_up_int(p.magnitude, p.err, u.sign, rm);
    r = m == 0 ? fp_zero<T>(u.sign) : fp_round_wide<T>(u.sign, fp_bias<T>, m, FPRounding_ZERO, mode, &flags);
    if (exact && p.err) flags |= FLAG_IXC;
  }
  fpscr |= FPSCR(flags);
  return r;
}

template unsigned short FPRoundInt<unsigned short>(unsigned short, FPRounding, bool, FPSCR&);
template unsigned int FPRoundInt<unsigned int>(unsigned int, FPRounding, bool, FPSCR&);
template unsigned long FPRoundInt<unsigned long>(unsigned long, FPRounding, bool, FPSCR&);

}  // namespace sve
