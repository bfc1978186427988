// FPRecipEstimate, FPRSqrtEstimate and FPRecpX. The estimates work on a
// 52-bit fraction field whatever the format, as the architecture does, and
// take their eight result bits from the integer estimate helpers.
#include <array>

#include "sve/fp/estimate.h"
#include "sve/int/helpers.h"

namespace sve {

namespace {

constexpr uint64_t kFrac52 = (uint64_t(1) << 52) - 1;

constexpr std::array<uint16_t, 256> kRecip = [] {
  std::array<uint16_t, 256> t{};
  for (int a = 256; a < 512; ++a) t[a - 256] = uint16_t(recip_estimate(a));
  return t;
}();
constexpr std::array<uint16_t, 384> kRSqrt = [] {
  std::array<uint16_t, 384> t{};
  for (int a = 128; a < 512; ++a) t[a - 128] = uint16_t(recip_sqrt_estimate(a));
  return t;
}();

// Magnitude so small that its reciprocal overflows: OFC, IXC, and infinity or
// the largest finite value by the rounding mode.
template <class T> T recip_overflow(int sign, int rm, int* flags) {
  *flags |= FLAG_OFC | FLAG_IXC;
  bool to_inf = rm == 0 || (rm == 1 && !sign) || (rm == 2 && sign);
  return to_inf ? fp_infinity<T>(sign) : fp_max_normal<T>(sign);
}

template <class T> T recip_estimate_finite(T op) {
  constexpr int F = fp_F<T>;
  int exp = fp_exp(op);
  uint64_t fraction = uint64_t(fp_frac(op)) << (52 - F);
  if (exp == 0) {
    if (!(fraction >> 51)) {
      exp = -1;
      fraction = (fraction << 2) & kFrac52;
    } else {
      fraction = (fraction << 1) & kFrac52;
    }
  }
  int result_exp = 2 * fp_bias<T> - 1 - exp;
  uint64_t est = kRecip[fraction >> 44];
  fraction = (est & 0xFF) << 44;
  if (result_exp == 0) {
    fraction = (uint64_t(1) << 51) | (fraction >> 1);
  } else if (result_exp == -1) {
    fraction = (uint64_t(1) << 50) | (fraction >> 2);
    result_exp = 0;
  }
  return fp_pack<T>(fp_sign(op), result_exp, T(fraction >> (52 - F)));
}

template <class T> T rsqrt_estimate_finite(T op) {
  constexpr int F = fp_F<T>;
  int exp = fp_exp(op);
  uint64_t fraction = uint64_t(fp_frac(op)) << (52 - F);
  if (exp == 0) {
    int shift = std::countl_zero(fraction) - 12;  // bring the leading one to bit 51
    fraction <<= shift;
    exp -= shift;
    fraction = (fraction << 1) & kFrac52;
  }
  int scaled = (exp & 1) == 0 ? int(256 | (fraction >> 44)) : int(128 | (fraction >> 45));
  int result_exp = (3 * fp_bias<T> - 1 - exp) / 2;
  uint64_t est = kRSqrt[scaled - 128];
  return fp_pack<T>(0, result_exp, T((est & 0xFF) << (F - 8)));
}

}  // namespace

template <class T> T FPRecipEstimate(T op, FPSCR& fpscr) {
  int mode = fp_mode(fpscr), flags = 0;
  FPUnpacked<T> u = fp_unpack(op, mode, &flags);
  constexpr T tiny_mask = T(fp_exp_mask<T> | (T(3) << (fp_F<T> - 2)));
  T r;
  if (fp_process_nan(op, mode, &flags, &r)) {
  } else if (u.inf()) {
    r = fp_zero<T>(u.sign);
  } else if (u.zero()) {
    flags |= FLAG_DZC;
    r = fp_infinity<T>(u.sign);
  } else if ((op & tiny_mask) == 0) {
    r = recip_overflow<T>(u.sign, mode & MODE_RMODE, &flags);
  } else if (fp_flushes<T>(mode) && fp_exp(op) >= 2 * fp_bias<T> - 1) {
    flags |= FLAG_UFC;
    r = fp_zero<T>(u.sign);
  } else {
    r = recip_estimate_finite(op);
  }
  fpscr |= FPSCR(flags);
  return r;
}

template <class T> T FPRSqrtEstimate(T op, FPSCR& fpscr) {
  int mode = fp_mode(fpscr), flags = 0;
  FPUnpacked<T> u = fp_unpack(op, mode, &flags);
  T r;
  if (fp_process_nan(op, mode, &flags, &r)) {
  } else if (u.zero()) {
    flags |= FLAG_DZC;
    r = fp_infinity<T>(u.sign);
  } else if (u.sign) {
    flags |= FLAG_IOC;
    r = fp_default_nan<T>;
  } else if (u.inf()) {
    r = fp_zero<T>(0);
  } else {
    r = rsqrt_estimate_finite(op);
  }
  fpscr |= FPSCR(flags);
  return r;
}

// The exponent field inverted and the fraction cleared; zeros and denormals
// take the largest finite exponent.
template <class T> T FPRecpX(T op, FPSCR& fpscr) {
  int mode = fp_mode(fpscr), flags = 0;
  fp_unpack(op, mode, &flags);
  T r;
  if (!fp_process_nan(op, mode, &flags, &r)) {
    int exp = fp_exp(op);
    r = fp_pack<T>(fp_sign(op), exp == 0 ? fp_emax<T> - 1 : ~exp & fp_emax<T>, 0);
  }
  fpscr |= FPSCR(flags);
  return r;
}

#define SVE_FP_INSTANTIATE(T)                     \
  template T FPRecipEstimate<T>(T, FPSCR&);       \
  template T FPRSqrtEstimate<T>(T, FPSCR&);       \
  template T FPRecpX<T>(T, FPSCR&);
SVE_FP_INSTANTIATE(unsigned short)
SVE_FP_INSTANTIATE(unsigned int)
SVE_FP_INSTANTIATE(unsigned long)
#undef SVE_FP_INSTANTIATE

}  // namespace sve
