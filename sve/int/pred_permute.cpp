// Permutes on predicates: PUNPKLO, PUNPKHI, REV, ZIP1, ZIP2, UZP1, UZP2, TRN1,
// TRN2 at the handler's element width (every lane of an element moves with
// it). ZIP1, ZIP2, UZP1, REV and the unpacks run fixed length over lanes, as
// byte permutes of E-byte elements; UZP2, TRN1 and TRN2 run length agnostic on
// packed maps.
#include "sve/int/perm_arrays.h"
#include "sve/int/pred_drivers.h"

namespace {
inline char* ch(uint8_t* p) { return reinterpret_cast<char*>(p); }
inline uint8_t* u8(char* p) { return reinterpret_cast<uint8_t*>(p); }
}  // namespace

SVE_EXECUTORS_BEGIN
// The byte-array helpers (declared in perm_arrays.h), here with their
// predicate callers so that those inline them.
SVE_EXECUTOR void sve_zip1(char* d, char* a, char* b, int element_size) {
  sve::permute_bytes<sve::Zip1>(u8(d), u8(a), u8(b), element_size);
}
SVE_EXECUTOR void sve_zip2(char* d, char* a, char* b, int element_size) {
  sve::permute_bytes<sve::Zip2>(u8(d), u8(a), u8(b), element_size);
}
SVE_EXECUTOR void sve_uzp1(char* d, char* a, char* b, int element_size) {
  sve::permute_bytes<sve::Uzp<0>>(u8(d), u8(a), u8(b), element_size);
}

SVE_EXECUTOR aarch64_decode_rc sve_zip1_ppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pn, aarch64_p_reg pm) {
  sve_zip1(ch(s->p[pd.num]), ch(s->p[pn.num]), ch(s->p[pm.num]), 1 << pd.esize);
  return DECODE_OK;
}
SVE_EXECUTOR aarch64_decode_rc sve_zip2_ppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pn, aarch64_p_reg pm) {
  sve_zip2(ch(s->p[pd.num]), ch(s->p[pn.num]), ch(s->p[pm.num]), 1 << pd.esize);
  return DECODE_OK;
}
SVE_EXECUTOR aarch64_decode_rc sve_uzp1_ppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pn, aarch64_p_reg pm) {
  sve_uzp1(ch(s->p[pd.num]), ch(s->p[pn.num]), ch(s->p[pm.num]), 1 << pd.esize);
  return DECODE_OK;
}
// Present for completeness; the TRN1 handlers take the length-agnostic route.
aarch64_decode_rc sve_trn1_ppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pn, aarch64_p_reg pm) {
  sve::permute_bytes<sve::Trn<0>>(s->p[pd.num], s->p[pn.num], s->p[pm.num], 1 << pd.esize);
  return DECODE_OK;
}
// Element order reversed at the element width.
SVE_EXECUTOR aarch64_decode_rc sve_rev_pp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pn) {
  return sve::by_esize<false>(pd.esize, [&](auto t) {
    const uint8_t* n = s->p[pn.num];
    sve::permute_elems<sve::Rev, typename decltype(t)::type>(s->p[pd.num], n, n);
    return DECODE_OK;
  });
}
SVE_EXECUTORS_END

namespace sve {
namespace {
// Lane `half + i` of Pn becomes the halfword element i of Pd.
aarch64_decode_rc punpk(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pn, int half) {
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  const uint8_t* n = s->p[pn.num];
  for (int i = 0; i < SVE_VL_BYTES / 2; ++i) {
    tmp[2 * i] = n[half + i] & 1;
    tmp[2 * i + 1] = 0;
  }
  std::memcpy(s->p[pd.num], tmp, SVE_VL_BYTES);
  return DECODE_OK;
}
}  // namespace
}  // namespace sve

aarch64_decode_rc sve_punpklo_pp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pn) { return sve::punpk(s, pd, pn, 0); }
aarch64_decode_rc sve_punpkhi_pp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pn) {
  return sve::punpk(s, pd, pn, SVE_VL_BYTES / 2);
}

namespace sve {
namespace {
template <class Map, int E>
void permute_routine(PredV* d, const PredV*, const PredV* n, const PredV* m, CpuContext* c) {
  permute_bits<Map>(d, n, m, E, vl_bytes(c));
}
}  // namespace
}  // namespace sve

#define SVE_PPERM_EXPORT(T, E)                                                                        \
  extern "C" void Vec##T##Uzp2PP(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) { \
    sve::permute_routine<sve::Uzp<1>, E>(d, g, n, m, c);                                              \
  }                                                                                                   \
  extern "C" void Vec##T##Trn1PP(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) { \
    sve::permute_routine<sve::Trn<0>, E>(d, g, n, m, c);                                              \
  }                                                                                                   \
  extern "C" void Vec##T##Trn2PP(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) { \
    sve::permute_routine<sve::Trn<1>, E>(d, g, n, m, c);                                              \
  }
SVE_PPERM_EXPORT(P8, 1)
SVE_PPERM_EXPORT(P16, 2)
SVE_PPERM_EXPORT(P32, 4)
SVE_PPERM_EXPORT(P64, 8)

namespace sve {
namespace {

// Pd = bits 3-0, Pn = bits 8-5, Pm = bits 19-16.
inline aarch64_p_reg pr(uint32_t w, int hi, int lo, int esize) { return {uint8_t(field(w, hi, lo)), uint8_t(esize), false}; }
using Ppp = aarch64_decode_rc (*)(cpu_state*, aarch64_p_reg, aarch64_p_reg, aarch64_p_reg);
using Pp = aarch64_decode_rc (*)(cpu_state*, aarch64_p_reg, aarch64_p_reg);

template <Ppp X, int Esize> aarch64_decode_rc ppp_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, pr(w, 3, 0, Esize), pr(w, 8, 5, Esize), pr(w, 19, 16, Esize));
}
template <Pp X, int Esize> aarch64_decode_rc pp_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, pr(w, 3, 0, Esize), pr(w, 8, 5, Esize));
}
template <AgnosticPPPP R> aarch64_decode_rc agnostic_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_pppp(s, field(w, 3, 0), -1, int(field(w, 8, 5)), int(field(w, 19, 16)), R);
}

}  // namespace
}  // namespace sve

#define SVE_PPERM_DEFS(T, ES)                                                   \
  HandlerDef{"Vec" #T "Zip1PP", &sve::ppp_handler<&sve_zip1_ppp, ES>},          \
      HandlerDef{"Vec" #T "Zip2PP", &sve::ppp_handler<&sve_zip2_ppp, ES>},      \
      HandlerDef{"Vec" #T "Uzp1PP", &sve::ppp_handler<&sve_uzp1_ppp, ES>},      \
      HandlerDef{"Vec" #T "ReverseP", &sve::pp_handler<&sve_rev_pp, ES>},       \
      HandlerDef{"Vec" #T "Uzp2PP", &sve::agnostic_handler<&Vec##T##Uzp2PP>},   \
      HandlerDef{"Vec" #T "Trn1PP", &sve::agnostic_handler<&Vec##T##Trn1PP>},   \
      HandlerDef{"Vec" #T "Trn2PP", &sve::agnostic_handler<&Vec##T##Trn2PP>},

const HandlerDef kPredPermuteHandlers[] = {
    SVE_PPERM_DEFS(P8, 0) SVE_PPERM_DEFS(P16, 1) SVE_PPERM_DEFS(P32, 2) SVE_PPERM_DEFS(P64, 3)
    HandlerDef{"VecPUnpackLoP", &sve::pp_handler<&sve_punpklo_pp, 1>},
    HandlerDef{"VecPUnpackHiP", &sve::pp_handler<&sve_punpkhi_pp, 1>},
};
std::span<const HandlerDef> pred_permute_handlers() { return kPredPermuteHandlers; }
