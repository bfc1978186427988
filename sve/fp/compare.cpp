// FPCompareEQ/GE/GT/UN and FPCompare. Operands are compared after flushing,
// as sign and magnitude: raw magnitudes order like the values they encode.
#include "sve/fp/compare.h"

namespace sve {

namespace {

// -1, 0 or 1 for op1 <, ==, > op2; neither may be a NaN. Both already flushed.
template <class T> int order(T a, T b) {
  T ma = T(a & ~fp_sign_bit<T>), mb = T(b & ~fp_sign_bit<T>);
  if (ma == 0 && mb == 0) return 0;
  int sa = fp_sign(a), sb = fp_sign(b);
  if (sa != sb) return sa ? -1 : 1;
  int mag = ma < mb ? -1 : ma > mb ? 1 : 0;
  return sa ? -mag : mag;
}

// Flushes both operands and reports unordered operands, raising IOC when
// either is signalling or when every NaN signals.
template <class T> bool unordered(T& a, T& b, bool signal_nans, int mode, int* flags) {
  a = fp_flushed(a, mode, flags);
  b = fp_flushed(b, mode, flags);
  if (!fp_is_nan(a) && !fp_is_nan(b)) return false;
  if (signal_nans || fp_is_snan(a) || fp_is_snan(b)) *flags |= FLAG_IOC;
  return true;
}

template <class T> int compare(T a, T b, bool signal_nans, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) {
    return unordered(a, b, signal_nans, mode, flags) ? 2 : order(a, b);
  });
}

}  // namespace

template <class T> bool FPCompareEQ(T op1, T op2, FPSCR& fpscr) { return compare(op1, op2, false, fpscr) == 0; }
template <class T> bool FPCompareGE(T op1, T op2, FPSCR& fpscr) {
  int r = compare(op1, op2, true, fpscr);
  return r == 0 || r == 1;
}
template <class T> bool FPCompareGT(T op1, T op2, FPSCR& fpscr) { return compare(op1, op2, true, fpscr) == 1; }
template <class T> bool FPCompareUN(T op1, T op2, FPSCR& fpscr) { return compare(op1, op2, false, fpscr) == 2; }

template <class T> int FPCompare(T op1, T op2, bool signal_nans, FPSCR& fpscr) {
  static constexpr int kNZCV[4] = {8, 6, 2, 3};  // less, equal, greater, unordered
  return kNZCV[compare(op1, op2, signal_nans, fpscr) + 1];
}

#define SVE_FP_INSTANTIATE(T)                              \
  template bool FPCompareEQ<T>(T, T, FPSCR&);              \
  template bool FPCompareGE<T>(T, T, FPSCR&);              \
  template bool FPCompareGT<T>(T, T, FPSCR&);              \
  template bool FPCompareUN<T>(T, T, FPSCR&);              \
  template int FPCompare<T>(T, T, bool, FPSCR&);
SVE_FP_INSTANTIATE(unsigned short)
SVE_FP_INSTANTIATE(unsigned int)
SVE_FP_INSTANTIATE(unsigned long)
#undef SVE_FP_INSTANTIATE

}  // namespace sve
