// The BRK family: BRKA, BRKB (merging and zeroing), BRKAS, BRKBS, BRKN,
// BRKNS, BRKPA, BRKPAS, BRKPB, BRKPBS, all at byte granularity. BRKA, BRKB,
// BRKN(S) and BRKPB(S) run fixed length; BRKAS, BRKBS and BRKPA(S) run length
// agnostic.
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

// The walk shared by every break: a running flag starts at `run`; at each
// active element BRKA-style (After) writes the flag and then clears it at the
// first true element of `stop`, BRKB-style clears it first and then writes.
// out(k, active, value) receives every element.
template <bool After, class G, class Stop, class Out>
inline void break_walk(int n, bool run, G active, Stop stop, Out out) {
  for (int k = 0; k < n; ++k) {
    if (!active(k)) {
      out(k, false, false);
      continue;
    }
    if (After) {
      out(k, true, run);
      run = run && !stop(k);
    } else {
      run = run && !stop(k);
      out(k, true, run);
    }
  }
}

// Whether the last active element of g is true in n (false when none is active).
template <class G, class N> inline bool last_active_true(int elems, G g, N n) {
  for (int k = elems - 1; k >= 0; --k)
    if (g(k)) return n(k);
  return false;
}

// ---- fixed length, over lanes ----

template <bool After>
aarch64_decode_rc break_lanes(cpu_state* s, aarch64_p_reg pd, aarch64_p_reg pg, aarch64_p_reg pn) {
  const uint8_t *g = s->p[pg.num], *n = s->p[pn.num], *old = s->p[pd.num];
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  bool zeroing = pg.zeroing;
  break_walk<After>(
      SVE_VL_BYTES, true, [&](int k) { return (g[k] & 1) != 0; }, [&](int k) { return (n[k] & 1) != 0; },
      [&](int k, bool active, bool v) { tmp[k] = uint8_t(active ? v : zeroing ? 0 : (old[k] & 1)); });
  std::memcpy(s->p[pd.num], tmp, SVE_VL_BYTES);
  return DECODE_OK;
}

// The result goes to tmp; the caller tests it before Pd (which may be Pg) is written.
template <bool After>
void break_prev_lanes(cpu_state* s, uint8_t* tmp, aarch64_p_reg pg, aarch64_p_reg pn, aarch64_p_reg pm) {
  const uint8_t *g = s->p[pg.num], *n = s->p[pn.num], *m = s->p[pm.num];
  auto active = [&](int k) { return (g[k] & 1) != 0; };
  bool run = last_active_true(SVE_VL_BYTES, active, [&](int k) { return (n[k] & 1) != 0; });
  break_walk<After>(SVE_VL_BYTES, run, active, [&](int k) { return (m[k] & 1) != 0; },
                    [&](int k, bool, bool v) { tmp[k] = v; });
}

// ---- length agnostic, over packed maps ----

template <bool After, bool SetFlags>
void break_routine(PredV* d, const PredV* g, const PredV* n, const PredV*, CpuContext* c) {
  *d = PredV{};
  break_walk<After>(
      vl_bytes(c), true, [&](int k) { return g->bit(k); }, [&](int k) { return n->bit(k); },
      [&](int k, bool active, bool v) { d->set(k, active && v); });
  if (SetFlags) PredSetNZCV(*g, *d, 8, c);
}
template <bool After, bool SetFlags>
void break_prev_routine(PredV* d, const PredV* g, const PredV* n, const PredV* m, CpuContext* c) {
  *d = PredV{};
  auto active = [&](int k) { return g->bit(k); };
  bool run = last_active_true(vl_bytes(c), active, [&](int k) { return n->bit(k); });
  break_walk<After>(vl_bytes(c), run, active, [&](int k) { return m->bit(k); },
                    [&](int k, bool, bool v) { d->set(k, v); });
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
  const uint8_t *g = s->p[pg.num], *n = s->p[pn.num];
  if (!sve::last_active_true(SVE_VL_BYTES, [&](int k) { return (g[k] & 1) != 0; },
                             [&](int k) { return (n[k] & 1) != 0; }))
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
