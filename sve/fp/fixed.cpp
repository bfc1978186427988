// fplibFPToFixed and fplibFixedToFP: floating point to and from integers with
// fbits fraction bits.
#include "sve/fp/convert.h"
#include "sve/fp/round.h"

namespace sve {

namespace {

// Clamps a signed 128-bit value to the To width; true when clamped.
template <class To> bool saturate(__int128 v, bool is_unsigned, uint64_t* out) {
  constexpr int M = int(sizeof(To) * 8);
  __int128 lo = is_unsigned ? 0 : -(__int128(1) << (M - 1));
  __int128 hi = is_unsigned ? (__int128(1) << M) - 1 : (__int128(1) << (M - 1)) - 1;
  __int128 c = v < lo ? lo : v > hi ? hi : v;
  *out = uint64_t(c);
  return c != v;
}

}  // namespace

template <class From, class To>
To fplibFPToFixed(From op, int fbits, bool is_unsigned, FPRounding rm, FPSCR& fpscr) {
  int flags = 0;
  FPUnpacked<From> u = fp_unpack(op, fp_mode(fpscr), &flags);
  uint64_t out = 0;
  if (fp_is_nan(op)) {
    flags |= FLAG_IOC;
  } else if (!u.zero()) {
    int unbiased = u.exp - fp_bias<From>;
    __int128 value;
    int err = 0;
    if (u.inf() || unbiased + fbits >= 64) {
      value = __int128(1) << 64;  // beyond every width: saturates
    } else {
      FPIntPart p = fp_int_part(u.mnt, fp_F<From> - unbiased - fbits);
      err = p.err;
      value = __int128(p.magnitude) + fp_round_up_int(p.magnitude, err, u.sign, rm);
    }
    if (saturate<To>(u.sign ? -value : value, is_unsigned, &out)) flags |= FLAG_IOC;
    else if (err) flags |= FLAG_IXC;
  }
  fpscr |= FPSCR(flags);
  return To(out);
}

template <class T> T fplibFixedToFP(unsigned long op, int fbits, bool is_unsigned, FPRounding rm, FPSCR& fpscr) {
  if (op == 0) return fp_zero<T>(0);
  int sign = !is_unsigned && (op >> 63);
  uint64_t magnitude = sign ? uint64_t(0) - op : op;
  int mode = rm | int(fp_mode(fpscr) & (MODE_FZ | MODE_DN)), flags = 0;
  T r = fp_round_wide<T>(sign, fp_bias<T> - fbits, magnitude, rm, mode, &flags);
  fpscr |= FPSCR(flags);
  return r;
}

template unsigned short fplibFPToFixed<unsigned short, unsigned short>(unsigned short, int, bool, FPRounding, FPSCR&);
template unsigned int fplibFPToFixed<unsigned short, unsigned int>(unsigned short, int, bool, FPRounding, FPSCR&);
template unsigned int fplibFPToFixed<unsigned int, unsigned int>(unsigned int, int, bool, FPRounding, FPSCR&);
template unsigned int fplibFPToFixed<unsigned long, unsigned int>(unsigned long, int, bool, FPRounding, FPSCR&);
template unsigned long fplibFPToFixed<unsigned short, unsigned long>(unsigned short, int, bool, FPRounding, FPSCR&);
template unsigned long fplibFPToFixed<unsigned int, unsigned long>(unsigned int, int, bool, FPRounding, FPSCR&);
template unsigned long fplibFPToFixed<unsigned long, unsigned long>(unsigned long, int, bool, FPRounding, FPSCR&);

template unsigned short fplibFixedToFP<unsigned short>(unsigned long, int, bool, FPRounding, FPSCR&);
template unsigned int fplibFixedToFP<unsigned int>(unsigned long, int, bool, FPRounding, FPSCR&);
template unsigned long fplibFixedToFP<unsigned long>(unsigned long, int, bool, FPRounding, FPSCR&);

}  // namespace sve
