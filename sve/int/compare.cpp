// Integer compares into a predicate: CMPEQ, CMPNE, CMPGT, CMPGE, CMPLT,
// CMPLE, CMPHI, CMPHS, CMPLO, CMPLS against a vector, an immediate or the
// 64-bit elements of a vector (wide). Zeroing; the flags are the predicate
// test of the result under Pg.
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

// Element i of the result is the E-byte integer 1 when it is active and
// rel(a[i], second(i)) holds, else 0.
template <class T, class Pred, class Second, class Rel>
inline void compare_lanes(uint8_t* __restrict d, const uint8_t* a, int n, Pred pg, Second second, Rel rel) {
  using U = UnsignedOf<T>;
#pragma GCC unroll 16
  for (int i = 0; i < n; ++i) {
    auto b = second(i);
    U r = rel(decltype(b)(elem<T>(a, i)), b) ? U(1) : U(0);
    set_elem<U>(d, i, U(pg.template mask<T>(i) & r));
  }
}
template <class T> struct SameElem {
  const uint8_t* b;
  T operator()(int i) const { return elem<T>(b, i); }
};
// The 64-bit element covering element i, signed or unsigned like T.
template <class T> struct WideElem {
  const uint8_t* b;
  IntOf<8, std::is_signed_v<T>> operator()(int i) const {
    return elem<IntOf<8, std::is_signed_v<T>>>(b, i * int(sizeof(T)) / 8);
  }
};
template <class T> struct Splat {
  T v;
  T operator()(int) const { return v; }
};

// ---- fixed-length route ----
template <class T, class Second, class Rel>
aarch64_decode_rc fixed_compare(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_z_reg zn, Second second,
                                Rel rel) {
  alignas(16) uint8_t result[SVE_VL_BYTES];
  compare_lanes<T>(result, s->z[zn.num], kElems<T>, LanePred{s->p[pg.num]}, second, rel);
  sve_ptest<T>(s, reinterpret_cast<const char*>(s->p[pg.num]), reinterpret_cast<const char*>(result));
  std::memcpy(s->p[pd.num], result, SVE_VL_BYTES);
  return DECODE_OK;
}

// ---- length-agnostic routines ----
template <class T, template <class> class Second, class Rel>
void compare_routine(PredV* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c) {
  alignas(16) uint8_t lanes[SVE_MAX_VL_BYTES], result[SVE_MAX_VL_BYTES];
  int vl = vl_bytes(c);
  expand_pred(*pg, lanes, vl);
  agnostic_chunks16(vl, [&](int off, auto chunk) {
    compare_lanes<T>(result + off, a + off, chunk() / int(sizeof(T)), LanePred{lanes + off}, Second<T>{b + off}, Rel{});
  });
  *d = PredV{};
  pack_lanes(result, *d, vl);
  PredSetNZCV(*pg, *d, kBits<T>, c);
}
template <class T, class Rel>
void compare_imm_routine(PredV* d, const uint8_t* a, const PredV* pg, uint64_t imm, CpuContext* c) {
  alignas(16) uint8_t lanes[SVE_MAX_VL_BYTES], result[SVE_MAX_VL_BYTES];
  int vl = vl_bytes(c);
  expand_pred(*pg, lanes, vl);
  agnostic_chunks16(vl, [&](int off, auto chunk) {
    compare_lanes<T>(result + off, a + off, chunk() / int(sizeof(T)), LanePred{lanes + off}, Splat<T>{T(imm)}, Rel{});
  });
  *d = PredV{};
  pack_lanes(result, *d, vl);
  PredSetNZCV(*pg, *d, kBits<T>, c);
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
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_z_reg zn,  \
                                    aarch64_z_reg zm) {                                                  \
    return by_esize<SIGNED>(pd.esize, [&](auto t) {                                                      \
      using T = typename decltype(t)::type;                                                              \
      return fixed_compare<T>(s, pd, pg, zn, SameElem<T>{s->z[zm.num]}, REL{});                          \
    });                                                                                                  \
  }
#define SVE_CMP_PPZI(NAME, SIGNED, REL)                                                                    \
  extern "C" aarch64_decode_rc NAME(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_z_reg zn,  \
                                    std::conditional_t<SIGNED, int, unsigned> imm) {                     \
    return by_esize<SIGNED>(pd.esize, [&](auto t) {                                                      \
      using T = typename decltype(t)::type;                                                              \
      return fixed_compare<T>(s, pd, pg, zn, Splat<T>{T(imm)}, REL{});                                   \
    });                                                                                                  \
  }
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
