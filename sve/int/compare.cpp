// Integer compares into a predicate: CMPEQ, CMPNE, CMPGT, CMPGE, CMPLT,
// CMPLE, CMPHI, CMPHS, CMPLO, CMPLS against a vector, an immediate or the
// 64-bit elements of a vector (wide). Zeroing; the flags are the predicate
// test of the result under Pg.
#include <limits>

#include "sve/decode/routes.h"
#include "sve/int/flags.h"
#include "sve/int/wrap.h"

namespace sve {
namespace {

struct Eq {
  template <class T> bool operator()(T a, T b) const { return a == b; }
};
struct Ne {
  template <class T> bool operator()(T a, T b) const { return a != b; }
};
struct Gt {
  template <class T> bool operator()(T a, T b) const { return a > b; }
};
struct Ge {
  template <class T> bool operator()(T a, T b) const { return a >= b; }
};
struct Lt {
  template <class T> bool operator()(T a, T b) const { return a < b; }
};
struct Le {
  template <class T> bool operator()(T a, T b) const { return a <= b; }
};

// Element i of `mask` is all ones when rel(a[i], second(i)) holds, else 0.
template <class T, class Second, class Rel>
inline void compare_mask(uint8_t* __restrict mask, const uint8_t* a, int n, Second second, Rel rel) {
  using U = UnsignedOf<T>;
#pragma GCC unroll 16
  for (int i = 0; i < n; ++i) {
    auto b = second(i);
    set_elem<U>(mask, i, U(U(0) - U(rel(decltype(b)(elem<T>(a, i)), b))));
  }
}
// Second operands, read from `off` bytes into the vector.
template <class T> struct SameElem {
  const uint8_t* b;
  T operator()(int i) const { return elem<T>(b, i); }
  SameElem at(int off) const { return {b + off}; }
};
// The 64-bit element covering element i, signed or unsigned like T, clamped
// to one step beyond T's range in the next wider type: every relation of a T
// value with it is unchanged, and the compare runs at twice T's width
// instead of 64 bits.
template <class T> struct WideElem {
  using B = IntOf<8, std::is_signed_v<T>>;
  using W = IntOf<(sizeof(T) < 8 ? 2 * sizeof(T) : 8), std::is_signed_v<T>>;
  const uint8_t* b;
  W operator()(int i) const {
    B v = elem<B>(b, i * int(sizeof(T)) / 8);
    if constexpr (sizeof(T) < 8) {
      constexpr B lo = B(std::numeric_limits<T>::min()) - (std::is_signed_v<T> ? 1 : 0);
      constexpr B hi = B(std::numeric_limits<T>::max()) + 1;
      v = v < lo ? lo : v > hi ? hi : v;
    }
    return W(v);
  }
  WideElem at(int off) const { return {b + off}; }
};
template <class T> struct Splat {
  T v;
  T operator()(int) const { return v; }
  Splat at(int) const { return *this; }
};

// Sixteen bytes of the compare: `out` gets the E-byte integer 1 for each
// element whose governing lane is set and whose relation holds, 0 for the
// others. Returns the relation's map (bit k for byte k, set over whole
// elements), not yet governed. Governing lanes hold 0 or 1.
template <class T, class Second, class Rel>
inline uint64_t compare_chunk(uint8_t* out, const uint8_t* a, const uint8_t* g, Second second, Rel rel) {
  using U = UnsignedOf<T>;
  alignas(16) uint8_t mask[16], lanes[16];
  compare_mask<T>(mask, a, 16 / int(sizeof(T)), second, rel);
  const uint64_t map = sign_mask16(mask);
  // Byte lanes are 0 or 1 already; wider elements keep only their start lane.
  constexpr U kKeep = sizeof(T) == 1 ? U(~0u) : U(1);
#pragma GCC unroll 16
  for (int i = 0; i < 16 / int(sizeof(T)); ++i) set_elem<U>(lanes, i, U(elem<U>(mask, i) & elem<U>(g, i) & kKeep));
  std::memcpy(out, lanes, 16);
  return map;
}

// ---- fixed-length route ----
// Chunk by chunk into Pd's lanes, without maps; the flags are the predicate
// test of the result, with Pg's active ends found before Pd (which may be Pg)
// is written and whether any result lane is set gathered on the way.
template <class T, class Second, class Rel>
aarch64_decode_rc fixed_compare(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_z_reg zn, Second second,
                                Rel rel) {
  static_assert(SVE_VL_BYTES % 16 == 0);
  const uint8_t *a = s->z[zn.num], *g = s->p[pg.num];
  uint8_t* d = s->p[pd.num];
  const ActiveEnds ends = active_ends<int(sizeof(T))>(g);
  Lanes<uint8_t> any = {};
#pragma GCC unroll 8
  for (int k = 0; k < SVE_VL_BYTES / 16; ++k) {
    compare_chunk<T>(d + 16 * k, a + 16 * k, g + 16 * k, second.at(16 * k), rel);
    any |= load_lanes<uint8_t>(d + 16 * k);
  }
  s->nzcv = with_nzcv(s->nzcv, ptest_lanes(ends, d, any_set(any)));
  return DECODE_OK;
}

// ---- length-agnostic routines ----
// The governing lanes of each chunk are expanded from the packed map.
template <class T, class Second, class Rel>
void compare_packed(PredV* d, const uint8_t* a, const PredV* pg, Second second, CpuContext* c) {
  const int vl = vl_bytes(c);
  PredV r{};
  for (int off = 0; off < vl; off += 16) {
    alignas(16) uint8_t lanes[16], out[16];
    expand_word(pg->w[off / 64] >> (off % 64), lanes, 2);
    r.w[off / 64] |= compare_chunk<T>(out, a + off, lanes, second.at(off), Rel{}) << (off % 64);
  }
  // Governed, and kept at element starts.
  for (int w = 0; w < SVE_MAX_VL_BYTES / 64; ++w) r.w[w] &= pg->w[w] & element_starts(int(sizeof(T)));
  *d = r;
  PredSetNZCV(*pg, *d, kBits<T>, c);
}
template <class T, template <class> class Second, class Rel>
void compare_routine(PredV* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  compare_packed<T, Second<T>, Rel>(d, a, pg, Second<T>{b}, c);
}
template <class T, class Rel>
void compare_imm_routine(PredV* d, const uint8_t* a, const PredV* pg, uint64_t imm, CpuContext* c) {
  compare_packed<T, Splat<T>, Rel>(d, a, pg, Splat<T>{T(imm)}, c);
}

// Pd = bits 3-0, Zn = bits 9-5, Pg = bits 12-10 (zeroing), Zm = bits 20-16.
template <class T, auto Exec> aarch64_decode_rc h_ppzz(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, preg<T>(field(w, 3, 0)), preg<T>(field(w, 12, 10), true), zreg<T>(field(w, 9, 5)),
              zreg<T>(field(w, 20, 16)));
}
// Signed compares take imm5 = bits 20-16 sign-extended; unsigned ones imm7 = bits 20-14.
template <class T> constexpr int64_t compare_imm(uint32_t w) {
  return std::is_signed_v<T> ? sfield(w, 20, 16) : int64_t(field(w, 20, 14));
}
template <class T, auto Exec> aarch64_decode_rc h_ppzi(cpu_state* s, unsigned w) {
  s->insn = w;
  using Imm = std::conditional_t<std::is_signed_v<T>, int, unsigned>;
  return Exec(s, preg<T>(field(w, 3, 0)), preg<T>(field(w, 12, 10), true), zreg<T>(field(w, 9, 5)),
              Imm(compare_imm<T>(w)));
}
template <AgnosticPV R> aarch64_decode_rc h_agn_ppzz(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_pv(s, field(w, 3, 0), field(w, 9, 5), field(w, 12, 10), field(w, 20, 16), R);
}
template <class T, AgnosticPI R> aarch64_decode_rc h_agn_ppzi(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_pi(s, field(w, 3, 0), field(w, 9, 5), field(w, 12, 10), uint64_t(compare_imm<T>(w)), R);
}

}  // namespace
}  // namespace sve

using namespace sve;

#define SVE_CMP_PPZZ(NAME, SIGNED, REL)                                                                    \
  extern "C" SVE_EXECUTOR aarch64_decode_rc NAME(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg,      \
                                                 aarch64_z_reg zn, aarch64_z_reg zm) {                                                  \
    return by_esize<SIGNED>(pd.esize, [&](auto t) {                                                      \
      using T = typename decltype(t)::type;                                                              \
      return fixed_compare<T>(s, pd, pg, zn, SameElem<T>{s->z[zm.num]}, REL{});                          \
    });                                                                                                  \
  }
#define SVE_CMP_PPZI(NAME, SIGNED, REL)                                                                    \
  extern "C" SVE_EXECUTOR aarch64_decode_rc NAME(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg,      \
                                                 aarch64_z_reg zn, std::conditional_t<SIGNED, int, unsigned> imm) {                     \
    return by_esize<SIGNED>(pd.esize, [&](auto t) {                                                      \
      using T = typename decltype(t)::type;                                                              \
      return fixed_compare<T>(s, pd, pg, zn, Splat<T>{T(imm)}, REL{});                                   \
    });                                                                                                  \
  }
SVE_EXECUTORS_BEGIN
SVE_CMP_PPZZ(sve_cmpeq_ppzz, true, Eq)
SVE_CMP_PPZZ(sve_cmpne_ppzz, true, Ne)
SVE_CMP_PPZZ(sve_cmpgt_ppzz, true, Gt)
SVE_CMP_PPZZ(sve_cmpge_ppzz, true, Ge)
SVE_CMP_PPZZ(sve_cmphi_ppzz, false, Gt)
SVE_CMP_PPZZ(sve_cmphs_ppzz, false, Ge)
SVE_CMP_PPZI(sve_cmpeq_ppzi, true, Eq)
SVE_CMP_PPZI(sve_cmpne_ppzi, true, Ne)
SVE_CMP_PPZI(sve_cmpgt_ppzi, true, Gt)
SVE_CMP_PPZI(sve_cmplt_ppzi, true, Lt)
SVE_CMP_PPZI(sve_cmple_ppzi, true, Le)
SVE_CMP_PPZI(sve_cmphi_ppzi, false, Gt)
SVE_CMP_PPZI(sve_cmplo_ppzi, false, Lt)
SVE_EXECUTORS_END

SVE_FOR_S(SVE_EXPORT_PI, CmpFlgGEVIZ, compare_imm_routine, Ge)
SVE_FOR_U(SVE_EXPORT_PI, CmpFlgGEVIZ, compare_imm_routine, Ge)
SVE_FOR_U(SVE_EXPORT_PI, CmpFlgLEVIZ, compare_imm_routine, Le)
SVE_FOR_S3(SVE_EXPORT_PV, CmpFlgEQVWZ, compare_routine, WideElem, Eq)
SVE_FOR_S3(SVE_EXPORT_PV, CmpFlgNEVWZ, compare_routine, WideElem, Ne)
SVE_FOR_S3(SVE_EXPORT_PV, CmpFlgGTVWZ, compare_routine, WideElem, Gt)
SVE_FOR_S3(SVE_EXPORT_PV, CmpFlgGEVWZ, compare_routine, WideElem, Ge)
SVE_FOR_S3(SVE_EXPORT_PV, CmpFlgLTVWZ, compare_routine, WideElem, Lt)
SVE_FOR_S3(SVE_EXPORT_PV, CmpFlgLEVWZ, compare_routine, WideElem, Le)
SVE_FOR_U3(SVE_EXPORT_PV, CmpFlgGTVWZ, compare_routine, WideElem, Gt)
SVE_FOR_U3(SVE_EXPORT_PV, CmpFlgGEVWZ, compare_routine, WideElem, Ge)
SVE_FOR_U3(SVE_EXPORT_PV, CmpFlgLTVWZ, compare_routine, WideElem, Lt)
SVE_FOR_U3(SVE_EXPORT_PV, CmpFlgLEVWZ, compare_routine, WideElem, Le)

namespace {
const HandlerDef kCompareHandlers[] = {
    SVE_DEFS_S(CmpFlgEQVVZ, h_ppzz, &sve_cmpeq_ppzz),
    SVE_DEFS_S(CmpFlgNEVVZ, h_ppzz, &sve_cmpne_ppzz),
    SVE_DEFS_S(CmpFlgGTVVZ, h_ppzz, &sve_cmpgt_ppzz),
    SVE_DEFS_S(CmpFlgGEVVZ, h_ppzz, &sve_cmpge_ppzz),
    SVE_DEFS_U(CmpFlgGTVVZ, h_ppzz, &sve_cmphi_ppzz),
    SVE_DEFS_U(CmpFlgGEVVZ, h_ppzz, &sve_cmphs_ppzz),
    SVE_DEFS_S(CmpFlgEQVIZ, h_ppzi, &sve_cmpeq_ppzi),
    SVE_DEFS_S(CmpFlgNEVIZ, h_ppzi, &sve_cmpne_ppzi),
    SVE_DEFS_S(CmpFlgGTVIZ, h_ppzi, &sve_cmpgt_ppzi),
    SVE_DEFS_S(CmpFlgLTVIZ, h_ppzi, &sve_cmplt_ppzi),
    SVE_DEFS_S(CmpFlgLEVIZ, h_ppzi, &sve_cmple_ppzi),
    SVE_DEFS_U(CmpFlgGTVIZ, h_ppzi, &sve_cmphi_ppzi),
    SVE_DEFS_U(CmpFlgLTVIZ, h_ppzi, &sve_cmplo_ppzi),
    SVE_LIST_S(SVE_AGN_DEF_T, CmpFlgGEVIZ, h_agn_ppzi),
    SVE_LIST_U(SVE_AGN_DEF_T, CmpFlgGEVIZ, h_agn_ppzi),
    SVE_LIST_U(SVE_AGN_DEF_T, CmpFlgLEVIZ, h_agn_ppzi),
    SVE_LIST_S3(SVE_AGN_DEF, CmpFlgEQVWZ, h_agn_ppzz),
    SVE_LIST_S3(SVE_AGN_DEF, CmpFlgNEVWZ, h_agn_ppzz),
    SVE_LIST_S3(SVE_AGN_DEF, CmpFlgGTVWZ, h_agn_ppzz),
    SVE_LIST_S3(SVE_AGN_DEF, CmpFlgGEVWZ, h_agn_ppzz),
    SVE_LIST_S3(SVE_AGN_DEF, CmpFlgLTVWZ, h_agn_ppzz),
    SVE_LIST_S3(SVE_AGN_DEF, CmpFlgLEVWZ, h_agn_ppzz),
    SVE_LIST_U3(SVE_AGN_DEF, CmpFlgGTVWZ, h_agn_ppzz),
    SVE_LIST_U3(SVE_AGN_DEF, CmpFlgGEVWZ, h_agn_ppzz),
    SVE_LIST_U3(SVE_AGN_DEF, CmpFlgLTVWZ, h_agn_ppzz),
    SVE_LIST_U3(SVE_AGN_DEF, CmpFlgLEVWZ, h_agn_ppzz),
};
}  // namespace
std::span<const HandlerDef> compare_handlers() { return kCompareHandlers; }
