// The rounding step shared by every operation that rounds: one exact value,
// given as sign, biased exponent and the fraction left-justified in the
// carrier (leading one removed, lost bits ORed into bit 0), becomes the
// nearest representable value under the rounding mode, raising UFC, OFC, IXC
// (and IOC for an alternative-format half overflow) in *flags.
#pragma once
#include "sve/fp/format.h"

namespace sve {

// Denormal results, flushing, and the alternative half format.
template <class T> T fp_round_slow(int sign, int exp, T frac, int rm, int mode, int* flags);

// The rounding step on a value whose leading one is at bit 63 of n (every
// lost bit already ORed into bit 0). Normal results take a short path in
// 64-bit arithmetic: the rounding increment is added to the packed value, so
// a carry out of the fraction moves into the exponent and an overflow that
// rounds up lands exactly on infinity.
template <class T> inline T fp_round64(int sign, int exp, uint64_t n, int rm, int mode, int* flags) {
  constexpr int R = 63 - fp_F<T>;  // bits below the kept fraction
  if (exp < 1 || exp >= fp_emax<T> || (fp_N<T> == 16 && (mode & MODE_AHP)))
    return fp_round_slow(sign, exp, fp_fraction_of<T>(n), rm, mode, flags);
  uint64_t low = n & ((uint64_t(1) << R) - 1), half = uint64_t(1) << (R - 1);
  // The leading one is added into the exponent field, which holds exp - 1.
  T packed = T(fp_pack<T>(sign, exp - 1, 0) + T(n >> R));
  bool inexact = low != 0;
  T up;
  if (rm == 0) [[likely]]
    up = T((low + half - 1 + (packed & 1)) >> R);  // above half, or half and odd
  else
    up = T(inexact && ((rm == 1 && !sign) || (rm == 2 && sign)));
  packed = T(packed + up);
  if (rm == 5) packed = T(packed | T(inexact));
  if (inexact) *flags |= FLAG_IXC;
  // Only a round-up reaches the all-ones exponent, and only in the modes that overflow to infinity.
  if (fp_exp(packed) == fp_emax<T>) *flags |= FLAG_OFC | FLAG_IXC;
  return packed;
}

// The carrier form: frac is placed below a leading one at bit 63 (a 64-bit
// carrier's bit 0, already a sticky bit, is kept as one).
template <class T> inline T fp_round(int sign, int exp, T frac, int rm, int mode, int* flags) {
  uint64_t n = uint64_t(1) << 63;
  if constexpr (fp_N<T> == 64)
    n |= uint64_t(frac >> 1) | uint64_t(frac & 1);
  else
    n |= uint64_t(frac) << (63 - fp_N<T>);
  return fp_round64<T>(sign, exp, n, rm, mode, flags);
}

unsigned short fp16_round_(int sign, int exp, unsigned short frac, int rm, int mode, int* flags);
unsigned int fp32_round_(int sign, int exp, unsigned int frac, int rm, int mode, int* flags);
unsigned long fp64_round_(int sign, int exp, unsigned long frac, int rm, int mode, int* flags);

// Normalises a non-zero wide value x whose value is x * 2^scale_exp (scale_exp
// counted as a biased exponent of bit 0) and rounds it.
template <class T, class W>
inline T fp_round_wide(int sign, int scale_exp, W x, int rm, int mode, int* flags) {
  int lz = fp_clz(x);
  W n = W(x << lz);
  uint64_t top;
  if constexpr (fp_width<W> > 64)
    top = uint64_t(n >> 64) | uint64_t(uint64_t(n) != 0);
  else
    top = uint64_t(n) << (64 - fp_width<W>);
  return fp_round64<T>(sign, scale_exp + fp_width<W> - 1 - lz, top, rm, mode, flags);
}

}  // namespace sve
