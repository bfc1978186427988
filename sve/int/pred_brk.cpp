// The BRK family: BRKA, BRKB (merging and zeroing), BRKAS, BRKBS, BRKN,
// BRKNS, BRKPA, BRKPAS, BRKPB, BRKPBS, all at byte granularity. BRKA, BRKB,
// BRKN(S) and BRKPB(S) run fixed length; BRKAS, BRKBS and BRKPA(S) run length
// agnostic.
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

// Breaks work on packed maps, a 64-bit word at a time (every break is at byte
// granularity). Lanes of the map past the vector length are clear.
inline uint64_t valid_bits(int bytes, int w) {
  return bytes - 64 * w >= 64 ? ~uint64_t(0) : bytes <= 64 * w ? 0 : (uint64_t(1) << (bytes - 64 * w)) - 1;
}
constexpr int kWords = SVE_MAX_VL_BYTES / 64;

// The active lanes of g up to the first active true lane of stop, that lane
// included (After, BRKA-style) or not (BRKB-style); none when `run` is false.
template <bool After> inline PredV break_map(const PredV& g, const PredV& stop, bool run, int bytes) {
  PredV r{};
  for (int w = 0; run && w < kWords; ++w) {
    uint64_t active = g.w[w] & valid_bits(bytes, w), hit = active & stop.w[w];
    if (!hit) {
      r.w[w] = active;
      continue;
    }
    int b = __builtin_ctzll(hit);
    uint64_t upto = After ? (b == 63 ? ~uint64_t(0) : (uint64_t(2) << b) - 1) : (uint64_t(1) << b) - 1;
    r.w[w] = active & upto;
    run = false;
  }
  return r;
}

// Whether the last active lane of g is true in n (false when none is active).
inline bool last_active_true(const PredV& g, const PredV& n, int bytes) {
  for (int w = kWords - 1; w >= 0; --w) {
    uint64_t active = g.w[w] & valid_bits(bytes, w);
    if (active) return (n.w[w] >> (63 - __builtin_clzll(active))) & 1;
  }
  return false;
}

// ---- fixed length, over lanes ----

template <bool After>
aarch64_decode_rc break_lanes(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn) {
  PredV g = pack_pred(s->p[pg.num]), r = break_map<After>(g, pack_pred(s->p[pn.num]), true, SVE_VL_BYTES);
  if (!pg.zeroing) {  // merging: inactive lanes keep Pd
    PredV old = pack_pred(s->p[pd.num]);
    for (int w = 0; w < kWords; ++w) r.w[w] |= old.w[w] & ~g.w[w];
  }
  unpack_pred(r, s->p[pd.num]);
  return DECODE_OK;
}

// The result goes to tmp; the caller tests it before Pd (which may be Pg) is written.
template <bool After>
void break_prev_lanes(cpu_state* s, uint8_t* tmp, aarch64_p_reg pg, aarch64_p_reg pn, aarch64_p_reg pm) {
  PredV g = pack_pred(s->p[pg.num]);
  bool run = last_active_true(g, pack_pred(s->p[pn.num]), SVE_VL_BYTES);
  unpack_pred(break_map<After>(g, pack_pred(s->p[pm.num]), run, SVE_VL_BYTES), tmp);
}

// ---- length agnostic, over packed maps ----

template <bool After, bool SetFlags>
void break_routine(PredV* d, const PredV* g, const PredV* n, const PredV*, CpuContext* c) {
  *d = break_map<After>(*g, *n, true, vl_bytes(c));
  if (SetFlags) PredSetNZCV(*g, *d, 8, c);
}
template <bool After, bool SetFlags>
void break_prev_routine(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  *d = break_map<After>(*g, *m, last_active_true(*g, *n, vl_bytes(c)), vl_bytes(c));
  if (SetFlags) PredSetNZCV(*g, *d, 8, c);
}

}  // namespace
}  // namespace sve

aarch64_decode_rc sve_brka_ppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn) {
  return sve::break_lanes<true>(s, pd, pg, pn);
}
aarch64_decode_rc sve_brkb_ppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn) {
  return sve::break_lanes<false>(s, pd, pg, pn);
}

// Pdm is kept when the last active element of Pn is true, else cleared; the
// flag form tests the result under an all-true predicate.
aarch64_decode_rc sve_brkn(cpu_state* s, aarch64_p_reg pdm, aarch64_p_reg pg, aarch64_p_reg pn, bool set_flags) {
  if (!sve::last_active_true(pack_pred(s->p[pg.num]), pack_pred(s->p[pn.num]), SVE_VL_BYTES))
    std::memset(s->p[pdm.num], 0, SVE_VL_BYTES);
  if (set_flags) sve::ptest_esize(s, 0, sve::all_true_lanes(0), s->p[pdm.num]);
  return DECODE_OK;
}
aarch64_decode_rc sve_brkn_ppp(cpu_state* s, aarch64_p_reg pdm, aarch64_p_reg pg, aarch64_p_reg pn) {
  return sve_brkn(s, pdm, pg, pn, false);
}
aarch64_decode_rc sve_brkns_ppp(cpu_state* s, aarch64_p_reg pdm, aarch64_p_reg pg, aarch64_p_reg pn) {
  return sve_brkn(s, pdm, pg, pn, true);
}

aarch64_decode_rc sve_brkpb(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn, aarch64_p_reg pm,
                            bool set_flags) {
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  sve::break_prev_lanes<false>(s, tmp, pg, pn, pm);
  if (set_flags) sve::ptest_esize(s, 0, s->p[pg.num], tmp);
  std::memcpy(s->p[pd.num], tmp, SVE_VL_BYTES);
  return DECODE_OK;
}
aarch64_decode_rc sve_brkpb_pppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn,
                                 aarch64_p_reg pm) {
  return sve_brkpb(s, pd, pg, pn, pm, false);
}
aarch64_decode_rc sve_brkpbs_pppp(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn,
                                  aarch64_p_reg pm) {
  return sve_brkpb(s, pd, pg, pn, pm, true);
}

extern "C" void VecPBreakAFlgPZ(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  sve::break_routine<true, true>(d, g, n, m, c);
}
extern "C" void VecPBreakBFlgPZ(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  sve::break_routine<false, true>(d, g, n, m, c);
}
extern "C" void VecPBreakPrevAPZ(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  sve::break_prev_routine<true, false>(d, g, n, m, c);
}
extern "C" void VecPBreakPrevAFlgPZ(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  sve::break_prev_routine<true, true>(d, g, n, m, c);
}

namespace sve {
namespace {

// Pd (Pdm) = bits 3-0, Pn = bits 8-5, Pg = bits 13-10, Pm = bits 19-16.
inline aarch64_p_reg pr(uint32_t w, int hi, int lo, bool zeroing = true) {
  return {uint8_t(field(w, hi, lo)), 0, zeroing};
}
using Ppp = aarch64_decode_rc (*)(cpu_state*, aarch64_p_reg, aarch64_p_reg, aarch64_p_reg);
using Pppp = aarch64_decode_rc (*)(cpu_state*, aarch64_p_reg, aarch64_p_reg, aarch64_p_reg, aarch64_p_reg);

template <Ppp X, bool Zeroing> aarch64_decode_rc ppp_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, pr(w, 3, 0), pr(w, 13, 10, Zeroing), pr(w, 8, 5));
}
template <Pppp X> aarch64_decode_rc pppp_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, pr(w, 3, 0), pr(w, 13, 10), pr(w, 8, 5), pr(w, 19, 16));
}
template <AgnosticPPPP R> aarch64_decode_rc agnostic_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_agnostic_pppp(s, field(w, 3, 0), int(field(w, 13, 10)), int(field(w, 8, 5)), int(field(w, 19, 16)), R);
}

}  // namespace
}  // namespace sve

const HandlerDef kPredBreakHandlers[] = {
    {"VecPBreakAPZ", &sve::ppp_handler<&sve_brka_ppp, true>},
    {"VecPBreakAPM", &sve::ppp_handler<&sve_brka_ppp, false>},
    {"VecPBreakBPZ", &sve::ppp_handler<&sve_brkb_ppp, true>},
    {"VecPBreakBPM", &sve::ppp_handler<&sve_brkb_ppp, false>},
    {"VecPBreakNextPZ", &sve::ppp_handler<&sve_brkn_ppp, true>},
    {"VecPBreakNextFlgPZ", &sve::ppp_handler<&sve_brkns_ppp, true>},
    {"VecPBreakPrevBPZ", &sve::pppp_handler<&sve_brkpb_pppp>},
    {"VecPBreakPrevBFlgPZ", &sve::pppp_handler<&sve_brkpbs_pppp>},
    {"VecPBreakAFlgPZ", &sve::agnostic_handler<&VecPBreakAFlgPZ>},
    {"VecPBreakBFlgPZ", &sve::agnostic_handler<&VecPBreakBFlgPZ>},
    {"VecPBreakPrevAPZ", &sve::agnostic_handler<&VecPBreakPrevAPZ>},
    {"VecPBreakPrevAFlgPZ", &sve::agnostic_handler<&VecPBreakPrevAFlgPZ>},
};
std::span<const HandlerDef> pred_brk_handlers() { return kPredBreakHandlers; }
