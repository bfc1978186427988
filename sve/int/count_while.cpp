// WHILELT, WHILELE (signed), WHILELO, WHILELS (unsigned) on W or X registers.
// LT, LO and LS run fixed length; LE runs length agnostic.
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

// Rn compared with Rm at `bits` as signed or unsigned values (LT or LE).
template <bool Unsigned, bool OrEqual> struct WhileCond {
  int bits;
  bool operator()(uint64_t a, uint64_t b) const {
    int sh = 64 - bits;
    if (Unsigned) {
      a = (a << sh) >> sh;
      b = (b << sh) >> sh;
      return OrEqual ? a <= b : a < b;
    }
    int64_t x = int64_t(a << sh) >> sh, y = int64_t(b << sh) >> sh;
    return OrEqual ? x <= y : x < y;
  }
};

// Element e is true while the condition held for Rn + 0 .. Rn + e (Rn
// incremented at its own width); set(e, v) receives each of the n elements.
template <class Cond, class Set> inline void while_walk(int n, uint64_t rn, uint64_t rm, Cond cond, Set set) {
  bool run = true;
  for (int e = 0; e < n; ++e) {
    run = run && cond(rn, rm);
    set(e, run);
    ++rn;
  }
}

// The number of leading true elements of n, in closed form: the condition
// first fails at Rn + (Rm - Rn) (+ 1 for the or-equal forms), and Rn cannot
// wrap at its width before it gets there, except when an or-equal bound is
// the largest value: every value passes it, and so does every element.
template <bool Unsigned, bool OrEqual> int while_count(uint64_t a, uint64_t b, int bits, int n) {
  int sh = 64 - bits;
  unsigned __int128 span;
  if (Unsigned) {
    a = (a << sh) >> sh;
    b = (b << sh) >> sh;
    if (OrEqual ? a > b : a >= b) return 0;
    if (OrEqual && b == ~uint64_t(0) >> sh) return n;
    span = (unsigned __int128)(b - a) + OrEqual;
  } else {
    int64_t x = int64_t(a << sh) >> sh, y = int64_t(b << sh) >> sh;
    if (OrEqual ? x > y : x >= y) return 0;
    if (OrEqual && y == int64_t(~uint64_t(0) >> (sh + 1))) return n;
    span = (unsigned __int128)(__int128(y) - x) + OrEqual;
  }
  return span < unsigned(n) ? int(span) : n;
}

// The leading elements are true; the flags are the predicate test of the
// result against an all-true predicate: N = first element, Z = none, C = not
// the last (V clear).
template <bool Unsigned, bool OrEqual>
[[gnu::always_inline]] inline aarch64_decode_rc while_fixed(cpu_state* s, aarch64_p_reg pd, aarch64_i_reg rn,
                                                            aarch64_i_reg rm, int bits) {
  const int n = SVE_VL_BYTES >> pd.esize;
  int count = while_count<Unsigned, OrEqual>(read_reg(s, rn), read_reg(s, rm), bits, n);
  leading_lanes(s->p[pd.num], pd.esize, count);
  s->nzcv = with_nzcv(s->nzcv, leading_run_test(count, n));
  return DECODE_OK;
}

// Routine of the length-agnostic form: result map d; flags against an
// all-true predicate at the element width, as in the fixed form.
template <class T, int Bits>
void whilele_routine(PredV* d, uint64_t rn, uint64_t rm, CpuContext* c) {
  constexpr int E = int(sizeof(T));
  int n = agnostic_elems<T>(c), count = while_count<false, true>(rn, rm, Bits, n);
  *d = leading_elements(count, E);
  set_context_nzcv(c, leading_run_test(count, n));
}
using AgnosticWhile = void (*)(PredV*, uint64_t, uint64_t, CpuContext*);

}  // namespace
}  // namespace sve

SVE_EXECUTORS_BEGIN
SVE_EXECUTOR aarch64_decode_rc sve_whilelt_prr(cpu_state* s, aarch64_p_reg pd, aarch64_i_reg rn, aarch64_i_reg rm,
                                              int bits) {
  return sve::while_fixed<false, false>(s, pd, rn, rm, bits);
}
SVE_EXECUTOR aarch64_decode_rc sve_whilelo_prr(cpu_state* s, aarch64_p_reg pd, aarch64_i_reg rn, aarch64_i_reg rm,
                                              int bits) {
  return sve::while_fixed<true, false>(s, pd, rn, rm, bits);
}
SVE_EXECUTOR aarch64_decode_rc sve_whilels_prr(cpu_state* s, aarch64_p_reg pd, aarch64_i_reg rn, aarch64_i_reg rm,
                                              int bits) {
  return sve::while_fixed<true, true>(s, pd, rn, rm, bits);
}
SVE_EXECUTORS_END

#define SVE_WHILELE_EXPORT(T, ...)                                                                  \
  extern "C" void Vec##T##While4LESS(PredV* d, uint64_t n, uint64_t m, CpuContext* c) {             \
    sve::whilele_routine<sve::ty::T, 32>(d, n, m, c);                                               \
  }                                                                                                 \
  extern "C" void Vec##T##While8LESS(PredV* d, uint64_t n, uint64_t m, CpuContext* c) {             \
    sve::whilele_routine<sve::ty::T, 64>(d, n, m, c);                                               \
  }
SVE_FOR_S(SVE_WHILELE_EXPORT)

namespace sve {
namespace {

// Pd = bits 3-0, Rn = bits 9-5, Rm = bits 20-16.
using WhileExec = aarch64_decode_rc (*)(cpu_state*, aarch64_p_reg, aarch64_i_reg, aarch64_i_reg, int);
template <class T, WhileExec X, int Bits> aarch64_decode_rc while_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, preg<T>(field(w, 3, 0)), aarch64_i_reg{uint8_t(field(w, 9, 5))},
           aarch64_i_reg{uint8_t(field(w, 20, 16))}, Bits);
}
template <class T, AgnosticWhile R> aarch64_decode_rc whilele_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  CpuContext c = make_context_without_ffr(s);
  PredV d;
  R(&d, read_reg(s, aarch64_i_reg{uint8_t(field(w, 9, 5))}), read_reg(s, aarch64_i_reg{uint8_t(field(w, 20, 16))}),
    &c);
  unpack_leading(d, s->p[field(w, 3, 0)], kEsize<T>);
  finish_pred_context(s, c);
  return DECODE_OK;
}

}  // namespace
}  // namespace sve

#define SVE_WHILE_DEFS(TS, TU, ...)                                                        \
  SVE_DEF(TS, While4LTSS, sve::while_handler, &sve_whilelt_prr, 32),                       \
      SVE_DEF(TS, While8LTSS, sve::while_handler, &sve_whilelt_prr, 64),                   \
      SVE_DEF(TU, While4LTSS, sve::while_handler, &sve_whilelo_prr, 32),                   \
      SVE_DEF(TU, While8LTSS, sve::while_handler, &sve_whilelo_prr, 64),                   \
      SVE_DEF(TU, While4LESS, sve::while_handler, &sve_whilels_prr, 32),                   \
      SVE_DEF(TU, While8LESS, sve::while_handler, &sve_whilels_prr, 64),                   \
      SVE_AGN_DEF_T(TS, While4LESS, sve::whilele_handler), SVE_AGN_DEF_T(TS, While8LESS, sve::whilele_handler)

const HandlerDef kCountWhileHandlers[] = {
    SVE_WHILE_DEFS(S8, U8), SVE_WHILE_DEFS(S16, U16), SVE_WHILE_DEFS(S32, U32), SVE_WHILE_DEFS(S64, U64),
};
std::span<const HandlerDef> count_while_handlers() { return kCountWhileHandlers; }
