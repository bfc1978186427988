#include "sve/fp/round.h"

namespace sve {

namespace {

// Error class of the bits below the kept mantissa: 0 exact, 1 below half,
// 2 exactly half, 3 above half.
constexpr int error_class(uint64_t rem, int width) {
  if (rem == 0) return 0;
  uint64_t half = uint64_t(1) << (width - 1);
  return rem < half ? 1 : rem == half ? 2 : 3;
}

}  // namespace

template <class T> T fp_round_slow(int sign, int exp, T frac, int rm, int mode, int* flags) {
  constexpr int N = fp_N<T>, F = fp_F<T>, drop = N - F - 1;
  if (fp_flushes<T>(mode) && exp < 1) {
    *flags |= FLAG_UFC;
    return fp_zero<T>(sign);
  }
  // One, F fraction bits, a round bit and a sticky bit.
  uint64_t x = (uint64_t(1) << (F + 2)) | (uint64_t(frac >> drop) << 1) |
               uint64_t((frac & ((T(1) << drop) - 1)) != 0);
  uint64_t mnt;
  int err;
  if (exp >= 1) {
    mnt = x >> 2;
    err = int(x & 3);
  } else {
    int shift = 3 - exp;  // the two low bits plus (1 - exp) places
    if (shift >= 64) {
      mnt = 0;
      err = 1;
    } else {
      mnt = x >> shift;
      err = error_class(x & ((uint64_t(1) << shift) - 1), shift);
    }
    exp = 0;
    if (err) *flags |= FLAG_UFC;
  }
  bool up = (rm == 0 && (err == 3 || (err == 2 && (mnt & 1)))) || (rm == 1 && !sign && err) ||
            (rm == 2 && sign && err);
  if (up) {
    ++mnt;
    if (exp == 0 && mnt == (uint64_t(1) << F)) {
      exp = 1;
    } else if (mnt == (uint64_t(2) << F)) {
      ++exp;
      mnt >>= 1;
    }
  }
  if (rm == 5 && err) mnt |= 1;
  if (N == 16 && (mode & MODE_AHP)) {
    if (exp > fp_emax<T>) {
      *flags |= FLAG_IOC;
      return T(fp_zero<T>(sign) | 0x7FFF);
    }
  } else if (exp >= fp_emax<T>) {
    *flags |= FLAG_OFC | FLAG_IXC;
    bool to_inf = rm == 0 || (rm == 1 && !sign) || (rm == 2 && sign);
    return to_inf ? fp_infinity<T>(sign) : fp_max_normal<T>(sign);
  }
  if (err) *flags |= FLAG_IXC;
  return fp_pack<T>(sign, exp, T(mnt & fp_frac_mask<T>));
}

template unsigned short fp_round_slow<unsigned short>(int, int, unsigned short, int, int, int*);
template unsigned int fp_round_slow<unsigned int>(int, int, unsigned int, int, int, int*);
template unsigned long fp_round_slow<unsigned long>(int, int, unsigned long, int, int, int*);

unsigned short fp16_round_(int sign, int exp, unsigned short frac, int rm, int mode, int* flags) {
  return fp_round<unsigned short>(sign, exp, frac, rm, mode, flags);
}
unsigned int fp32_round_(int sign, int exp, unsigned int frac, int rm, int mode, int* flags) {
  return fp_round<unsigned int>(sign, exp, frac, rm, mode, flags);
}
unsigned long fp64_round_(int sign, int exp, unsigned long frac, int rm, int mode, int* flags) {
  return fp_round<unsigned long>(sign, exp, frac, rm, mode, flags);
}

}  // namespace sve
