// Formats of the three carriers, classification, unpacking with flush to
// zero, NaN processing and the wide-integer helpers the operations share.
#pragma once
#include <bit>
#include <cstdint>

#include "sve/fp/fpscr.h"

namespace sve {

using fp_u128 = unsigned __int128;

constexpr int fp_clz(uint32_t x) { return std::countl_zero(x); }
constexpr int fp_clz(uint64_t x) { return std::countl_zero(x); }
constexpr int fp_clz(fp_u128 x) {
  uint64_t hi = uint64_t(x >> 64);
  return hi ? std::countl_zero(hi) : 64 + std::countl_zero(uint64_t(x));
}

template <class T> struct FPFormat;
template <> struct FPFormat<unsigned short> {
  static constexpr int N = 16, E = 5, F = 10;
  using Wide = uint64_t;  // holds an exact product
};
template <> struct FPFormat<unsigned int> {
  static constexpr int N = 32, E = 8, F = 23;
  using Wide = uint64_t;
};
template <> struct FPFormat<unsigned long> {
  static constexpr int N = 64, E = 11, F = 52;
  using Wide = fp_u128;
};

template <class T> constexpr int fp_N = FPFormat<T>::N;
template <class T> constexpr int fp_F = FPFormat<T>::F;
template <class T> constexpr int fp_emax = (1 << FPFormat<T>::E) - 1;  // all-ones exponent
template <class T> constexpr int fp_bias = (1 << (FPFormat<T>::E - 1)) - 1;
template <class T> constexpr T fp_sign_bit = T(T(1) << (fp_N<T> - 1));
template <class T> constexpr T fp_frac_mask = T((T(1) << fp_F<T>) - 1);
template <class T> constexpr T fp_quiet_bit = T(T(1) << (fp_F<T> - 1));
template <class T> constexpr T fp_exp_mask = T(T(fp_emax<T>) << fp_F<T>);
template <class T> constexpr T fp_default_nan = T(fp_exp_mask<T> | fp_quiet_bit<T>);
template <class T> constexpr T fp_max_finite = T(fp_exp_mask<T> - 1);

template <class T> constexpr T fp_pack(int sign, int exp, T frac) {
  return T((T(sign) << (fp_N<T> - 1)) | (T(exp) << fp_F<T>) | frac);
}
template <class T> constexpr T fp_zero(int sign) { return fp_pack<T>(sign, 0, 0); }
template <class T> constexpr T fp_infinity(int sign) { return fp_pack<T>(sign, fp_emax<T>, 0); }
template <class T> constexpr T fp_max_normal(int sign) { return T(fp_zero<T>(sign) | fp_max_finite<T>); }
template <class T> constexpr T fp_two(int sign) { return fp_pack<T>(sign, fp_bias<T> + 1, 0); }
template <class T> constexpr T fp_one(int sign) { return fp_pack<T>(sign, fp_bias<T>, 0); }

template <class T> constexpr int fp_sign(T x) { return int(x >> (fp_N<T> - 1)); }
template <class T> constexpr int fp_exp(T x) { return int((x >> fp_F<T>) & fp_emax<T>); }
template <class T> constexpr T fp_frac(T x) { return T(x & fp_frac_mask<T>); }
template <class T> constexpr bool fp_is_nan(T x) { return fp_exp(x) == fp_emax<T> && fp_frac(x) != 0; }
template <class T> constexpr bool fp_is_snan(T x) { return fp_is_nan(x) && !(x & fp_quiet_bit<T>); }
template <class T> constexpr bool fp_is_qnan(T x) { return fp_is_nan(x) && (x & fp_quiet_bit<T>); }
template <class T> constexpr bool fp_is_inf(T x) { return fp_exp(x) == fp_emax<T> && fp_frac(x) == 0; }

// Whether a denormal of this format is flushed under the mode word.
template <class T> constexpr bool fp_flushes(int mode) {
  return fp_N<T> == 16 ? (mode & MODE_FZ16) != 0 : (mode & MODE_FZ) != 0;
}

// An operand split into sign, working exponent and mantissa (implicit one at
// bit F for normals). Denormals take exponent 1; a flushed one has mantissa 0.
template <class T> struct FPUnpacked {
  int sign;
  int exp;
  T mnt;
  bool zero() const { return mnt == 0; }
  bool inf() const { return exp == fp_emax<T> && mnt == (T(1) << fp_F<T>); }
};

// Moves a denormal's leading one up to bit F, lowering the exponent (mnt != 0).
template <class T> constexpr void fp_normalise(FPUnpacked<T>& u) {
  int shift = fp_clz(uint64_t(u.mnt)) - (63 - fp_F<T>);
  u.mnt = T(u.mnt << shift);
  u.exp -= shift;
}

// Flushes a denormal under FZ (raising IDC) or FZ16 (silently).
template <class T> constexpr bool fp_flush_input(T x, int mode, int* flags) {
  if (fp_exp(x) != 0 || fp_frac(x) == 0 || !fp_flushes<T>(mode)) return false;
  if (fp_N<T> != 16) *flags |= FLAG_IDC;
  return true;
}

template <class T> constexpr FPUnpacked<T> fp_unpack(T x, int mode, int* flags) {
  int e = fp_exp(x);
  T m = fp_frac(x);
  if (e != 0) return {fp_sign(x), e, T(m | (T(1) << fp_F<T>))};
  if (fp_flush_input(x, mode, flags)) m = 0;
  return {fp_sign(x), 1, m};
}

// Normal numbers (neither zero, denormal, infinite nor NaN) need none of the
// special cases: the fast paths of the operations test for them first.
template <class T> constexpr bool fp_normal(T x) { return unsigned(fp_exp(x) - 1) < unsigned(fp_emax<T> - 1); }
template <class T> constexpr FPUnpacked<T> fp_unpack_normal(T x) {
  return {fp_sign(x), fp_exp(x), T(fp_frac(x) | (T(1) << fp_F<T>))};
}

// The value the unpacking reads: a flushed denormal becomes a zero of its sign.
template <class T> constexpr T fp_flushed(T x, int mode, int* flags) {
  return fp_flush_input(x, mode, flags) ? T(x & fp_sign_bit<T>) : x;
}

template <class T> constexpr T fp_nan_result(T x, int mode, int* flags) {
  if (fp_is_snan(x)) *flags |= FLAG_IOC;
  return (mode & MODE_DN) ? fp_default_nan<T> : T(x | fp_quiet_bit<T>);
}

// One operand: true and *out set when x is a NaN.
template <class T> constexpr bool fp_process_nan(T x, int mode, int* flags, T* out) {
  if (!fp_is_nan(x)) return false;
  *out = fp_nan_result(x, mode, flags);
  return true;
}

// Two operands: signalling NaNs first, then quiet, op1 before op2.
template <class T> constexpr bool fp_process_nans(T a, T b, int mode, int* flags, T* out) {
  if ((fp_exp(a) != fp_emax<T>) & (fp_exp(b) != fp_emax<T>)) return false;
  if (fp_is_snan(a)) return *out = fp_nan_result(a, mode, flags), true;
  if (fp_is_snan(b)) return *out = fp_nan_result(b, mode, flags), true;
  if (fp_is_nan(a)) return *out = fp_nan_result(a, mode, flags), true;
  if (fp_is_nan(b)) return *out = fp_nan_result(b, mode, flags), true;
  return false;
}

template <class T> constexpr bool fp_process_nans3(T a, T b, T c, int mode, int* flags, T* out) {
  if ((fp_exp(a) != fp_emax<T>) & (fp_exp(b) != fp_emax<T>) & (fp_exp(c) != fp_emax<T>)) return false;
  if (fp_is_snan(a)) return *out = fp_nan_result(a, mode, flags), true;
  if (fp_is_snan(b)) return *out = fp_nan_result(b, mode, flags), true;
  if (fp_is_snan(c)) return *out = fp_nan_result(c, mode, flags), true;
  if (fp_is_nan(a)) return *out = fp_nan_result(a, mode, flags), true;
  if (fp_is_nan(b)) return *out = fp_nan_result(b, mode, flags), true;
  if (fp_is_nan(c)) return *out = fp_nan_result(c, mode, flags), true;
  return false;
}

// ---- wide-integer helpers ----

template <class W> constexpr int fp_width = int(sizeof(W) * 8);


// a when pick is false, else b; by masks, for data-dependent choices that
// would otherwise be mispredicted branches.
template <class W> constexpr W fp_select(bool pick, W a, W b) {
  W m = W(0) - W(pick);
  return W(a ^ ((a ^ b) & m));
}

// x >> n with every bit shifted out ORed into bit 0, for x below 2^(width-1)
// (n <= 0 leaves x); without branches, as the shift is data-dependent.
template <class W> constexpr W fp_shr_sticky(W x, int n) {
  n = n < 0 ? 0 : n < fp_width<W> - 1 ? n : fp_width<W> - 1;
  return W((x >> n) | W((x & ((W(1) << n) - 1)) != 0));
}

// x >> n for n >= 0, with every bit shifted out ORed into bit 0 (x below
// 2^(width-1)).
template <class W> constexpr W fp_shr_sticky_nonneg(W x, int n) {
  n = n < fp_width<W> - 1 ? n : fp_width<W> - 1;
  W r = W(x >> n);
  return W(r | W(W(r << n) != x));
}

// The 128-bit one finds the sticky bit from the trailing zeros of x, which
// costs less than shifting back in two words.
constexpr fp_u128 fp_shr_sticky_nonneg(fp_u128 x, int n) {
  n = n < 127 ? n : 127;
  uint64_t lo = uint64_t(x);
  int tz = lo ? std::countr_zero(lo) : 64 + std::countr_zero(uint64_t(x >> 64));
  return (x >> n) | fp_u128(n > tz);
}

// From x with its leading one at the top bit, the fraction left-justified in
// T with the leading one removed and every lost bit ORed into bit 0: the
// mantissa argument of the rounding step.
template <class T, class W> constexpr T fp_fraction_of(W x) {
  W f = W(x << 1);
  if constexpr (fp_width<W> == fp_N<T>) {
    return T(f);
  } else {
    constexpr int drop = fp_width<W> - fp_N<T>;
    return T(T(f >> drop) | T(W(f << fp_N<T>) != 0));
  }
}

}  // namespace sve
