// FPSqrt: an integer square root of the mantissa, scaled so that the root
// carries two bits beyond the rounding position, with a sticky bit for the
// remainder, rounded once.
#include <array>

#include "sve/fp/arith.h"
#include "sve/int/helpers.h"

namespace sve {

namespace {

// 1/sqrt seeds for the top nine bits 128..511 of a normalised radicand.
constexpr std::array<uint16_t, 384> kRSqrtSeed = [] {
  std::array<uint16_t, 384> t{};
  for (int a = 128; a < 512; ++a) t[a - 128] = uint16_t(recip_sqrt_estimate(a));
  return t;
}();

uint64_t mulhi_shift(uint64_t a, uint64_t b, int shift) { return uint64_t((fp_u128(a) * b) >> shift); }

// floor(sqrt(x)) for 0 < x < 2^120 (W = fp_u128) or 2^62 (W = uint64_t):
// Newton iterations on 1/sqrt in 1.63 fixed point from an eight-bit seed, each
// doubling the correct bits, then an exact correction of the last unit.
template <class W> W isqrt(W x, int iterations) {
  int z = fp_clz(fp_u128(x)) & ~1;
  uint64_t a = uint64_t((fp_u128(x) << z) >> 64);  // 2.62 fixed point in [1, 4)
  uint64_t y = uint64_t(kRSqrtSeed[(a >> 55) - 128]) << 54;
  for (int i = 0; i < iterations; ++i) {
    uint64_t t = mulhi_shift(a, mulhi_shift(y, y, 63), 62);
    y = mulhi_shift(y, (uint64_t(3) << 62) - (t >> 1), 63);
  }
  W r = W(((fp_u128(a) * y) >> 62) >> (z / 2));
  while (r * r > x) --r;
  while ((r + 1) * (r + 1) <= x) ++r;
  return r;
}

// A positive operand with its leading one at bit F.
template <class T> [[gnu::always_inline]] inline T sqrt_finite(FPUnpacked<T> a, int mode, int* flags) {
  constexpr int F = fp_F<T>;
  int e = a.exp - fp_bias<T> - F;  // value = mnt * 2^e
  int k = F + 4 + ((e - F - 4) & 1);
  // Half and single roots fit 64-bit arithmetic and need fewer iterations.
  using W = typename FPFormat<T>::Wide;
  W x = W(a.mnt) << k;
  W r = isqrt(x, fp_N<T> == 16 ? 1 : fp_N<T> == 32 ? 2 : 3);
  uint64_t root = uint64_t(r) | uint64_t(r * r != x);
  return fp_round_wide<T>(0, fp_bias<T> + (e - k) / 2, root, mode & MODE_RMODE, mode, flags);
}

template <class T> [[gnu::noinline]] T sqrt_special(T op, int mode, int* flags) {
  FPUnpacked<T> a = fp_unpack(op, mode, flags);
  T nan;
  if (fp_process_nan(op, mode, flags, &nan)) return nan;
  if (a.zero()) return fp_zero<T>(a.sign);
  if (a.sign) {
    *flags |= FLAG_IOC;
    return fp_default_nan<T>;
  }
  if (a.inf()) return op;
  fp_normalise(a);
  return sqrt_finite(a, mode, flags);
}

template <class T> T fp_sqrt(T op, int mode, int* flags) {
  if (!fp_normal(op) || fp_sign(op)) [[unlikely]]
    return sqrt_special(op, mode, flags);
  return sqrt_finite(fp_unpack_normal(op), mode, flags);
}

}  // namespace

template <class T> T FPSqrt(T op, FPSCR& fpscr) {
  return with_fpscr(fpscr, [&](int mode, int* flags) { return fp_sqrt(op, mode, flags); });
}

template unsigned short FPSqrt<unsigned short>(unsigned short, FPSCR&);
template unsigned int FPSqrt<unsigned int>(unsigned int, FPSCR&);
template unsigned long FPSqrt<unsigned long>(unsigned long, FPSCR&);

}  // namespace sve
