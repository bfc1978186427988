// FPMax, FPMin and the number-preferring FPMaxNum, FPMinNum.
#include "sve/fp/compare.h"

namespace sve {

namespace {

template <class T> T select(T op1, T op2, bool want_max, FPSCR& fpscr) {
  int mode = fp_mode(fpscr), flags = 0;
  T a = fp_flushed(op1, mode, &flags), b = fp_flushed(op2, mode, &flags);
  T r;
  if (!fp_process_nans(op1, op2, mode, &flags, &r)) {
    T ma = T(a & ~fp_sign_bit<T>), mb = T(b & ~fp_sign_bit<T>);
    int sa = fp_sign(a), sb = fp_sign(b);
    bool a_larger = sa != sb ? sb : (ma > mb) != bool(sa);  // a > b, or a is +0 against -0
    if (sa == sb && ma == mb) a_larger = true;
    r = a_larger == want_max ? a : b;
  }
  fpscr |= FPSCR(flags);
  return r;
}

// A quiet NaN facing a non-quiet-NaN becomes the infinity that never wins.
template <class T> void prefer_numbers(T& op1, T& op2, bool want_max) {
  T loser = fp_infinity<T>(want_max);
  bool q1 = fp_is_qnan(op1), q2 = fp_is_qnan(op2);
  if (q1 && !q2) op1 = loser;
  if (!q1 && q2) op2 = loser;
}

}  // namespace

template <class T> T FPMax(T op1, T op2, FPSCR& fpscr) { return select(op1, op2, true, fpscr); }
template <class T> T FPMin(T op1, T op2, FPSCR& fpscr) { return select(op1, op2, false, fpscr); }
template <class T> T FPMaxNum(T op1, T op2, FPSCR& fpscr) {
  prefer_numbers(op1, op2, true);
  return select(op1, op2, true, fpscr);
}
template <class T> T FPMinNum(T op1, T op2, FPSCR& fpscr) {
  prefer_numbers(op1, op2, false);
  return select(op1, op2, false, fpscr);
}

#define SVE_FP_INSTANTIATE(T)                   \
  template T FPMax<T>(T, T, FPSCR&);            \
  template T FPMin<T>(T, T, FPSCR&);            \
  template T FPMaxNum<T>(T, T, FPSCR&);         \
  template T FPMinNum<T>(T, T, FPSCR&);
SVE_FP_INSTANTIATE(unsigned short)
SVE_FP_INSTANTIATE(unsigned int)
SVE_FP_INSTANTIATE(unsigned long)
#undef SVE_FP_INSTANTIATE

}  // namespace sve
