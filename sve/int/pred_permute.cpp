// Permutes on predicates: PUNPKLO, PUNPKHI, REV, ZIP1, ZIP2, UZP1, UZP2, TRN1,
// TRN2 at the handler's element width (every lane of an element moves with
// it). ZIP1, ZIP2, UZP1, REV and the unpacks run fixed length over lanes, as
// byte permutes of E-byte elements; UZP2, TRN1 and TRN2 run length agnostic on
// packed maps.
#include "sve/int/perm_arrays.h"
#include "sve/int/pred_drivers.h"

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
using Pp = aarch64_decode_rc (*)(cpu_state*, aarch64_p_reg, aarch64_p_reg);

// Fixed-length permutes over the lanes of E-byte elements: Pd = Map(Pn, Pm).
template <class Map, int E> aarch64_decode_rc lanes_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  permute_bytes<Map, E>(s->p[field(w, 3, 0)], s->p[field(w, 8, 5)], s->p[field(w, 19, 16)]);
  return DECODE_OK;
}
template <int E> aarch64_decode_rc rev_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  const uint8_t* n = s->p[field(w, 8, 5)];
  permute_bytes<Rev, E>(s->p[field(w, 3, 0)], n, n);
  return DECODE_OK;
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

#define SVE_PPERM_DEFS(T, E)                                                    \
  HandlerDef{"Vec" #T "Zip1PP", &sve::lanes_handler<sve::Zip1, E>},             \
      HandlerDef{"Vec" #T "Zip2PP", &sve::lanes_handler<sve::Zip2, E>},         \
      HandlerDef{"Vec" #T "Uzp1PP", &sve::lanes_handler<sve::Uzp<0>, E>},       \
      HandlerDef{"Vec" #T "ReverseP", &sve::rev_handler<E>},                    \
      HandlerDef{"Vec" #T "Uzp2PP", &sve::agnostic_handler<&Vec##T##Uzp2PP>},   \
      HandlerDef{"Vec" #T "Trn1PP", &sve::agnostic_handler<&Vec##T##Trn1PP>},   \
      HandlerDef{"Vec" #T "Trn2PP", &sve::agnostic_handler<&Vec##T##Trn2PP>},

const HandlerDef kPredPermuteHandlers[] = {
    SVE_PPERM_DEFS(P8, 1) SVE_PPERM_DEFS(P16, 2) SVE_PPERM_DEFS(P32, 4) SVE_PPERM_DEFS(P64, 8)
    HandlerDef{"VecPUnpackLoP", &sve::pp_handler<&sve_punpklo_pp, 1>},
    HandlerDef{"VecPUnpackHiP", &sve::pp_handler<&sve_punpkhi_pp, 1>},
};
std::span<const HandlerDef> pred_permute_handlers() { return kPredPermuteHandlers; }
