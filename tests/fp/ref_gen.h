// Random operands for the reference comparison, weighted to the values where
// floating-point implementations go wrong: signed zeros, infinities, quiet and
// signalling NaNs with payloads, denormals, the edges of overflow and
// underflow, and short mantissas that make exact results and ties likely.
#pragma once
#include <cstdint>
#include <random>

#include "sve/fp/arith.h"
#include "tests/common/ref_options.h"

namespace fpref {

using namespace sve;

using refcommon::Rng;

// A fraction whose low bits are mostly zero.
template <class T> T short_frac(Rng& r) {
  int keep = r.below(fp_F<T> + 1);
  T f = T(r.next() & fp_frac_mask<T>);
  f = T(f & ~T((T(1) << (fp_F<T> - keep)) - 1));
  if (r.chance(20)) f = T(f | 1);
  return f;
}

template <class T> T clamp_exp(int e) { return T(e < 0 ? 0 : e > fp_emax<T> ? fp_emax<T> : e); }

template <class T> T edge(Rng& r) {
  constexpr int emax = fp_emax<T>, bias = fp_bias<T>, F = fp_F<T>;
  int s = r.below(2);
  T q = fp_quiet_bit<T>;
  switch (r.below(13)) {
    case 0: return fp_zero<T>(s);
    case 1: return fp_infinity<T>(s);
    case 2: return fp_pack<T>(s, emax, T(q | (r.next() & (q - 1))));
    case 3: {
      T f = T(r.next() & (q - 1));
      return fp_pack<T>(s, emax, f ? f : T(1));
    }
    case 4: return fp_pack<T>(s, 0, T(short_frac<T>(r) | 1));
    case 5: return fp_pack<T>(s, 0, T(r.next() & fp_frac_mask<T>));
    case 6: return T(fp_max_normal<T>(s) - T(r.below(3)));
    case 7: return fp_pack<T>(s, bias + r.below(7) - 3, short_frac<T>(r));
    case 8: return fp_pack<T>(s, emax - 1 - r.below(3), short_frac<T>(r));
    case 9: return fp_pack<T>(s, 1 + r.below(F + 3) / 2, short_frac<T>(r));
    case 10: return fp_pack<T>(s, r.below(emax), short_frac<T>(r));
    case 11: return fp_pack<T>(s, 1 + r.below(emax - 1), T(r.next() & fp_frac_mask<T>));
    default: return T(r.next());
  }
}

// A second operand near the first: its negation (cancellation), the same
// value, a neighbour, or a value a few binades away (ties in a sum).
template <class T> T related(Rng& r, T a) {
  int d = r.below(2 * fp_F<T> + 7) - fp_F<T> - 3;
  switch (r.below(5)) {
    case 0: return FPNeg(a);
    case 1: return a;
    case 2: return T(a + T(r.below(5)) - 2);
    case 3: return fp_pack<T>(r.below(2), clamp_exp<T>(fp_exp(a) + d), short_frac<T>(r));
    default: return fp_pack<T>(r.below(2), clamp_exp<T>(fp_exp(a) + d), fp_frac(a));
  }
}

template <class T> void gen1(Rng& r, uint64_t* ops) { ops[0] = edge<T>(r); }

template <class T> void gen2(Rng& r, uint64_t* ops) {
  T a = edge<T>(r);
  ops[0] = a;
  ops[1] = r.chance(40) ? related(r, a) : edge<T>(r);
}

// Addend, multiplicand, multiplicand; the addend is often near minus the
// product, for deep cancellation and exact zeros.
template <class T> void gen3(Rng& r, uint64_t* ops) {
  T b = edge<T>(r), c = r.chance(30) ? related(r, b) : edge<T>(r);
  T a = edge<T>(r);
  if (r.chance(50)) {
    int flags = 0;
    T p = fp_mul(b, c, false, 0, &flags);
    a = related(r, FPNeg(p));
  }
  ops[0] = a;
  ops[1] = b;
  ops[2] = c;
}

}  // namespace fpref

namespace fpref {

// A value of format From placed around the range of format To: near its
// overflow and underflow thresholds, with the low bits set around To's round bit.
template <class From, class To> void gen_narrow(Rng& r, uint64_t* ops) {
  if (r.chance(30)) return gen1<From>(r, ops);
  int te = r.below(fp_emax<To> + fp_F<To> + 6) - fp_F<To> - 3;
  int fe = te - fp_bias<To> + fp_bias<From>;
  int keep = fp_F<To> + r.below(4);
  From f = From(r.next() & fp_frac_mask<From>);
  if (r.chance(70) && keep < fp_F<From>) f = From(f & ~From((From(1) << (fp_F<From> - keep)) - 1));
  if (r.chance(15)) f = From(f | 1);
  ops[0] = fp_pack<From>(r.below(2), int(clamp_exp<From>(fe)), f);
}

// Values around the integer ranges: halves and quarters, and the edges of
// 16-, 32- and 64-bit integers.
template <class T> void gen_toint(Rng& r, uint64_t* ops) {
  if (r.chance(25)) return gen1<T>(r, ops);
  int e = fp_bias<T> + r.below(70) - 3;
  T f = r.chance(60) ? short_frac<T>(r) : T(fp_frac_mask<T> - T(r.below(2)));
  ops[0] = fp_pack<T>(r.below(2), int(clamp_exp<T>(e)), f);
}

// Integers of every length, often with trailing zeros (ties once rounded).
inline void gen_int(Rng& r, uint64_t* ops) {
  int n = r.below(65);
  uint64_t v = n == 0 ? 0 : r.next() >> (64 - n);
  if (r.chance(50) && n > 2) v &= ~((uint64_t(1) << r.below(n - 1)) - 1);
  if (r.chance(20)) v |= 1;
  switch (r.below(8)) {
    case 0: v = uint64_t(0) - v; break;
    case 1: v = uint64_t(int64_t(int32_t(uint32_t(v)))); break;
    case 2: v = uint64_t(int64_t(int16_t(uint16_t(v)))); break;
    case 3: v = (uint64_t(1) << r.below(64)) - uint64_t(r.below(3)); break;
    default: break;
  }
  ops[0] = v;
}

}  // namespace fpref
