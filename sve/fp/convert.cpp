// FPConvert between half, single and double.
#include "sve/fp/convert.h"

#include "sve/fp/round.h"

namespace sve {

namespace {

// NaN input: the default NaN under DN, else the sign and the payload moved to
// the target's fraction with the quiet bit set.
template <class To, class From> To convert_nan(From op, int mode, int* flags) {
  if (fp_is_snan(op)) *flags |= FLAG_IOC;
  if (mode & MODE_DN) return fp_default_nan<To>;
  constexpr int d = fp_F<To> - fp_F<From>;
  uint64_t f = fp_frac(op);
  To payload = To(d >= 0 ? f << (d & 63) : f >> (-d & 63));
  return fp_pack<To>(fp_sign(op), fp_emax<To>, To(payload | fp_quiet_bit<To>));
}

}  // namespace

template <class To, class From> To FPConvert(From op, FPRounding rm, FPSCR& fpscr) {
  constexpr bool to_half = fp_N<To> == 16, from_half = fp_N<From> == 16;
  int full = fp_mode(fpscr), flags = 0;
  // Half targets use the alternative format under AHP and are never flushed;
  // half sources are flushed under FZ16.
  int mode = (full & (MODE_RMODE | MODE_FZ | MODE_DN)) | (to_half && (fpscr & FPSCR_AHP) ? MODE_AHP : 0);
  bool ahp = (fpscr & FPSCR_AHP) != 0;
  int sign = fp_sign(op);
  To r;
  if (fp_exp(op) == fp_emax<From> && !(from_half && ahp)) {
    if (fp_frac(op) == 0) {
      if (to_half && ahp) flags |= FLAG_IOC;
      r = to_half && ahp ? To(fp_zero<To>(sign) | 0x7FFF) : fp_infinity<To>(sign);
    } else if (to_half && ahp) {
      flags |= FLAG_IOC;
      r = fp_zero<To>(sign);
    } else {
      r = convert_nan<To>(op, mode, &flags);
    }
  } else {
    FPUnpacked<From> u = fp_unpack(op, full, &flags);
    if (u.zero()) {
      r = fp_zero<To>(sign);
    } else {
      fp_normalise(u);
      uint64_t top = uint64_t(u.mnt) << (63 - fp_F<From>);
      r = fp_round<To>(sign, u.exp - fp_bias<From> + fp_bias<To>, fp_fraction_of<To>(top), rm, mode, &flags);
    }
  }
  fpscr |= FPSCR(flags);
  return r;
}

template unsigned int FPConvert<unsigned int, unsigned short>(unsigned short, FPRounding, FPSCR&);
template unsigned long FPConvert<unsigned long, unsigned short>(unsigned short, FPRounding, FPSCR&);
template unsigned long FPConvert<unsigned long, unsigned int>(unsigned int, FPRounding, FPSCR&);
template unsigned short FPConvert<unsigned short, unsigned int>(unsigned int, FPRounding, FPSCR&);
template unsigned short FPConvert<unsigned short, unsigned long>(unsigned long, FPRounding, FPSCR&);
template unsigned int FPConvert<unsigned int, unsigned long>(unsigned long, FPRounding, FPSCR&);

}  // namespace sve
