// SDIV, UDIV and the reversed SDIVR, UDIVR (32- and 64-bit elements).
// A zero divisor gives 0; a signed divisor of -1 negates (so the most negative
// value divided by -1 is itself) without reaching the host's overflow trap.
#include <cmath>

#include "sve/decode/routes.h"
#include "sve/int/wrap.h"

namespace sve {
namespace {

// 32-bit elements divide through double, branch-free so that the host
// vectorises it: the correctly rounded quotient of integers below 2^32 is
// within 2^-21/|d| of the true one, less than the 1/|d| that separates a
// non-integer quotient from the next integer, so truncating it is exact.
// Divisors whose result is not a quotient in the signed conversion's range
// divide by a stand-in and have their result selected with masks afterwards
// (selects written as branches would keep the possibly trapping conversion
// from vectorising).
constexpr double kTwo31 = 2147483648.0;
// Unsigned values through the signed conversion that every host vectorises:
// x with its top bit flipped, read as signed, plus 2^31.
inline double from_u32(uint32_t x) { return double(int32_t(x ^ 0x80000000u)) + kTwo31; }
// Unsigned: a divisor of 0 or 1 gives 0 or n; any other divisor leaves a
// quotient below 2^31.
inline uint32_t unsigned_quotient(uint32_t n, uint32_t d) {
  uint32_t small = 0u - uint32_t((d & ~1u) == 0);
  uint32_t q = uint32_t(int32_t(from_u32(n) / from_u32(d | (small & 2u))));
  return (q & ~small) | (n & small & (0u - d));
}
// Signed: the dividend over the divisor's magnitude, whose quotient always
// fits (the most negative value over 1 is itself), negated in wrapping
// arithmetic for a negative divisor: the most negative value over -1 is
// itself. A zero divisor divides by 1 and gives 0.
inline uint32_t signed_quotient(int32_t n, int32_t d) {
  uint32_t zero = 0u - uint32_t(d == 0);
  uint32_t q = uint32_t(int32_t(double(n) / std::fabs(double(int32_t(uint32_t(d) - zero)))));
  uint32_t neg = uint32_t(d >> 31);
  return ((q ^ neg) - neg) & ~zero;
}
template <class T> inline T divide(T n, T d) {
  if constexpr (sizeof(T) == 4) {
    if constexpr (std::is_signed_v<T>) return T(signed_quotient(n, d));
    else return unsigned_quotient(n, d);
  } else {
    if (d == 0) return 0;
    if constexpr (std::is_signed_v<T>)
      if (d == -1) return wrap_sub(T(0), n);
    return T(n / d);
  }
}
struct Div {
  static constexpr bool kScalarAt64 = true;
  template <class T> T operator()(T a, T b) const { return divide(a, b); }
};
struct DivR {
  static constexpr bool kScalarAt64 = true;
  template <class T> T operator()(T a, T b) const { return divide(b, a); }
};

}  // namespace
}  // namespace sve

using namespace sve;

#define SVE_DIV_EXEC(NAME, SIGNED, OP)                                                                     \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zdn, aarch64_p_reg pg, aarch64_z_reg zm) { \
    return by_esize_div<SIGNED>(zdn.esize, [&](auto t) {                                                    \
      return fixed_zpz_whole<typename decltype(t)::type>(s, zdn.num, pg.num, zm.num, OP{});                      \
    });                                                                                                     \
  }
SVE_DIV_EXEC(sve_sdiv_zpz, true, Div)
SVE_DIV_EXEC(sve_udiv_zpz, false, Div)
SVE_DIV_EXEC(sve_sdivr_zpz, true, DivR)
SVE_DIV_EXEC(sve_udivr_zpz, false, DivR)

namespace {
const HandlerDef kDivideHandlers[] = {
    SVE_DEF(S32, DivVVM, h_zpz, &sve_sdiv_zpz),   SVE_DEF(S64, DivVVM, h_zpz, &sve_sdiv_zpz),
    SVE_DEF(U32, DivVVM, h_zpz, &sve_udiv_zpz),   SVE_DEF(U64, DivVVM, h_zpz, &sve_udiv_zpz),
    SVE_DEF(S32, DivRVVM, h_zpz, &sve_sdivr_zpz), SVE_DEF(S64, DivRVVM, h_zpz, &sve_sdivr_zpz),
    SVE_DEF(U32, DivRVVM, h_zpz, &sve_udivr_zpz), SVE_DEF(U64, DivRVVM, h_zpz, &sve_udivr_zpz),
};
}  // namespace
std::span<const HandlerDef> divide_handlers() { return kDivideHandlers; }
