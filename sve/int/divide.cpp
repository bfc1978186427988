// SDIV, UDIV and the reversed SDIVR, UDIVR (32- and 64-bit elements).
// A zero divisor gives 0; a signed divisor of -1 negates (so the most negative
// value divided by -1 is itself) without reaching the host's overflow trap.
#include "sve/decode/routes.h"
#include "sve/int/wrap.h"

namespace sve {
namespace {

// 32-bit elements divide through double, branch-free so that the host
// vectorises it: the correctly rounded quotient of integers below 2^32 is
// within 2^-21/|d| of the true one, less than the 1/|d| that separates a
// non-integer quotient from the next integer, so truncating it is exact.
// Divisors 0 and (signed) -1 divide by 1 and have their result selected
// with masks afterwards (selects written as branches would keep the
// possibly trapping conversion from vectorising).
template <class T> constexpr T divide(T n, T d) {
  constexpr bool kSigned = std::is_signed_v<T>;
  if constexpr (sizeof(T) == 4) {
    using U = UnsignedOf<T>;
    U zero = U(U(0) - U(d == 0));
    U minus_one = kSigned ? U(U(0) - U(d == T(-1))) : U(0);
    U special = zero | minus_one;
    T safe = T((U(d) & ~special) | (U(1) & special));
    U q = U(T(double(n) / double(safe)));
    q = (q & ~minus_one) | (U(U(0) - U(n)) & minus_one);
    return T(q & ~zero);
  } else {
    if (d == 0) return 0;
    if constexpr (kSigned)
      if (d == -1) return wrap_sub(T(0), n);
    return T(n / d);
  }
}
struct Div {
  template <class T> T operator()(T a, T b) const { return divide(a, b); }
};
struct DivR {
  template <class T> T operator()(T a, T b) const { return divide(b, a); }
};

}  // namespace
}  // namespace sve

using namespace sve;

#define SVE_DIV_EXEC(NAME, SIGNED, OP)                                                                     \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zdn, aarch64_p_reg pg, aarch64_z_reg zm) { \
    return by_esize_div<SIGNED>(zdn.esize, [&](auto t) {                                                    \
      return fixed_zpz<typename decltype(t)::type>(s, zdn.num, pg.num, zm.num, OP{});                      \
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
